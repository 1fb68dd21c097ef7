// The two groups of a memory-latency monitor, which arbitrate alike and write only on demand.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "resources/monitor_enable_group.h"
#include "resources/target_ratio_group.h"
#include "sim/simulated_device.h"
#include "support/log_capture.h"
#include "support/scoped_node_io.h"

namespace corebeacon {
namespace {

using test::LogCapture;
using test::ScopedNodeIo;
using Texts = std::vector<std::string>;

constexpr const char* kNode = "/memlat/node";

PerfGroupConfig Row(const Level2ValueMap& levels = {{0, {"off"}}, {1, {"on"}}},
                    const Texts& nodes = {kNode}) {
    return PerfGroupConfig(0U, "MEMLAT", 1, nodes, levels, CHIP_TYPE_COMMON);
}

template <typename Group>
class MemLatGroupTest : public testing::Test {
protected:
    MemLatGroupTest() { mDevice.AddText(kNode, "-"); }

    sim::SimulatedDevice mDevice;
    ScopedNodeIo mNodeIo{mDevice};
    LogCapture mLog;
    Group mGroup{Row(), PERF_WORK_MODE_0};
};
using Groups = testing::Types<TargetRatioGroup, MonitorEnableGroup>;
TYPED_TEST_SUITE(MemLatGroupTest, Groups, );

TYPED_TEST(MemLatGroupTest, AFinalValueIsNotWrittenByTheGroupItself) {
    EXPECT_EQ(this->mGroup.DoConfig(0, 1), 0);
    EXPECT_EQ(this->mGroup.SetWorkMode(PERF_WORK_MODE_1), 0);
    EXPECT_EQ(this->mDevice.OperationCount(), 0U);
    EXPECT_TRUE(this->mLog.Texts().empty());
}

TYPED_TEST(MemLatGroupTest, ALevelIsWrittenOnDemand) {
    EXPECT_EQ(this->mGroup.RelatedGroupDoConfig(1), 0);
    EXPECT_EQ(this->mGroup.RelatedGroupDoConfig(0), 0);
    EXPECT_EQ(this->mDevice.WritesTo(kNode), (Texts{"on", "off"}));
    EXPECT_EQ(this->mDevice.Operations(sim::OperationKind::OPEN).size(), 1U);
    EXPECT_EQ(this->mLog.Texts(4), (Texts{"############ [MEMLAT] final write 1: on\n",
                                          "############ [MEMLAT] final write 0: off\n"}));
}

TYPED_TEST(MemLatGroupTest, ALevelThatDoesNotExistIsNotWritten) {
    EXPECT_EQ(this->mGroup.RelatedGroupDoConfig(2), -1);
    EXPECT_EQ(this->mDevice.OperationCount(), 0U);
    EXPECT_EQ(this->mLog.Texts(6), Texts{"[MEMLAT] invalid level: 2"});
}

TYPED_TEST(MemLatGroupTest, RequestsAreCheckedAgainstTheLevels) {
    int value = 1;
    EXPECT_EQ(this->mGroup.OperationValueValidate(value), 0);
    value = 2;
    EXPECT_EQ(this->mGroup.OperationValueValidate(value), -1);
    EXPECT_EQ(this->mLog.Texts(6), Texts{"[MEMLAT] OperationValueValidate failed!"});
}

TYPED_TEST(MemLatGroupTest, TheNodeIsClosedByASuspensionAndNotWrittenByItsEnd) {
    this->mGroup.RelatedGroupDoConfig(1);
    this->mGroup.SetSuspend(true);
    EXPECT_EQ(this->mDevice.OpenDescriptors(), 0U);
    this->mGroup.SetSuspend(false);
    EXPECT_EQ(this->mDevice.WritesTo(kNode), Texts{"on"});
}

TYPED_TEST(MemLatGroupTest, TheBaseIsDumpedAsItsText) {
    std::vector<SpecifiedGroupDumpInfo> info;
    this->mGroup.DumpBaseValueAfterMapping(info);
    ASSERT_EQ(info.size(), 1U);
    EXPECT_EQ(info[0].boostValue, "on");
    EXPECT_EQ(info[0].boostNode, kNode);
}

TEST(MonitorEnableGroup, ARowNeedsLevels) {
    const LogCapture log;
    EXPECT_FALSE(MonitorEnableGroup::GroupParametersValidate(Row({})));
    EXPECT_EQ(log.Texts(), Texts{"[MEMLAT] level2value mapping is empty"});
    EXPECT_EQ(log.Lines()[0].level, 6);
    EXPECT_EQ(log.Lines()[0].tag, "PF_MONITOR_ENABLE_GRP");
    EXPECT_EQ(log.Lines()[0].function, "GroupParametersValidate");
}

TEST(MonitorEnableGroup, ARowNeedsNodes) {
    const LogCapture log;
    EXPECT_FALSE(MonitorEnableGroup::GroupParametersValidate(Row({{0, {}}}, {})));
    EXPECT_EQ(log.Texts(6), Texts{"[MEMLAT] nodePathVec is empty!"});
}

TEST(MonitorEnableGroup, ARowNeedsWhatEveryGroupNeeds) {
    const LogCapture log;
    EXPECT_FALSE(MonitorEnableGroup::GroupParametersValidate(Row({{0, {"off"}}}, {""})));
    EXPECT_EQ(log.Texts(6),
              (Texts{"[MEMLAT] node path is empty!", "[MEMLAT] GroupParametersValidate failed!"}));
    EXPECT_EQ(log.Lines()[1].tag, "PF_MONITOR_ENABLE_GRP");
}

TEST(MonitorEnableGroup, ALevelWithoutATextForEveryNodePassesAndIsRefusedWhenItIsToBeApplied) {
    sim::SimulatedDevice device;
    const ScopedNodeIo scope(device);
    const LogCapture log;
    const PerfGroupConfig row = Row({{0, {"off"}}, {1, {}}});
    EXPECT_TRUE(MonitorEnableGroup::GroupParametersValidate(row));
    EXPECT_TRUE(log.Texts().empty());
    EXPECT_EQ(MonitorEnableGroup(row, PERF_WORK_MODE_0).RelatedGroupDoConfig(1), -1);
    EXPECT_EQ(log.Texts(6),
              Texts{"[MEMLAT] multiValueVec size: 0 is not equal to mPathInfoVec: 1"});
    EXPECT_EQ(device.OperationCount(), 0U);
}

}  // namespace
}  // namespace corebeacon
