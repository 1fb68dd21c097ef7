#include "board/board_writer.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <utility>

#include "board/board_reader.h"
#include "sim/eas_example.h"
#include "support/scoped_node_io.h"

namespace corebeacon::board {
namespace {

Board WholeBoard(unsigned chip) {
    const auto device = sim::SimulatedDevice::ForChip(chip);
    const test::ScopedNodeIo nodeIo(*device);
    Board board = BuiltinBoard(chip);
    board.qos.emplace(PERF_QOS_EAS, AsLoaded(sim::MakeEasConfig()));
    board.machine.cpuBoost = true;
    board.machine.boardIpa = false;
    board.machine.absent = {"policy2"};
    board.probe = {"/p", "<on>", "\"off\"", 1, 2, 3, 4, 5};
    return board;
}

void ExpectEqual(const PerfGroupConfig& a, const PerfGroupConfig& b) {
    EXPECT_EQ(a.name, b.name);
    EXPECT_EQ(a.groupId, b.groupId);
    EXPECT_EQ(a.rangeFlag, b.rangeFlag);
    EXPECT_EQ(a.availableMin, b.availableMin);
    EXPECT_EQ(a.availableMax, b.availableMax);
    EXPECT_EQ(a.baseMin, b.baseMin);
    EXPECT_EQ(a.baseMax, b.baseMax);
    EXPECT_EQ(a.sysNodePaths, b.sysNodePaths);
    EXPECT_EQ(a.level2ValueMap, b.level2ValueMap);
    EXPECT_EQ(a.chipType, b.chipType);
}

void ExpectEqualParameters(const PerfQosXmlLoadConfig& a, const PerfQosXmlLoadConfig& b) {
    EXPECT_EQ(a.availableFreqsPath, b.availableFreqsPath);
    EXPECT_EQ(a.overwriteMaxFreq, b.overwriteMaxFreq);
    EXPECT_EQ(a.property, b.property);
    EXPECT_EQ(a.gpuTopFreqPath.loaded, b.gpuTopFreqPath.loaded);
    EXPECT_EQ(a.levelTable, b.levelTable);
    EXPECT_EQ(a.bandwidthCoefficient.loaded, b.bandwidthCoefficient.loaded);
    EXPECT_EQ(a.thresholds.loaded.socSwitch, b.thresholds.loaded.socSwitch);
    EXPECT_EQ(a.thresholds.loaded.boardSwitch, b.thresholds.loaded.boardSwitch);
    EXPECT_EQ(a.minBoost, b.minBoost);
    EXPECT_EQ(a.maxBoost, b.maxBoost);
    EXPECT_EQ(a.globalBoost.loaded.nodePath, b.globalBoost.loaded.nodePath);
    EXPECT_EQ(a.globalBoost.loaded.levelToGlobalBoost, b.globalBoost.loaded.levelToGlobalBoost);
    ASSERT_EQ(a.levelToValueMap.size(), b.levelToValueMap.size());
    for (const auto& [level, value] : a.levelToValueMap) {
        EXPECT_EQ(value.boost, b.levelToValueMap.at(level).boost);
        EXPECT_EQ(value.globalBoost, b.levelToValueMap.at(level).globalBoost);
    }
}

class BoardWriter : public ::testing::TestWithParam<unsigned> {};

TEST_P(BoardWriter, WhatItWritesReadsBackTheSame) {
    const Board board = WholeBoard(GetParam());
    const std::string text = BoardText(board);
    const ReadBoard read = ParseBoard(text);
    ASSERT_TRUE(read.errors.empty()) << read.errors.front().message;
    ASSERT_EQ(read.board.qos.size(), board.qos.size());
    for (const auto& [qosId, config] : board.qos) {
        SCOPED_TRACE(config.name);
        const PerfQosXmlLoadConfig& other = read.board.qos.at(qosId);
        EXPECT_EQ(other.name, config.name);
        EXPECT_EQ(other.type, config.type);
        ExpectEqualParameters(other, config);
        ASSERT_EQ(other.groups.size(), config.groups.size());
        for (std::size_t i = 0; i < config.groups.size(); ++i) {
            ExpectEqual(other.groups[i], config.groups[i]);
        }
    }
    EXPECT_EQ(read.board.machine.chip, GetParam());
    EXPECT_EQ(read.board.probe.bindText, "<on>");
    EXPECT_EQ(read.board.probe.unbindText, "\"off\"");
    EXPECT_EQ(read.board.scenarios.size(), board.scenarios.size());
    EXPECT_EQ(read.board.events.size(), board.events.size());
    EXPECT_EQ(BoardText(read.board), text);
}

TEST_P(BoardWriter, WhatItWritesIsValid) {
    if (std::system("xmllint --version >/dev/null 2>&1") != 0) {
        GTEST_SKIP() << "no xmllint on this machine; scripts/install-deps.sh test installs it";
    }
    const std::string path = ::testing::TempDir() + "corebeacon-board-" +
                             std::to_string(GetParam()) + "-" + std::to_string(::getpid());
    std::ofstream(path) << BoardText(WholeBoard(GetParam()));
    EXPECT_EQ(
        std::system(("xmllint --noout --schema " COREBEACON_SOURCE_DIR "/tools/board/board.xsd " +
                     path + " 2>/dev/null")
                        .c_str()),
        0);
    std::remove(path.c_str());
}

INSTANTIATE_TEST_SUITE_P(OfChip, BoardWriter, ::testing::Values(0U, 1U, 2U));

TEST(BoardText, KeepsWhatTheBuiltInTablesHaveNone) {
    Board board;
    PerfQosXmlLoadConfig config("DDR", "freq", {});
    config.availableFreqsPath = "/f";
    config.property = "a & b";
    config.gpuTopFreqPath = {"/t", "/t"};
    config.levelTable = {{1, {"x", " "}}};
    config.bandwidthCoefficient = {0.1F, 0.1F};
    config.groups.emplace_back(2U, "other", 3, 9, 4, 8, std::vector<std::string>{"/a"},
                               CHIP_TYPE_VARIANT_1);
    board.qos.emplace(PERF_QOS_DDR, config);
    const ReadBoard read = ParseBoard(BoardText(board));
    ASSERT_TRUE(read.errors.empty()) << read.errors.front().message;
    ExpectEqualParameters(read.board.qos.at(PERF_QOS_DDR), config);
    ExpectEqual(read.board.qos.at(PERF_QOS_DDR).groups.at(0), config.groups[0]);
}

TEST(BoardDocument, ItsExampleIsABoard) {
    std::ifstream file(COREBEACON_SOURCE_DIR "/docs/board.md");
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    const std::size_t begin = text.find("<?xml");
    ASSERT_NE(begin, std::string::npos);
    const ReadBoard read = ParseBoard(text.substr(begin, text.find("```", begin) - begin));
    ASSERT_TRUE(read.errors.empty()) << read.errors.front().message;
    EXPECT_EQ(read.board.qos.size(), 2U);
    EXPECT_EQ(read.board.scenarios.size(), 1U);
    EXPECT_EQ(read.board.events.size(), 1U);
}

/// The board of a description, and of what is written of it.
std::pair<ReadBoard, ReadBoard> ReadTwice(const std::string& parts) {
    ReadBoard first = ParseBoard("<board version='1'>" + parts + "</board>");
    ReadBoard second = ParseBoard(BoardText(first.board));
    for (const ReadBoard* read : {&first, &second}) {
        for (const BoardError& error : read->errors) {
            ADD_FAILURE() << error.message;
        }
    }
    return {std::move(first), std::move(second)};
}

std::string QosNamed(unsigned id, const std::string& name) {
    return "<qos id='" + std::to_string(id) + "' name='" + name +
           "'><row min='0' max='9'><node>/n</node></row></qos>";
}

TEST(BoardWriterText, KeepsACarriageReturn) {
    const auto [first, second] = ReadTwice(
        "<qos id='13'><row base-min='1'><node>/n</node>"
        "<level value='1'><text>a&#13;&#10;b</text></level></row></qos>");
    ASSERT_FALSE(second.board.qos.empty());
    EXPECT_EQ(second.board.qos.begin()->second.groups.front().level2ValueMap.at(1),
              std::vector<std::string>{"a\r\nb"});
}

TEST(BoardWriterText, NamesAQosByItsIdWhereTheNameStandsForAnother) {
    const std::string scenario =
        "<scenario id='0'><set qos='80' boost='1'/><set qos='81' boost='2'/></scenario>";
    for (const char* const name : {"TWIN", "80", "CPU_L"}) {
        SCOPED_TRACE(name);
        const auto [first, second] = ReadTwice(QosNamed(80, name) + QosNamed(81, name) + scenario);
        ASSERT_EQ(second.board.scenarios.size(), 1U);
        const std::vector<PerfRequestInfo>& requests = second.board.scenarios.front().requests;
        ASSERT_EQ(requests.size(), 2U);
        EXPECT_EQ(requests[0].qosId, 80U);
        EXPECT_EQ(requests[1].qosId, 81U);
    }
}

TEST(BoardWriterText, NamesAQosOfTheEngineByItsIdWhereTheBoardUsesItsName) {
    const auto [first, second] =
        ReadTwice(QosNamed(80, "GPU") +
                  "<event id='1'><sequence qos='3'><step ms='20'><set boost='1'/>"
                  "</step></sequence></event>");
    ASSERT_EQ(second.board.events.size(), 1U);
    EXPECT_EQ(second.board.events.front().qosCommands.front().qosId, PERF_QOS_GPU);
}

}  // namespace
}  // namespace corebeacon::board
