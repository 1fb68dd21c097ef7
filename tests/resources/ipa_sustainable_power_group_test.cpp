#include "resources/ipa_sustainable_power_group.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "corebeacon/group_state.h"
#include "resources/node_fixture.h"

namespace corebeacon::test {
namespace {

using sim::Fault;
using sim::OperationKind;

constexpr const char* kPower = "/ipa/sustainable_power";
constexpr const char* kBoard = "/ipa/board_mode";
constexpr const char* kSoc = "/ipa/soc_mode";
constexpr int kSocThreshold = 4000;
constexpr int kBoardThreshold = 5000;

PerfGroupConfig Config(const Texts& nodes = {kPower, kBoard, kSoc}, int base = 3000) {
    return PerfGroupConfig("IPA", true, 0, 10000, base, 10000, nodes, CHIP_TYPE_COMMON);
}

class IpaSustainablePowerGroupTest : public NodeFixture {
protected:
    IpaSustainablePowerGroupTest() {
        mDevice.AddNumber(kPower, 9000, 0, 100000);
        mDevice.AddChoice(kBoard, {"enabled", "disabled"}, "enabled");
        mDevice.AddChoice(kSoc, {"enabled", "disabled"}, "enabled");
    }

    IpaSustainablePowerGroup& Make(bool withBoardSwitch, int base = 3000) {
        mGroup = std::make_unique<IpaSustainablePowerGroup>(Config({kPower, kBoard, kSoc}, base),
                                                            PERF_WORK_MODE_0, withBoardSwitch,
                                                            kSocThreshold, kBoardThreshold);
        return *mGroup;
    }

    /// What a budget writes.
    Writes Apply(int value) {
        EXPECT_EQ(mGroup->DoConfig(value, kNoLimit), 0);
        return TakeWrites();
    }

    std::unique_ptr<IpaSustainablePowerGroup> mGroup;
};

const Writes kBothOff{{kBoard, "disabled"}, {kSoc, "disabled"}};
const Writes kBoardOff{{kBoard, "disabled"}, {kSoc, "enabled"}};

TEST_F(IpaSustainablePowerGroupTest, AnInspectionTellsTheNodesThatItsBoardHas) {
    const auto toldNodes = [](const PerfGroup& group) {
        GroupState state;
        group.Inspect(TimePoint{}, state);
        EXPECT_EQ(state.kind, GroupKind::IPA_POWER);
        Texts nodes;
        for (const NodeState& node : state.nodes) {
            nodes.push_back(node.path + "=" + node.text);
        }
        return nodes;
    };
    Make(true);
    Apply(3000);
    EXPECT_EQ(toldNodes(*mGroup), (Texts{std::string(kPower) + "=3000", std::string(kBoard) + "=",
                                         std::string(kSoc) + "="}));
    EXPECT_EQ(toldNodes(Make(false)), (Texts{std::string(kSoc) + "="}));
}

// ---- On a board with an allocator of its own ----

TEST_F(IpaSustainablePowerGroupTest, WithABoardSwitchABudgetBelowTheThresholdIsAllThatIsWritten) {
    Make(true);
    EXPECT_EQ(Apply(3000), (Writes{{kPower, "3000"}}));
    EXPECT_EQ(Apply(4999), (Writes{{kPower, "4999"}}));
    EXPECT_EQ(mLog.Texts(), (Texts{"############ [IPA] final write (3000) \n",
                                   "############ [IPA] final write (4999) \n"}));
    EXPECT_EQ(mLog.Lines()[0].tag, "PF_SINGLE_NODE_VALUE_GRP");
}

TEST_F(IpaSustainablePowerGroupTest, TheBudgetOfTheThresholdTurnsTheBoardsAllocatorOff) {
    Make(true);
    EXPECT_EQ(Apply(5000), kBoardOff);
    EXPECT_EQ(mLog.Texts(), (Texts{"############ [IPA] final write board ipa switch: disabled \n",
                                   "############ [IPA] final write soc ipa switch: enabled \n"}));
    EXPECT_EQ(mLog.Texts(4).size(), 2U);
    EXPECT_EQ(mLog.Lines()[0].tag, "PF_IPA_POWER_GRP");
    EXPECT_EQ(mLog.Lines()[0].function, "BoardIpaSwitch");
    EXPECT_EQ(mLog.Lines()[1].function, "SocIpaSwitch");
}

TEST_F(IpaSustainablePowerGroupTest, AHigherBudgetTurnsBothAllocatorsOffUntilALowerOneComes) {
    Make(true);
    EXPECT_EQ(Apply(3000), (Writes{{kPower, "3000"}}));
    EXPECT_EQ(Apply(5000), kBoardOff);
    EXPECT_EQ(Apply(6000), kBothOff);
    EXPECT_EQ(Apply(3000), (Writes{{kBoard, "enabled"}, {kSoc, "enabled"}, {kPower, "3000"}}));
}

TEST_F(IpaSustainablePowerGroupTest, EachWayOfTurningOffAloneIsRemembered) {
    const Writes backOn{{kBoard, "enabled"}, {kSoc, "enabled"}, {kPower, "4999"}};
    Make(true);
    Apply(5000);
    EXPECT_EQ(Apply(4999), backOn);
    Apply(5001);
    EXPECT_EQ(Apply(4999), backOn);
}

TEST_F(IpaSustainablePowerGroupTest, AllocatorsAreTurnedOffEachTimeButOnOnlyOnce) {
    Make(true);
    EXPECT_EQ(Apply(6000), kBothOff);
    EXPECT_EQ(Apply(6000), kBothOff);
    EXPECT_EQ(Apply(5000), kBoardOff);
    EXPECT_EQ(Apply(5000), kBoardOff);
    EXPECT_EQ(Apply(3000).size(), 3U);
    EXPECT_EQ(Apply(3000), (Writes{{kPower, "3000"}}));
    EXPECT_EQ(Apply(2000), (Writes{{kPower, "2000"}}));
}

TEST_F(IpaSustainablePowerGroupTest, AllocatorsThatSomebodyElseTurnedOffStayOff) {
    Make(true);
    mDevice.AddChoice(kBoard, {"enabled", "disabled"}, "disabled");
    EXPECT_EQ(Apply(3000), (Writes{{kPower, "3000"}}));
    EXPECT_EQ(mDevice.Value(kBoard), "disabled");
}

TEST_F(IpaSustainablePowerGroupTest, TheSocsThresholdPlaysNoPartBesideABoardSwitch) {
    Make(true);
    EXPECT_EQ(Apply(4500), (Writes{{kPower, "4500"}}));
}

// ---- On a board without ----

TEST_F(IpaSustainablePowerGroupTest, WithoutABoardSwitchTheBudgetDecidesOnTheSocsAllocatorAlone) {
    Make(false);
    EXPECT_EQ(Apply(3999), (Writes{{kSoc, "enabled"}}));
    EXPECT_EQ(Apply(4000), (Writes{{kSoc, "disabled"}}));
    EXPECT_EQ(Apply(6000), (Writes{{kSoc, "disabled"}}));
    EXPECT_EQ(Apply(0), (Writes{{kSoc, "enabled"}}));
    EXPECT_EQ(Apply(0), (Writes{{kSoc, "enabled"}}));
    EXPECT_EQ(mLog.Texts(4).size(), 5U);
    EXPECT_EQ(mLog.Texts()[0], "############ [IPA] final write soc ipa switch: enabled \n");
    EXPECT_EQ(mLog.Texts()[1], "############ [IPA] final write soc ipa switch: disabled \n");
    EXPECT_EQ(mDevice.Value(kPower), "9000");
}

// ---- Both ----

TEST_F(IpaSustainablePowerGroupTest, TheLimitPlaysNoPart) {
    Make(true);
    mGroup->DoConfig(3000, 10000);
    mGroup->DoConfig(6000, 100);
    EXPECT_EQ(TakeWrites(), (Writes{{kPower, "3000"}, {kBoard, "disabled"}, {kSoc, "disabled"}}));
}

TEST_F(IpaSustainablePowerGroupTest, ASwitchThatFailsKeepsNoOtherNodeBackAndIsNotTriedAgain) {
    Make(true);
    mDevice.Inject(kBoard, OperationKind::WRITE, Fault::Errno(EIO).Times(2));
    EXPECT_EQ(Apply(6000), (Writes{{kSoc, "disabled"}}));
    EXPECT_EQ(Apply(3000), (Writes{{kSoc, "enabled"}, {kPower, "3000"}}));
    EXPECT_EQ(mLog.Texts(5).size(), 2U);
    EXPECT_EQ(Apply(2000), (Writes{{kPower, "2000"}}));
}

TEST_F(IpaSustainablePowerGroupTest, AMissingNodeIsOpenedOnceItIsThere) {
    Make(true);
    mDevice.Remove(kSoc);
    EXPECT_EQ(Apply(6000), (Writes{{kBoard, "disabled"}}));
    EXPECT_EQ(
        mLog.Texts(6),
        Texts{"[IPA] open file /ipa/soc_mode failed, errno=2 (No such file or directory) \n"});
    mDevice.Restore(kSoc);
    EXPECT_EQ(Apply(6000), kBothOff);
}

TEST_F(IpaSustainablePowerGroupTest, ABudgetThatFailsIsWrittenByTheNextChange) {
    Make(true);
    mDevice.Inject(kPower, OperationKind::WRITE, Fault::Errno(EINVAL));
    EXPECT_EQ(Apply(3000), Writes{});
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
    EXPECT_EQ(Apply(3000), (Writes{{kPower, "3000"}}));
}

TEST_F(IpaSustainablePowerGroupTest, NodesStayOpenUntilClosed) {
    Make(true);
    mGroup->DoConfig(6000, kNoLimit);
    mGroup->DoConfig(3000, kNoLimit);
    mGroup->DoConfig(6000, kNoLimit);
    EXPECT_EQ(mDevice.Operations(OperationKind::OPEN).size(), 3U);
    mGroup->CloseAllFds();
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
    mGroup->CloseAllFds();
    EXPECT_EQ(mDevice.Operations(OperationKind::CLOSE).size(), 3U);
    TakeWrites();
    EXPECT_EQ(Apply(3000), (Writes{{kBoard, "enabled"}, {kSoc, "enabled"}, {kPower, "3000"}}))
        << "closing forgets no switch that was turned off";
    EXPECT_EQ(mDevice.OpenDescriptors(), 3U);
    mGroup.reset();
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
}

TEST_F(IpaSustainablePowerGroupTest, TheLogSwitchSilencesTheSwitches) {
    const LogCapture quiet(2);
    Make(true);
    Apply(6000);
    Apply(3000);
    EXPECT_EQ(quiet.Texts(), Texts{});
}

TEST_F(IpaSustainablePowerGroupTest, TheBaseValueIsShownAsItIsWritten) {
    EXPECT_EQ(BaseRecords(Make(true, 3000)), Texts{"3000 @ /ipa/sustainable_power"});
    EXPECT_EQ(BaseRecords(Make(true, 5000)),
              (Texts{"disabled @ /ipa/board_mode", "enabled @ /ipa/soc_mode"}));
    EXPECT_EQ(BaseRecords(Make(true, 5001)),
              (Texts{"disabled @ /ipa/board_mode", "disabled @ /ipa/soc_mode"}));
    EXPECT_EQ(BaseRecords(Make(false, 3999)), Texts{"enabled @ /ipa/soc_mode"});
    EXPECT_EQ(BaseRecords(Make(false, 4000)), Texts{"disabled @ /ipa/soc_mode"});
}

TEST_F(IpaSustainablePowerGroupTest, OnlyThreeNodesMakeAGroup) {
    EXPECT_TRUE(IpaSustainablePowerGroup::GroupParametersValidate(Config()));
    EXPECT_TRUE(mLog.Texts().empty());
    EXPECT_FALSE(IpaSustainablePowerGroup::GroupParametersValidate(Config({})));
    EXPECT_FALSE(IpaSustainablePowerGroup::GroupParametersValidate(Config({kPower, kBoard})));
    EXPECT_FALSE(IpaSustainablePowerGroup::GroupParametersValidate(
        Config({kPower, kBoard, kSoc, "/ipa/fourth"})));
    EXPECT_EQ(mLog.Texts(6), (Texts{"[IPA] invalid path size 0", "[IPA] invalid path size 2",
                                    "[IPA] invalid path size 4"}));
    EXPECT_EQ(mLog.Lines()[0].tag, "PF_IPA_POWER_GRP");
    EXPECT_EQ(mLog.Lines()[0].function, "GroupParametersValidate");
}

TEST_F(IpaSustainablePowerGroupTest, TheCommonChecksOfARowApplyToo) {
    EXPECT_FALSE(IpaSustainablePowerGroup::GroupParametersValidate(Config({kPower, "", kSoc})));
    EXPECT_EQ(mLog.Texts(6), Texts{"[IPA] node path is empty!"});
}

}  // namespace
}  // namespace corebeacon::test
