// What others wrote does no more to a terminal than to be read there.
#include "printable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>

#include "board/board_reader.h"
#include "board/board_writer.h"
#include "explain/explain_command.h"
#include "plan_command.h"
#include "snapshot/device_snapshot.h"
#include "tool_fixture.h"

namespace corebeacon::tool::test {
namespace {

const std::string kRed = "\x1b[31m";

TEST(Printable, LeavesLettersAndReplacesWhatMovesTheCursor) {
    EXPECT_EQ(Printable("a b\tc"), "a b c");
    EXPECT_EQ(Printable("\x1b[31m\r\n\a\x7f"), "?[31m????");
    EXPECT_EQ(Printable(std::string("a\0b", 3)), "a?b");
    EXPECT_EQ(Printable("\xc3\xa9\xe2\x80\xa8\xff"), "\xc3\xa9\xe2\x80\xa8\xff");
    EXPECT_EQ(Printable("\xc2\x9b"
                        "31m\xc2\xa0"),
              "?31m\xc2\xa0");
    EXPECT_EQ(Printable("\xc2"), "\xc2");
    EXPECT_EQ(Printable(""), "");
}

void ExpectHarmless(const Outcome& outcome) {
    for (const std::string& text : {outcome.out, outcome.diagnostics}) {
        EXPECT_TRUE(std::ranges::none_of(text, [](char c) {
            return c != '\n' && static_cast<unsigned char>(c) < ' ';
        })) << text;
    }
}

TEST(Printable, TheWordsOfAScriptStayWords) {
    const Outcome outcome = PlayText("# a " + kRed + "story\nexplain " + kRed + "GPU\n");
    ExpectHarmless(outcome);
    EXPECT_NE(outcome.out.find("# a ?[31mstory\n"), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("  explain ?[31mGPU\n"), std::string::npos);
    EXPECT_NE(outcome.diagnostics.find("is called '?[31mGPU'"), std::string::npos);
}

/// The built-in tables with a name that somebody chose.
SessionOptions HostileBoard() {
    std::string text = board::BoardText(board::BuiltinBoard(0));
    const std::string name = "name=\"GPU\"";
    text.replace(text.find(name), name.size(), "name=\"G&#27;[31mPU\"");
    SessionOptions session;
    session.board = board::ParseBoard(text).board;
    return session;
}

TEST(Printable, TheNamesOfABoardStayNames) {
    const std::string request = "request pid=1 for=50ms 3.boost=600000000";
    const Outcome played = PlayText(request + "\nexplain 3\n", HostileBoard());
    ExpectHarmless(played);
    EXPECT_NE(played.out.find("G?[31mPU  gpufreq/min_freq  600000000\n"), std::string::npos)
        << played.out;
    EXPECT_NE(played.out.find("G?[31mPU: 600000000~"), std::string::npos);

    const corebeacon::test::LogCapture log(0);
    std::istringstream in(request);
    std::ostringstream out;
    std::ostringstream diagnostics;
    EXPECT_EQ(PlanScript("-", HostileBoard(), false, in, out, diagnostics), kExitDone);
    ExpectHarmless({kExitDone, out.str(), diagnostics.str()});
    EXPECT_NE(out.str().find("G?[31mPU.0"), std::string::npos) << out.str();
}

TEST(Printable, TheKeysOfASnapshotStayKeys) {
    EXPECT_EQ(ParseSnapshot("{\"\\u001b[31m\":1}").error, "1:1: does not know \"?[31m\"");
}

}  // namespace
}  // namespace corebeacon::tool::test
