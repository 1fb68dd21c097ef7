#include "resources/level_map_group.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <utility>

#include "sim/simulated_device.h"
#include "support/log_capture.h"
#include "support/scoped_node_io.h"
#include "support/scripted_node_io.h"

namespace corebeacon {
namespace {

using sim::Fault;
using sim::OperationKind;
using test::LogCapture;
using test::ScopedNodeIo;
using Texts = std::vector<std::string>;
using Writes = std::vector<std::pair<std::string, std::string>>;

constexpr const char* kFirst = "/level/first";
constexpr const char* kSecond = "/level/second";
constexpr int kNoLimit = 0;

const Level2ValueMap kLevels{{1, {"5", "6"}}, {2, {"10", "20"}}, {9, {"0 1:2", ""}}};

PerfGroupConfig Config(const std::string& name = "RAMP", const Level2ValueMap& levels = kLevels) {
    return PerfGroupConfig(name, 1, {kFirst, kSecond}, levels, CHIP_TYPE_COMMON);
}

PerfGroupCommand Boost(int level) {
    return {.handle = 1,
            .startTime = TimePoint(),
            .endTime = TimePoint(),
            .values = {{PERF_OPERATION_BOOST, level}}};
}

class LevelMapGroupTest : public testing::Test {
protected:
    LevelMapGroupTest() {
        mDevice.AddText(kFirst, "-");
        mDevice.AddText(kSecond, "-");
    }

    LevelMapGroup& Make(const PerfGroupConfig& config = Config()) {
        mGroup = std::make_unique<LevelMapGroup>(config, PERF_WORK_MODE_0);
        return *mGroup;
    }

    /// The writes since the last call, with the nodes they reached.
    Writes TakeWrites() {
        Writes writes;
        for (const sim::Operation& write : mDevice.Writes()) {
            writes.emplace_back(write.path, write.bytes);
        }
        mDevice.ClearRecord();
        return writes;
    }

    sim::SimulatedDevice mDevice;
    ScopedNodeIo mScope{mDevice};
    LogCapture mLog;
    std::unique_ptr<LevelMapGroup> mGroup;
};

TEST_F(LevelMapGroupTest, ALevelWritesEachNodeItsTextInTheOrderOfTheNodes) {
    EXPECT_EQ(Make().DoConfig(2, kNoLimit), 0);
    EXPECT_EQ(TakeWrites(), (Writes{{kFirst, "10"}, {kSecond, "20"}}));
    EXPECT_EQ(mLog.Texts(4), (Texts{"############ [RAMP] final write 2: 10\n",
                                    "############ [RAMP] final write 2: 20\n"}));
    EXPECT_EQ(mLog.Texts().size(), 2U);
    EXPECT_EQ(mLog.Lines()[0].tag, "PF_LEVEL_MAP_GROUP");
    EXPECT_EQ(mLog.Lines()[0].function, "DoConfig");
}

TEST_F(LevelMapGroupTest, TextsAreWrittenAsTheyStand) {
    Make().DoConfig(9, kNoLimit);
    EXPECT_EQ(TakeWrites(), (Writes{{kFirst, "0 1:2"}, {kSecond, ""}}));
}

TEST_F(LevelMapGroupTest, TheLimitPlaysNoPart) {
    LevelMapGroup& group = Make();
    group.DoConfig(2, 1);
    group.DoConfig(1, 12345);
    EXPECT_EQ(TakeWrites(),
              (Writes{{kFirst, "10"}, {kSecond, "20"}, {kFirst, "5"}, {kSecond, "6"}}));
}

TEST_F(LevelMapGroupTest, AnUnknownLevelIsRefusedAndNothingIsWritten) {
    EXPECT_EQ(Make().DoConfig(3, kNoLimit), -1);
    EXPECT_EQ(mLog.Texts(), Texts{"[RAMP] invalid level: 3"});
    EXPECT_EQ(mLog.Lines()[0].level, 6);
    EXPECT_EQ(mLog.Lines()[0].function, "DoConfig");
    EXPECT_TRUE(mDevice.Operations().empty());
}

TEST_F(LevelMapGroupTest, ALevelWithoutATextForEveryNodeIsNotApplied) {
    EXPECT_EQ(Make(Config("RAMP", {{1, {"5"}}})).DoConfig(1, kNoLimit), -1);
    EXPECT_EQ(mLog.Texts(6), Texts{"[RAMP] multiValueVec size: 1 is not equal to mPathInfoVec: 2"});
    EXPECT_EQ(mLog.Lines()[0].function, "DoConfig");
    EXPECT_TRUE(mDevice.Operations().empty());
}

TEST_F(LevelMapGroupTest, ANodeThatFailsKeepsTheOthersNotBack) {
    mDevice.Inject(kFirst, OperationKind::WRITE, Fault::Errno(EINVAL));
    EXPECT_EQ(Make().DoConfig(2, kNoLimit), 0);
    EXPECT_EQ(TakeWrites(), (Writes{{kSecond, "20"}}));
    EXPECT_EQ(mLog.Texts(5).size(), 1U);
    mGroup->DoConfig(2, kNoLimit);  // the next change writes afresh
    EXPECT_EQ(TakeWrites(), (Writes{{kFirst, "10"}, {kSecond, "20"}}));
}

TEST_F(LevelMapGroupTest, AMissingNodeIsAnErrorLine) {
    mDevice.Remove(kFirst);
    Make().DoConfig(2, kNoLimit);
    EXPECT_EQ(TakeWrites(), (Writes{{kSecond, "20"}}));
    EXPECT_EQ(
        mLog.Texts(6),
        Texts{"[RAMP] open file /level/first failed, errno=2 (No such file or directory) \n"});
    EXPECT_EQ(mLog.Count(4, "############ [RAMP] final write 2: 10\n"), 1U);
}

TEST_F(LevelMapGroupTest, NodesOfTheRemainderMayBeMissing) {
    mDevice.Remove(kFirst);
    LevelMapGroup& group = Make(Config("REMAINDER"));
    EXPECT_EQ(group.DoConfig(2, kNoLimit), 0);
    EXPECT_EQ(TakeWrites(), (Writes{{kSecond, "20"}}));
    EXPECT_EQ(mLog.Texts(), (Texts{"[REMAINDER] open file [/level/first] failed",
                                   "############ [REMAINDER] final write 2: 20\n"}));
    EXPECT_EQ(mLog.Lines()[0].level, 3);

    // Once the node is there it is written, and both descriptors are kept.
    mDevice.Restore(kFirst);
    group.DoConfig(1, kNoLimit);
    group.DoConfig(2, kNoLimit);
    EXPECT_EQ(mDevice.Operations(OperationKind::OPEN).size(), 1U);
    EXPECT_EQ(TakeWrites(),
              (Writes{{kFirst, "5"}, {kSecond, "6"}, {kFirst, "10"}, {kSecond, "20"}}));
}

TEST_F(LevelMapGroupTest, ZeroIsADescriptorToo) {
    test::ScriptedNodeIo io(0);
    const ScopedNodeIo scope(io);
    LevelMapGroup& group = Make(Config("REMAINDER"));
    group.DoConfig(2, kNoLimit);
    group.DoConfig(1, kNoLimit);
    EXPECT_EQ(io.Trace(),
              (Texts{"open /level/first = 0", "write 0 10 = 2", "open /level/second = 1",
                     "write 1 20 = 2", "write 0 5 = 1", "write 1 6 = 1"}));
    mGroup.reset();
}

TEST_F(LevelMapGroupTest, NodesStayOpenUntilClosed) {
    LevelMapGroup& group = Make();
    EXPECT_TRUE(mDevice.Operations().empty());
    group.DoConfig(1, kNoLimit);
    group.DoConfig(2, kNoLimit);
    EXPECT_EQ(mDevice.Operations(OperationKind::OPEN).size(), 2U);
    group.CloseAllFds();
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
    group.CloseAllFds();
    EXPECT_EQ(mDevice.Operations(OperationKind::CLOSE).size(), 2U);
    group.DoConfig(1, kNoLimit);
    EXPECT_EQ(mDevice.OpenDescriptors(), 2U);
    mGroup.reset();
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
}

TEST_F(LevelMapGroupTest, TheLogSwitchSilencesWhatIsNoFailure) {
    mDevice.Remove(kFirst);
    const LogCapture quiet(0);
    LevelMapGroup& group = Make(Config("REMAINDER"));
    group.DoConfig(2, kNoLimit);
    EXPECT_EQ(quiet.Texts(), Texts{});
    group.DoConfig(3, kNoLimit);
    EXPECT_EQ(quiet.Texts(), Texts{"[REMAINDER] invalid level: 3"});
}

TEST_F(LevelMapGroupTest, OnlyLevelsMayBeAskedFor) {
    const LevelMapGroup& group = Make();
    for (int level : {1, 2, 9}) {
        EXPECT_EQ(group.OperationValueValidate(level), 0) << level;
    }
    EXPECT_TRUE(mLog.Texts().empty());

    int between = 7;
    EXPECT_EQ(group.OperationValueValidate(between), -1);
    EXPECT_EQ(mLog.Texts(), Texts{"[RAMP] cmd value can't be found in levelMapping: 7"});
    EXPECT_EQ(mLog.Lines()[0].level, 6);
    EXPECT_EQ(mLog.Lines()[0].function, "OperationValueValidate");
    mLog.Clear();

    for (int beyond : {0, 10}) {
        EXPECT_EQ(group.OperationValueValidate(beyond), -1);
    }
    EXPECT_EQ(mLog.Texts(6),
              Texts(2, "[RAMP] OperationValueValidate failed!"));  // and no word of the mapping
}

TEST_F(LevelMapGroupTest, ARowThatClampsBringsTheLevelToTheNearestEnd) {
    PerfGroupConfig config = Config();
    config.rangeFlag = true;
    const LevelMapGroup& group = Make(config);
    int value = 12;
    EXPECT_EQ(group.OperationValueValidate(value), 0);
    EXPECT_EQ(value, 9);
    value = 7;
    EXPECT_EQ(group.OperationValueValidate(value), -1);
}

TEST_F(LevelMapGroupTest, ARowNeedsLevels) {
    EXPECT_FALSE(LevelMapGroup::GroupParametersValidate(Config("RAMP", {})));
    EXPECT_EQ(mLog.Texts(), Texts{"[RAMP] level2value mapping is empty"});
    EXPECT_EQ(mLog.Lines()[0].level, 6);
    EXPECT_EQ(mLog.Lines()[0].tag, "PF_LEVEL_MAP_GROUP");
    EXPECT_EQ(mLog.Lines()[0].function, "GroupParametersValidate");
}

TEST_F(LevelMapGroupTest, TheFirstLevelWithoutATextPerNodeIsNamed) {
    const Level2ValueMap levels{{1, {"5", "6"}}, {2, {"1", "2", "3"}}, {3, {}}};
    EXPECT_FALSE(LevelMapGroup::GroupParametersValidate(Config("RAMP", levels)));
    EXPECT_EQ(mLog.Texts(), Texts{"[RAMP] invalid group value size 3, not equal to paths size 2"});
    EXPECT_EQ(mLog.Lines()[0].level, 6);
}

TEST_F(LevelMapGroupTest, TheCommonChecksOfARowApplyToo) {
    EXPECT_TRUE(LevelMapGroup::GroupParametersValidate(Config()));
    EXPECT_TRUE(mLog.Texts().empty());
    PerfGroupConfig config = Config();
    config.baseMin = 0;
    EXPECT_FALSE(LevelMapGroup::GroupParametersValidate(config));
    EXPECT_EQ(mLog.Texts(), (Texts{"[RAMP] base range(0, 9) out of available range(1, 9)",
                                   "[RAMP] GroupParametersValidate failed!"}));
    EXPECT_EQ(mLog.Lines()[1].level, 6);
}

TEST_F(LevelMapGroupTest, ADumpPairsEachNodeWithTheTextOfTheBaseLevel) {
    std::vector<SpecifiedGroupDumpInfo> info;
    Make().DumpBaseValueAfterMapping(info);
    ASSERT_EQ(info.size(), 2U);
    EXPECT_EQ(info[0].boostValue, "5");
    EXPECT_EQ(info[0].boostNode, kFirst);
    EXPECT_EQ(info[1].boostValue, "6");
    EXPECT_EQ(info[1].boostNode, kSecond);
    for (const SpecifiedGroupDumpInfo& node : info) {
        EXPECT_EQ(node.limitValue, "");
        EXPECT_EQ(node.limitNode, "");
    }
    EXPECT_TRUE(mLog.Texts().empty());
}

TEST_F(LevelMapGroupTest, ADumpFollowsABaseValueThatWasSet) {
    LevelMapGroup& group = Make();
    group.BaseSet(Boost(2));
    EXPECT_EQ(TakeWrites(), (Writes{{kFirst, "10"}, {kSecond, "20"}}));
    std::vector<SpecifiedGroupDumpInfo> info;
    group.DumpBaseValueAfterMapping(info);
    ASSERT_EQ(info.size(), 2U);
    EXPECT_EQ(info[1].boostValue, "20");
}

TEST_F(LevelMapGroupTest, ABaseLevelWithoutTextsIsNotDumped) {
    PerfGroupConfig config = Config();
    config.baseMin = -4;
    std::vector<SpecifiedGroupDumpInfo> info;
    Make(config).DumpBaseValueAfterMapping(info);
    EXPECT_TRUE(info.empty());
    EXPECT_EQ(mLog.Texts(), Texts{"[RAMP] invalid level: 4294967292"});
    EXPECT_EQ(mLog.Lines()[0].level, 6);
    EXPECT_EQ(mLog.Lines()[0].function, "DumpBaseValueAfterMapping");
}

TEST_F(LevelMapGroupTest, ADumpLeavesOutTheNodesForWhichTheBaseLevelHasNoText) {
    std::vector<SpecifiedGroupDumpInfo> info;
    Make(Config("RAMP", {{1, {"5"}}})).DumpBaseValueAfterMapping(info);
    ASSERT_EQ(info.size(), 1U);
    EXPECT_EQ(info[0].boostValue, "5");
    EXPECT_EQ(info[0].boostNode, kFirst);
}

TEST_F(LevelMapGroupTest, ADumpLeavesOutTheTextsOfTheBaseLevelForWhichThereIsNoNode) {
    std::vector<SpecifiedGroupDumpInfo> info;
    Make(Config("RAMP", {{1, {"5", "6", "7"}}})).DumpBaseValueAfterMapping(info);
    EXPECT_EQ(info.size(), 2U);
}

TEST_F(LevelMapGroupTest, SuspensionClosesTheNodesAndResumingWritesTheLevelInForce) {
    LevelMapGroup& group = Make();
    const PerfGroupCommand command = Boost(2);
    group.LongTermStart(command);
    EXPECT_EQ(TakeWrites(), (Writes{{kFirst, "10"}, {kSecond, "20"}}));
    group.SetSuspend(true);
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
    group.LongTermStop(command);
    EXPECT_EQ(TakeWrites(), Writes{});
    group.SetSuspend(false);
    EXPECT_EQ(TakeWrites(), (Writes{{kFirst, "5"}, {kSecond, "6"}}));
}

}  // namespace
}  // namespace corebeacon
