// Descriptions of boards in the hands of the program: loaded, simulated, played on.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>

#include "board/board_reader.h"
#include "board_device.h"
#include "board_file.h"
#include "check_command.h"
#include "table_command.h"
#include "tool_fixture.h"

namespace corebeacon::tool::test {
namespace {

const std::string kPolicy = "/sys/devices/system/cpu/cpufreq/policy0";

std::string InBoard(const std::string& parts) {
    return "<board version='1'>" + parts + "</board>";
}

board::Board Read(const std::string& parts) {
    board::ReadBoard read = board::ParseBoard(InBoard(parts));
    for (const board::BoardError& error : read.errors) {
        ADD_FAILURE() << error.message;
    }
    return std::move(read.board);
}

/// A frequency QoS of one row, whose list and nodes are named so.
std::string Frequency(const std::string& name, const std::string& list, const std::string& range,
                      const std::string& min, const std::string& max) {
    return "<qos name='" + name + "' type='freq' frequencies='" + list + "'><row clamp='true' " +
           range + "><node>" + min + "</node><node>" + max + "</node></row></qos>";
}

const std::string kCpuL =
    Frequency("CPU_L", kPolicy + "/scaling_available_frequencies", "min='100000' max='200000'",
              kPolicy + "/scaling_min_freq", kPolicy + "/scaling_max_freq");

SessionOptions On(const board::Board& board) {
    SessionOptions options;
    options.board = board;
    return options;
}

/// Without their times, in any order: workers are not in step.
std::vector<std::string> SortedEvents(const Outcome& outcome) {
    std::vector<std::string> events = Events(outcome.out);
    std::ranges::sort(events);
    return events;
}

class BuiltinBoardTest : public ::testing::TestWithParam<unsigned> {};

TEST_P(BuiltinBoardTest, ADescriptionOfTheTablesPlaysAsTheTablesDo) {
    std::ostringstream text;
    {
        const corebeacon::test::LogCapture log(0);
        ASSERT_EQ(PrintBoard(GetParam(), text, text), kExitDone);
    }
    const board::ReadBoard read = board::ParseBoard(text.str());
    ASSERT_TRUE(read.errors.empty());
    const std::string script =
        "scenario pid=1001 0 as g\nwait 30ms\nrelease g\nevent start 1 for=100ms\nwait 200ms\n"
        "probe start 1500\nrequest pid=1 DDR.boost=1018000 EAS.7.boost=30\nrelease-all pid=1\n";
    SessionOptions compiledIn;
    compiledIn.chip = GetParam();
    const Outcome told = PlayText(script, compiledIn);
    const Outcome described = PlayText(script, On(read.board));
    EXPECT_EQ(described.exitCode, kExitDone);
    EXPECT_EQ(described.diagnostics, told.diagnostics);
    EXPECT_EQ(SortedEvents(described), SortedEvents(told));
}

INSTANTIATE_TEST_SUITE_P(OfChip, BuiltinBoardTest, ::testing::Values(0U, 1U, 2U));

TEST(BoardRun, PlaysOnNodesThatOnlyTheDescriptionKnows) {
    const Outcome outcome = PlayText(
        "scenario pid=1001 7 as s\nrelease s\n",
        On(Read("<qos id='90' name='DEPTH'><row base-min='1'><node>/sys/depth</node>"
                "<level value='1'><text>3</text></level><level value='2'><text>0</text></level>"
                "</row></qos><scenario id='7'><set qos='DEPTH' boost='2'/></scenario>")));
    EXPECT_EQ(outcome.exitCode, kExitDone) << outcome.diagnostics;
    EXPECT_EQ(Events(outcome.out),
              (std::vector<std::string>{"Simulated device, chip 0: 1 of 1 QoS in service",
                                        "T scenario pid=1001 7 as s", "T     DEPTH  /sys/depth  0",
                                        "T release s", "T     DEPTH  /sys/depth  3", "Final values",
                                        "  DEPTH  /sys/depth  3"}));
}

TEST(BoardRun, TellsWhatIsNotInService) {
    const Outcome outcome =
        PlayText("wait 1ms\n", On(Read("<machine chip='1'/><qos id='90' name='TWO'>"
                                       "<row min='1' max='2'><node>/a</node></row>"
                                       "<row min='1' max='2'><node>/b</node></row></qos>")));
    const std::vector<std::string> lines = Events(outcome.out);
    ASSERT_GE(lines.size(), 3U);
    EXPECT_EQ(lines[0], "Simulated device, chip 1: 0 of 1 QoS in service");
    EXPECT_EQ(lines[1], "Unsupported here");
    EXPECT_TRUE(lines[2].starts_with("  90  TWO  "));
}

TEST(BoardRun, TheCommandLineHasTheLastWordOnTheChip) {
    SessionOptions options = On(Read("<machine chip='1'/>" + kCpuL));
    options.chip = 2;
    EXPECT_TRUE(PlayText("wait 1ms\n", options).out.starts_with("Simulated device, chip 2:"));
}

TEST(BoardRun, AnAbsentClusterHasNoQos) {
    const Outcome outcome =
        PlayText("wait 1ms\n", On(Read("<machine><absent>policy0</absent></machine>" + kCpuL)));
    EXPECT_TRUE(outcome.out.starts_with("Simulated device, chip 0: 0 of 1 QoS in service"));
}

TEST(BoardRun, AChipThatNobodyKnowsIsSimulatedToo) {
    EXPECT_TRUE(PlayText("wait 1ms\n", On(Read("<machine chip='9'/>" + kCpuL)))
                    .out.starts_with("Simulated device, chip 9: 1 of 1 QoS in service"));
}

TEST(BoardDevice, MakesACpufreqPolicyOfTheRowAndWhatIsAskedOfIt) {
    sim::SimulatedDevice device;
    AddNodesOf(Read(kCpuL + "<scenario id='0'><set qos='CPU_L' boost='123456'/></scenario>"
                            "<event id='0'><sequence qos='CPU_L'><step ms='20'>"
                            "<set limit='165432'/></step></sequence></event>"),
               device);
    EXPECT_EQ(device.Value(kPolicy + "/scaling_available_frequencies"),
              "100000 110000 120000 123456 130000 140000 150000 160000 165432 170000 180000 190000 "
              "200000 ");
    EXPECT_EQ(device.Value(kPolicy + "/scaling_min_freq"), "100000");
    EXPECT_EQ(device.Value(kPolicy + "/scaling_max_freq"), "200000");
}

TEST(BoardDevice, MakesADevfreqDevice) {
    sim::SimulatedDevice device;
    AddNodesOf(Read(Frequency("GPU", "/d/available_frequencies", "min='10000000' max='20000000'",
                              "/d/min_freq", "/d/max_freq")),
               device);
    EXPECT_EQ(device.Value("/d/min_freq"), "10000000");
    EXPECT_EQ(device.Value("/d/max_freq"), "20000000");
}

TEST(BoardDevice, MakesTextNodesOfAnythingElse) {
    sim::SimulatedDevice device;
    AddNodesOf(Read(Frequency("GPU", "/d/list", "min='100' max='110' base-min='105'", "/d/low",
                              "/d/high") +
                    "<probe node='/probe' bind='a' unbind='b'/>"),
               device);
    EXPECT_EQ(device.Value("/d/list"), "100 101 102 103 104 105 106 107 108 109 110");
    EXPECT_EQ(device.Value("/d/low"), "105");
    EXPECT_TRUE(device.Exists("/d/high"));
    EXPECT_TRUE(device.Exists("/probe"));
}

TEST(BoardDevice, LeavesWhatIsThereAlready) {
    const auto device = sim::SimulatedDevice::ForChip(0);
    const auto before = device->Snapshot();
    AddNodesOf(Read(Frequency("CPU_L", kPolicy + "/scaling_available_frequencies",
                              "min='418000' max='1530000'", kPolicy + "/scaling_min_freq",
                              kPolicy + "/scaling_max_freq")),
               *device);
    EXPECT_EQ(device->Snapshot(), before);
}

class BoardFile : public ::testing::Test {
protected:
    BoardFile() { mPath = ::testing::TempDir() + "corebeacon-board-" + UniqueName() + ".xml"; }
    ~BoardFile() override { std::remove(mPath.c_str()); }

    static std::string UniqueName() {
        return std::to_string(::getpid()) + "-" +
               ::testing::UnitTest::GetInstance()->current_test_info()->name();
    }
    void Write(const std::string& text) { std::ofstream(mPath, std::ios::binary) << text; }
    std::optional<board::Board> Load(const std::string& path) {
        mDiagnostics.str("");
        return LoadBoard(path, mDiagnostics);
    }

    std::string mPath;
    std::ostringstream mDiagnostics;
};

TEST_F(BoardFile, IsLoaded) {
    Write(InBoard(kCpuL));
    const auto board = Load(mPath);
    ASSERT_TRUE(board.has_value());
    EXPECT_EQ(mDiagnostics.str(), "");
    EXPECT_TRUE(board->qos.contains(PERF_QOS_CPU_L));
}

TEST_F(BoardFile, ErrorsNameFileLineAndColumn) {
    Write("<board version='1'>\n <scen/>\n <qos/>\n</board>");
    EXPECT_FALSE(Load(mPath).has_value());
    EXPECT_EQ(mDiagnostics.str(),
              mPath + ":2:2: <board> has no element 'scen'; did you mean 'scenario'?\n" + mPath +
                  ":3:2: <qos> needs the attribute 'id', or a 'name' that the engine knows\n" +
                  mPath + ":3:2: <qos> needs a <row>\n");
}

TEST_F(BoardFile, CannotBeReadWhenItIsMissingOrAFolder) {
    EXPECT_FALSE(Load(mPath).has_value());
    EXPECT_EQ(mDiagnostics.str(),
              "corebeacon: cannot read " + mPath + ": No such file or directory\n");
    EXPECT_FALSE(Load("/").has_value());
    EXPECT_EQ(mDiagnostics.str(), "corebeacon: cannot read /: Is a directory\n");
}

TEST_F(BoardFile, IsCheckedWithAndWithoutADevice) {
    Write(InBoard(kCpuL));
    std::ostringstream out;
    EXPECT_EQ(CheckBoardFile(mPath, std::nullopt, false, out, mDiagnostics), kExitDone);
    EXPECT_EQ(out.str(), mPath + ": 1 QoS, 0 scenarios, 0 events; nothing found\n");
    out.str("");
    EXPECT_EQ(CheckBoardFile(mPath, DeviceKind::SIM, false, out, mDiagnostics), kExitDone);

    Write(
        "<board version='1'><machine chip='9'/>\n<qos id='90'><row min='2' max='1'>\n"
        "<node>/nix/da</node></row></qos></board>");
    out.str("");
    EXPECT_EQ(CheckBoardFile(mPath, DeviceKind::SIM, false, out, mDiagnostics), kExitFailed);
    EXPECT_EQ(out.str(), mPath + ":2:14: 'min' and 'max': 2 is above 1\n" + mPath +
                             ":3:1: there is no /nix/da\n");
    out.str("");
    EXPECT_EQ(CheckBoardFile(mPath, DeviceKind::KERNEL, false, out, mDiagnostics), kExitFailed);
    EXPECT_NE(out.str().find("there is no /nix/da"), std::string::npos);
    EXPECT_EQ(mDiagnostics.str(), "");
}

TEST_F(BoardFile, ThatIsNoBoardIsBadInputToTheCheck) {
    Write("<board/>");
    std::ostringstream out;
    EXPECT_EQ(CheckBoardFile(mPath, std::nullopt, false, out, mDiagnostics), kExitBadInput);
    EXPECT_EQ(CheckBoardFile(mPath + "x", std::nullopt, false, out, mDiagnostics), kExitBadInput);
    EXPECT_EQ(out.str(), "");
    EXPECT_EQ(mDiagnostics.str(), mPath + ":1:1: <board> needs the attribute 'version'\n" +
                                      "corebeacon: cannot read " + mPath +
                                      "x: No such file or directory\n");
}

}  // namespace
}  // namespace corebeacon::tool::test
