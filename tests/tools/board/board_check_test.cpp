#include "board/board_check.h"

#include <gtest/gtest.h>

#include "board/board_writer.h"
#include "sim/eas_example.h"
#include "support/scoped_node_io.h"

namespace corebeacon::board {
namespace {

using Findings = std::vector<std::string>;

/// "LINE:COLUMN: message" of every finding; each part stands in a line of its own, from the second.
Findings Check(const std::string& parts, bool asksNodes = false) {
    const ReadBoard read = ParseBoard("<board version='1'>\n" + parts + "\n</board>");
    for (const BoardError& error : read.errors) {
        ADD_FAILURE() << error.message;
    }
    Findings findings;
    for (const BoardError& finding : CheckBoard(read, asksNodes)) {
        findings.push_back(std::to_string(finding.place.line) + ":" +
                           std::to_string(finding.place.column) + ": " + finding.message);
    }
    return findings;
}

/// A QoS of one row.
std::string Qos(const std::string& attributes, const std::string& range,
                const std::string& rest = "") {
    return "<qos " + attributes + ">\n<row " + range + "><node>/a</node>" + rest + "</row></qos>";
}

const std::string kLevels =
    "<level value='1'><text>a</text></level><level value='2'><text>b</text></level>";

std::string Asking(const std::string& qos, const std::string& values) {
    return "\n<scenario id='0'>\n<set qos='" + qos + "' " + values + "/></scenario>";
}

class BuiltinBoardCheck : public ::testing::TestWithParam<unsigned> {};

/// The tables round where one event serves several chips; nothing else is found.
TEST_P(BuiltinBoardCheck, NothingIsWrongWithTheTables) {
    const auto device = sim::SimulatedDevice::ForChip(GetParam());
    sim::AddEasNodes(*device);
    const test::ScopedNodeIo nodeIo(*device);
    Board board = BuiltinBoard(GetParam());
    board.qos.emplace(PERF_QOS_EAS, AsLoaded(sim::MakeEasConfig()));
    const ReadBoard read = ParseBoard(BoardText(board));
    device->ClearRecord();
    for (const BoardError& finding : CheckBoard(read, true)) {
        EXPECT_NE(finding.message.find(" is not among the frequencies of "), std::string::npos)
            << finding.message;
    }
    EXPECT_TRUE(CheckBoard(read, false).empty());
    EXPECT_TRUE(device->Writes().empty());
    EXPECT_EQ(device->OpenDescriptors(), 0U);
}

INSTANTIATE_TEST_SUITE_P(OfChip, BuiltinBoardCheck, ::testing::Values(0U, 1U, 2U));

TEST(BoardCheck, FindsTwoQosOfOneName) {
    EXPECT_EQ(Check(Qos("id='90' name='X'", "min='1' max='2'") + "\n" +
                    Qos("id='91' name='X'", "min='1' max='2'")),
              (Findings{"4:1: another QoS has the name 'X'"}));
}

TEST(BoardCheck, FindsAMinimumAboveItsMaximum) {
    EXPECT_EQ(Check(Qos("id='90'", "min='3' max='2' base-min='9' base-max='8'")),
              (Findings{"3:1: 'min' and 'max': 3 is above 2",
                        "3:1: 'base-min' and 'base-max': 9 is above 8"}));
    EXPECT_EQ(Check(Qos("name='DDR' type='freq' frequencies='/f' overwrite-max='true'", "min='3'")),
              Findings());
}

TEST(BoardCheck, FindsARowThatIsThereTwice) {
    EXPECT_EQ(Check("<qos id='90'><row min='1' max='2'><node>/a</node></row>\n"
                    "<row min='1' max='2' chip='1'><node>/a</node></row>\n"
                    "<row min='1' max='2' chip='1'><node>/b</node></row></qos>"),
              (Findings{"4:1: group 0 has another row for chip 1"}));
}

TEST(BoardCheck, FindsALevelWithoutAsManyTextsAsNodes) {
    EXPECT_EQ(
        Check(Qos("id='90'", "base-min='1'",
                  "\n<level value='1'><text>a</text><text>b</text></level>\n"
                  "<level value='2'/>")),
        (Findings{"4:1: level 1 has 2 texts for 1 nodes", "5:1: level 2 has 0 texts for 1 nodes"}));
}

TEST(BoardCheck, FindsABaseThatIsNoLevel) {
    EXPECT_EQ(Check(Qos("id='90'", "base-min='3'", kLevels)),
              (Findings{"3:1: 'base-min' is no level: 3"}));
    EXPECT_EQ(Check("<qos id='9' type='eas'>\n<row base-min='3'><node>/a</node></row>"
                    "<eas><level value='0' boost='0'/></eas></qos>"),
              (Findings{"3:1: 'base-min' is no level: 3"}));
}

TEST(BoardCheck, FindsFourBytesOfTextForABinaryNode) {
    EXPECT_EQ(Check("<qos name='LATENCY_CPU'><row base-min='1'><node>/dev/cpu_dma_latency</node>\n"
                    "<level value='1'><text>1000</text></level>\n"
                    "<level value='2'><text>100</text></level></row></qos>"),
              (Findings{"3:1: level 1 writes the four bytes '1000' to /dev/cpu_dma_latency, which "
                        "takes four bytes for a binary number"}));
}

TEST(BoardCheck, FindsSlipsOfUnitsInARow) {
    EXPECT_EQ(Check(Qos("id='0' type='freq' frequencies='/sys/cpu/cpufreq/policy0/list'",
                        "min='418000000' max='1530000000'")),
              (Findings{"3:1: 'min' has the digits of Hz, but cpufreq counts in kHz: 418000000"}));
    EXPECT_EQ(Check(Qos("id='3' type='freq' frequencies='/sys/class/devfreq/g/list'",
                        "min='279000' max='750000'")),
              (Findings{"3:1: 'min' has the digits of kHz, but devfreq counts in Hz: 279000"}));
}

TEST(BoardCheck, FindsValuesOutsideTheirRange) {
    const std::string qos = Qos("name='GPU'", "min='279000000' max='750000000'");
    EXPECT_EQ(Check(qos + Asking("GPU", "boost='279000000' limit='750000001'")),
              (Findings{"5:34: 750000001 is outside 279000000 to 750000000"}));
    EXPECT_EQ(Check(qos + Asking("GPU", "boost='500000'")),
              (Findings{"5:16: 500000 is outside 279000000 to 750000000; that looks like kHz, the "
                        "row is in Hz"}));
    EXPECT_EQ(Check(Qos("name='CPU_L'", "min='418000' max='1530000'") +
                    Asking("CPU_L", "boost='500000000'")),
              (Findings{"5:18: 500000000 is outside 418000 to 1530000; that looks like Hz, the row "
                        "is in kHz"}));
    EXPECT_EQ(Check(Qos("id='90' name='X'", "min='1' max='2'") + Asking("X", "boost='2000'")),
              (Findings{"5:14: 2000 is outside 1 to 2"}));
}

TEST(BoardCheck, FindsLevelsAndGroupsThatAreNone) {
    EXPECT_EQ(Check(Qos("id='90' name='X'", "base-min='1'", kLevels) +
                    Asking("X", "boost='1' limit='3'")),
              (Findings{"5:24: 3 is no level of the QoS"}));
    EXPECT_EQ(
        Check(Qos("id='90' name='X'", "min='1' max='2'") + Asking("X", "group='1' boost='1'")),
        (Findings{"5:24: the QoS has no group 1"}));
    EXPECT_EQ(Check("<qos id='9' type='eas'>\n<row base-min='0'><node>/a</node></row>"
                    "<eas><level value='0' boost='0'/></eas></qos>" +
                    Asking("EAS_BASE", "boost='1'")),
              (Findings{"5:21: 1 is no level of the QoS"}));
}

TEST(BoardCheck, AValueThatOneChipTakesIsFine) {
    EXPECT_EQ(Check("<qos id='90'><row min='1' max='2'><node>/a</node></row>"
                    "<row min='3' max='4' chip='1'><node>/a</node></row></qos>" +
                    Asking("90", "boost='4'")),
              Findings());
}

TEST(BoardCheck, AQosThatTheBoardLacksMayBeAskedFor) {
    EXPECT_EQ(Check(Asking("CPU_M", "boost='4'")), Findings());
}

TEST(BoardCheck, FindsMissingNodes) {
    sim::SimulatedDevice device;
    const test::ScopedNodeIo nodeIo(device);
    EXPECT_EQ(Check("<qos id='0' type='freq' frequencies='/list'>\n<row min='1' max='2'>"
                    "<node>/a</node>\n<node>/b</node></row></qos>",
                    true),
              (Findings{"2:1: there is no /list", "3:22: there is no /a", "4:1: there is no /b"}));
    device.AddText("/list", "1 2");
    device.AddText("/a", "", sim::Access::WRITE_ONLY);
    device.AddText("/b", "");
    EXPECT_EQ(Check("<qos id='0' type='freq' frequencies='/list'>\n<row min='1' max='2'>"
                    "<node>/a</node>\n<node>/b</node></row></qos>",
                    true),
              Findings());
}

TEST(BoardCheck, FindsAFrequencyThatIsNotListed) {
    sim::SimulatedDevice device;
    const test::ScopedNodeIo nodeIo(device);
    device.AddText("/list", "100 200 300000");
    device.AddText("/a", "");
    const std::string qos =
        Qos("name='CPU_L' type='freq' frequencies='/list'", "min='100' max='300'");
    EXPECT_EQ(Check(qos + Asking("CPU_L", "boost='150' limit='300'"), true),
              (Findings{"5:18: 150 is not among the frequencies of /list"}));
    EXPECT_EQ(Check(qos + Asking("CPU_L", "boost='150' limit='300'"), false), Findings());
}

TEST(BoardCheck, AFindingIsALineWhateverThePathHolds) {
    sim::SimulatedDevice device;
    const test::ScopedNodeIo nodeIo(device);
    const Findings findings =
        Check("<qos id='13'>\n<row min='0' max='9'><node>/a&#10;&#7;b</node></row></qos>", true);
    EXPECT_EQ(findings, Findings{"3:22: there is no /a??b"});
}

}  // namespace
}  // namespace corebeacon::board
