// What a run, a table and a check say as JSON.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "board/machine_scan.h"
#include "check_command.h"
#include "interruption.h"
#include "json_document.h"
#include "support/deadline.h"
#include "table_command.h"
#include "tool_fixture.h"

namespace corebeacon::tool::test {
namespace {

constexpr const char* kGpuCeiling = "/sys/class/devfreq/gpufreq/max_freq";
constexpr const char* kFloor = "/sys/devices/system/cpu/cpufreq/policy2/scaling_min_freq";

Json Play(const std::string& script) {
    const corebeacon::test::LogCapture log(0);
    const DrivenClock clock;
    std::ostringstream out;
    std::ostringstream diagnostics;
    const int exitCode =
        PlayScript(script, "story.qos", {.session = {}, .isJson = true}, out, diagnostics);
    Json document = Json::parse(out.str());
    EXPECT_EQ(document["exit_code"], exitCode);
    return document;
}

/// The events of one kind, in order.
std::vector<Json> EventsOf(const Json& document, const std::string& kind) {
    std::vector<Json> events;
    for (const Json& event : document["events"]) {
        if (event["event"] == kind) {
            events.push_back(event);
        }
    }
    return events;
}

std::vector<std::string> ValuesOf(const Json& document, const std::string& path) {
    std::vector<std::string> values;
    for (const Json& write : EventsOf(document, "write")) {
        if (write["path"] == path) {
            values.push_back(write["value"]);
        }
    }
    return values;
}

TEST(JsonOutput, TellsTheDeviceAndTheScript) {
    const Json document = Play("wait 1ms\n");
    EXPECT_EQ(document["schema_version"], 1);
    EXPECT_EQ(document["command"], "run");
    EXPECT_EQ(document["script"], "story.qos");
    EXPECT_EQ(document["device"]["kind"], "sim");
    EXPECT_EQ(document["device"]["chip"], 0);
    EXPECT_EQ(document["device"]["qos_in_table"], document["device"]["qos_in_service"]);
    EXPECT_EQ(document["interrupted"], false);
}

TEST(JsonOutput, TellsATimedRequestFromItsStatementToItsEnd) {
    const Json document = Play("# A boost.\nrequest pid=7 for=100ms CPU_B.boost=1952000 as h1\n");
    EXPECT_EQ(EventsOf(document, "note").at(0)["text"], "A boost.");
    const Json statement = EventsOf(document, "statement").at(0);
    EXPECT_EQ(statement["line"], 2);
    EXPECT_EQ(statement["column"], 1);
    const Json accepted = EventsOf(document, "accepted").at(0);
    EXPECT_EQ(accepted["verb"], "request");
    EXPECT_EQ(accepted["label"], "h1");
    EXPECT_EQ(accepted["pid"], 7);
    EXPECT_EQ(accepted["requests"],
              Json::parse(R"([{"id": 2, "qos": "CPU_B", "group": 0, "boost": 1952000}])"));
    const Json end = EventsOf(document, "end").at(0);
    EXPECT_EQ(end["handle"], accepted["handle"]);
    EXPECT_EQ(end["released"], false);
    EXPECT_EQ(end["time_us"], accepted["ends_us"]);
    EXPECT_EQ(ValuesOf(document, kFloor), (std::vector<std::string>{"1952000", "1239000"}));
    EXPECT_EQ(EventsOf(document, "write").at(0)["qos"], "CPU_B");
}

TEST(JsonOutput, TellsWhatWasReleasedAndWhatStands) {
    const Json document = Play(
        "scenario pid=7 0 as game\nrequest pid=8 GPU.limit=500000000\nrelease game\nversion\n");
    const Json end = EventsOf(document, "end").at(0);
    EXPECT_EQ(end["label"], "game");
    EXPECT_EQ(end["released"], true);
    EXPECT_EQ(document["standing"].size(), 1U);
    EXPECT_EQ(document["standing"][0]["pid"], 8);
    EXPECT_EQ(document["standing"][0]["requests"][0]["limit"], 500000000);
    EXPECT_EQ(EventsOf(document, "answer").at(0)["text"], "core version: 5.1.0");
    bool isFound = false;
    for (const Json& value : document["final_values"]) {
        isFound = isFound || (value["path"] == kGpuCeiling && value["value"] == "500000000");
    }
    EXPECT_TRUE(isFound);
}

TEST(JsonOutput, TellsWhatWasRefusedAndWhatWasRepeated) {
    const Json document = Play("request pid=7 for=1ms CPU_B.boost=1952000\nmode pid=7 2\n");
    const Json failure = EventsOf(document, "failure").at(0);
    EXPECT_EQ(failure["line"], 1);
    EXPECT_EQ(failure["text"], "request refused: a timed request lasts from 20ms to 60s");
    EXPECT_EQ(document["exit_code"], kExitFailed);
    EXPECT_EQ(EventsOf(document, "accepted").at(0)["number"], 2);
    // The mode changes other values, and whose worker writes first is open.
    const std::vector<Json> writes = EventsOf(document, "write");
    const auto write =
        std::ranges::find_if(writes, [](const Json& event) { return event["qos"] == "CPU_B"; });
    ASSERT_NE(write, writes.end());
    EXPECT_EQ((*write)["repetition"], true);
}

/// Interrupts the run before its second statement.
TEST(JsonOutput, IsWholeEvenWhenTheRunIsInterrupted) {
    const corebeacon::test::LogCapture log(0);
    std::ostringstream out;
    std::ostringstream diagnostics;
    // With the true clock: the statement lasts for longer than the test would ever wait.
    std::thread sender([] {
        if (corebeacon::test::Eventually(IsInterruptible)) {
            ::kill(::getpid(), SIGTERM);
        }
    });
    const int exitCode = PlayScript("wait 3600s\nversion\n", "story.qos",
                                    {.session = {}, .isJson = true}, out, diagnostics);
    sender.join();
    EXPECT_EQ(exitCode, kExitFailed);
    EXPECT_EQ(diagnostics.str(), "corebeacon: interrupted\n");
    const Json document = Json::parse(out.str());
    EXPECT_EQ(document["interrupted"], true);
    EXPECT_TRUE(EventsOf(document, "answer").empty());
    EXPECT_FALSE(IsInterruptible());
    const InterruptionGuard forgetful(InterruptionGuard::Catch::ONCE);  // as every run begins
    EXPECT_EQ(Interruption(), 0);
}

TEST(JsonOutput, OfATableHoldsEveryRow) {
    std::ostringstream out;
    std::ostringstream diagnostics;
    EXPECT_EQ(PrintJsonTable(1, out, diagnostics), kExitDone);
    const Json document = Json::parse(out.str());
    EXPECT_EQ(document["command"], "table");
    EXPECT_EQ(document["chip"], 1);
    EXPECT_EQ(document["qos"].size(), 50U);
    std::map<std::string, int> kinds;
    for (const Json& qos : document["qos"]) {
        for (const Json& row : qos["rows"]) {
            ++kinds[row["kind"]];
            EXPECT_FALSE(row["nodes"].empty()) << qos["name"];
            EXPECT_LE(row["min"], row["max"]) << qos["name"];
        }
    }
    for (const char* kind : {"frequency", "levels", "value", "task groups", "memory latency",
                             "memory bandwidth", "power budget"}) {
        EXPECT_GT(kinds[kind], 0) << kind;
    }
}

class JsonCheck : public ::testing::Test {
protected:
    JsonCheck() : mPath(::testing::TempDir() + "json-check.xml") {}
    ~JsonCheck() override { std::remove(mPath.c_str()); }

    Json Check(const std::string& text, int exitCode) {
        std::ofstream(mPath) << text;
        std::ostringstream out;
        std::ostringstream diagnostics;
        EXPECT_EQ(CheckBoardFile(mPath, std::nullopt, true, out, diagnostics), exitCode);
        EXPECT_EQ(diagnostics.str(), "");
        return Json::parse(out.str());
    }

    const std::string mPath;
};

TEST_F(JsonCheck, TellsWhyAFileIsNoBoard) {
    const Json document = Check("<board/>", kExitBadInput);
    EXPECT_EQ(document["file"], mPath);
    EXPECT_EQ(document["findings"], Json::parse(R"([{
        "line": 1, "column": 1, "level": "error",
        "message": "<board> needs the attribute 'version'"}])"));
}

TEST_F(JsonCheck, TellsWhatIsFoundInABoard) {
    const std::string row = "<row min=\"9\" max=\"1\"><node>/dev/x</node></row>";
    const Json document =
        Check("<board version=\"1\" name=\"b\">\n<qos id=\"90\">" + row + "</qos>\n</board>",
              kExitFailed);
    EXPECT_EQ(document["qos"], 1);
    ASSERT_FALSE(document["findings"].empty());
    EXPECT_EQ(document["findings"][0]["line"], 2);
    EXPECT_EQ(document["findings"][0]["level"], "warning");
}

TEST_F(JsonCheck, OfAGoodBoardHasNoFindings) {
    const std::string row = "<row min=\"1\" max=\"9\"><node>/dev/x</node></row>";
    const Json document = Check(
        "<board version=\"1\" name=\"b\"><qos id=\"90\">" + row + "</qos></board>", kExitDone);
    EXPECT_EQ(document["findings"], Json::array());
}

TEST(JsonOutput, OfABoardTellsItsMachine) {
    board::Board board = board::BuiltinBoard(2);
    board.name = "mine";
    board.machine.cpuBoost = true;
    std::ostringstream out;
    PrintBoardFacts(board, out);
    const Json document = Json::parse(out.str());
    EXPECT_EQ(document["command"], "board init");
    EXPECT_EQ(document["name"], "mine");
    EXPECT_EQ(document["machine"]["cpu_boost"], true);
    EXPECT_TRUE(document["machine"]["board_ipa"].is_null());
    EXPECT_EQ(document["qos"][0]["rows"][0]["kind"], "frequency");
}

}  // namespace
}  // namespace corebeacon::tool::test
