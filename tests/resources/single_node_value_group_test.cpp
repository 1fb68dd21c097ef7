#include "resources/single_node_value_group.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "resources/node_fixture.h"

namespace corebeacon::test {
namespace {

using sim::Fault;
using sim::OperationKind;

constexpr const char* kNode = "/single/node";

PerfGroupConfig Config(const Texts& nodes = {kNode}) {
    return PerfGroupConfig("ENCODER", false, -10, 10, -3, 10, nodes, CHIP_TYPE_COMMON);
}

class SingleNodeValueGroupTest : public NodeFixture {
protected:
    SingleNodeValueGroupTest() { mDevice.AddText(kNode, "-"); }

    SingleNodeValueGroup& Group() { return *mGroup; }

    std::unique_ptr<SingleNodeValueGroup> mGroup =
        std::make_unique<SingleNodeValueGroup>(Config(), PERF_WORK_MODE_0);
};

TEST_F(SingleNodeValueGroupTest, TheBoostIsWrittenAsDecimalText) {
    EXPECT_EQ(Group().DoConfig(7, kNoLimit), 0);
    EXPECT_EQ(TakeWrites(), (Writes{{kNode, "7"}}));
    EXPECT_EQ(mLog.Texts(), Texts{"############ [ENCODER] final write (7) \n"});
    EXPECT_EQ(mLog.Lines()[0].level, 4);
    EXPECT_EQ(mLog.Lines()[0].tag, "PF_SINGLE_NODE_VALUE_GRP");
    EXPECT_EQ(mLog.Lines()[0].function, "DoConfig");
}

TEST_F(SingleNodeValueGroupTest, ANegativeBoostKeepsItsSign) {
    Group().DoConfig(-1, kNoLimit);
    EXPECT_EQ(TakeWrites(), (Writes{{kNode, "-1"}}));
}

TEST_F(SingleNodeValueGroupTest, TheLimitPlaysNoPart) {
    Group().DoConfig(7, 3);
    Group().DoConfig(7, 12345);
    EXPECT_EQ(TakeWrites(), (Writes{{kNode, "7"}, {kNode, "7"}}));
}

TEST_F(SingleNodeValueGroupTest, TheLogSwitchSilencesTheWrite) {
    const LogCapture quiet(2);
    Group().DoConfig(7, kNoLimit);
    EXPECT_EQ(quiet.Texts(), Texts{});
    EXPECT_EQ(TakeWrites(), (Writes{{kNode, "7"}}));
}

TEST_F(SingleNodeValueGroupTest, AWriteThatFailsClosesTheNodeAndTheNextOpensItAgain) {
    mDevice.Inject(kNode, OperationKind::WRITE, Fault::Errno(EINVAL));
    EXPECT_EQ(Group().DoConfig(7, kNoLimit), -1);
    EXPECT_EQ(mLog.Texts(5),
              Texts{"[ENCODER] 7 write to /single/node failed, errno=22 (Invalid argument) \n"});
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
    EXPECT_EQ(TakeWrites(), Writes{});

    EXPECT_EQ(Group().DoConfig(7, kNoLimit), 0);
    EXPECT_EQ(mDevice.Operations(OperationKind::OPEN).size(), 1U);
    EXPECT_EQ(TakeWrites(), (Writes{{kNode, "7"}}));
}

TEST_F(SingleNodeValueGroupTest, ADeviceThatCameBackIsWrittenAtOnce) {
    Group().DoConfig(7, kNoLimit);
    mDevice.Remove(kNode);
    mDevice.Restore(kNode);
    EXPECT_EQ(Group().DoConfig(8, kNoLimit), 0);
    EXPECT_EQ(mDevice.Value(kNode), "8");
    EXPECT_EQ(mDevice.OpenDescriptors(), 1U);
}

TEST_F(SingleNodeValueGroupTest, AMissingNodeIsAnErrorLineAndTriedAgain) {
    mDevice.Remove(kNode);
    EXPECT_EQ(Group().DoConfig(7, kNoLimit), -1);
    EXPECT_EQ(mLog.Texts(6), Texts{"[ENCODER] open file /single/node failed, errno=2 (No such file "
                                   "or directory) \n"});
    mDevice.Restore(kNode);
    EXPECT_EQ(Group().DoConfig(7, kNoLimit), 0);
    EXPECT_EQ(TakeWrites(), (Writes{{kNode, "7"}}));
}

TEST_F(SingleNodeValueGroupTest, TheNodeStaysOpenUntilClosed) {
    EXPECT_TRUE(mDevice.Operations().empty());
    Group().DoConfig(1, kNoLimit);
    Group().DoConfig(2, kNoLimit);
    EXPECT_EQ(mDevice.Operations(OperationKind::OPEN).size(), 1U);
    Group().CloseAllFds();
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
    Group().CloseAllFds();
    EXPECT_EQ(mDevice.Operations(OperationKind::CLOSE).size(), 1U);
    Group().DoConfig(3, kNoLimit);
    EXPECT_EQ(mDevice.OpenDescriptors(), 1U);
    mGroup.reset();
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
}

TEST_F(SingleNodeValueGroupTest, TheBaseValueIsWrittenAsItIs) {
    EXPECT_EQ(BaseRecords(Group()), Texts{"-3 @ /single/node"});
}

TEST_F(SingleNodeValueGroupTest, OnlyOneNodeMakesAGroup) {
    EXPECT_TRUE(SingleNodeValueGroup::GroupParametersValidate(Config()));
    EXPECT_TRUE(mLog.Texts().empty());
    EXPECT_FALSE(SingleNodeValueGroup::GroupParametersValidate(Config({})));
    EXPECT_FALSE(SingleNodeValueGroup::GroupParametersValidate(Config({kNode, "/b"})));
    EXPECT_EQ(mLog.Texts(6), (Texts{"[ENCODER] SysNodePath num invalid: 0",
                                    "[ENCODER] SysNodePath num invalid: 2"}));
    EXPECT_EQ(mLog.Lines()[0].tag, "PF_SINGLE_NODE_VALUE_GRP");
    EXPECT_EQ(mLog.Lines()[0].function, "GroupParametersValidate");
}

TEST_F(SingleNodeValueGroupTest, TheCommonChecksOfARowApplyToo) {
    EXPECT_FALSE(SingleNodeValueGroup::GroupParametersValidate(Config({""})));
    EXPECT_EQ(mLog.Texts(6), Texts{"[ENCODER] node path is empty!"});
}

}  // namespace
}  // namespace corebeacon::test
