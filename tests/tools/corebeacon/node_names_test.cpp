#include "node_names.h"

#include <gtest/gtest.h>

#include "event_printer.h"
#include "text_table.h"

namespace corebeacon::tool {
namespace {

using std::chrono::milliseconds;

PerfQosConfig Config(const std::string& name, std::vector<std::string> nodes) {
    std::vector<PerfGroupConfig> rows;
    rows.emplace_back(name, true, 0, 9, 0, 9, std::move(nodes), CHIP_TYPE_COMMON);
    return {name, rows};
}

class NodeNamesTest : public ::testing::Test {
protected:
    PerfQosConfig mLittle = Config("LITTLE", {"/sys/policy0/tune/delay", "/sys/policy0/min"});
    PerfQosConfig mBig = Config("BIG", {"/sys/policy2/tune/delay", "/dev/x", "/sys/policy0/min"});
    const NodeNames mNames{PerfQosConfigMap{{PERF_QOS_CPU_L, mLittle}, {PERF_QOS_CPU_B, mBig}}};
};

TEST_F(NodeNamesTest, ABriefNameIsTheShortestThatIsUnique) {
    EXPECT_EQ(mNames.Of("/sys/policy0/min").brief, "policy0/min");
    EXPECT_EQ(mNames.Of("/sys/policy0/tune/delay").brief, "policy0/tune/delay");
    EXPECT_EQ(mNames.Of("/sys/policy2/tune/delay").brief, "policy2/tune/delay");
    EXPECT_EQ(mNames.Of("/dev/x").brief, "/dev/x");
}

TEST_F(NodeNamesTest, ANodeBelongsToTheFirstQosThatNamesIt) {
    EXPECT_EQ(mNames.Of("/sys/policy0/min").qos, "LITTLE");
    EXPECT_EQ(mNames.Of("/dev/x").qos, "BIG");
}

TEST_F(NodeNamesTest, AForeignNodeBelongsToNone) {
    const NodeName name = mNames.Of("/sys/class/zone/mode");
    EXPECT_EQ(name.qos, "");
    EXPECT_EQ(name.brief, "zone/mode");
    EXPECT_EQ(mNames.Of("").brief, "");
}

TEST_F(NodeNamesTest, WidthsAreThoseOfTheQosAsked) {
    const NodeNameWidths both = mNames.Widths({PERF_QOS_CPU_L, PERF_QOS_CPU_B});
    EXPECT_EQ(both.qos, 6U);
    EXPECT_EQ(both.brief, 18U);
    EXPECT_EQ(mNames.Widths({PERF_QOS_CPU_B}).qos, 3U);
    EXPECT_EQ(mNames.Widths({}).brief, 0U);
}

Statement Said(const std::string& text) {
    Statement statement;
    statement.text = text;
    return statement;
}

TEST_F(NodeNamesTest, EventsAreStampedAndAligned) {
    std::ostringstream out;
    const TimePoint begin{std::chrono::seconds(100)};
    EventPrinter printer(out, {});
    HeldRequest request;
    request.label = "a";
    printer.SetColumns(mNames, mNames.Widths({PERF_QOS_CPU_L, PERF_QOS_CPU_B}), begin);
    printer.Note(Said("It begins."));
    printer.Note(Said("At once."));
    printer.Asked(begin, Said("wait 1s"));
    printer.Written({begin + milliseconds(1), "/dev/x", "7", ""}, false);
    printer.Written({begin + milliseconds(1), "/sys/policy0/min", "8", "Invalid argument"}, false);
    printer.Written({begin + milliseconds(2), "/sys/policy2/tune/delay", "", "cannot be opened"},
                    false);
    printer.Note(Said("It goes on."));
    printer.Ended(begin + std::chrono::seconds(12345), request, HowEnded::TIME_OVER);
    printer.Asked(begin, Said("release a"));
    printer.End({{"/dev/x", "7"}, {"/sys/policy0/min", "10"}}, {});
    EXPECT_EQ(out.str(),
              "# It begins.\n"
              "# At once.\n"
              "   0.000  wait 1s\n"
              "   0.001      BIG     /dev/x              7\n"
              "   0.001      LITTLE  policy0/min         8  FAILED: Invalid argument\n"
              "   0.002      BIG     policy2/tune/delay  FAILED: cannot be opened\n"
              "\n"
              "# It goes on.\n"
              "12345.000  (a ends)\n"
              "12345.000  release a\n"
              "\n"
              "Final values\n"
              "  BIG     /dev/x            7\n"
              "  LITTLE  /sys/policy0/min  10\n");
}

TEST_F(NodeNamesTest, ARunWithoutWritesSaysSo) {
    std::ostringstream out;
    EventPrinter(out, {}).End({}, {});
    EXPECT_EQ(out.str(), "No node was written.\n");
}

TEST(TextTable, ColumnsAreAsWideAsTheirWidestCell) {
    TextTable table;
    EXPECT_EQ(table.Text("  "), "");
    table.AddRow({"a", "long", "x"});
    table.AddRow({"bcd"});
    table.AddRow({"", "", "y"});
    EXPECT_EQ(table.Text("> "), "> a    long  x\n> bcd\n>            y\n");
}

}  // namespace
}  // namespace corebeacon::tool
