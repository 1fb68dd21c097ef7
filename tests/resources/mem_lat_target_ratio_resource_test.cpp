#include "resources/mem_lat_target_ratio_resource.h"

#include <gtest/gtest.h>

#include <memory>
#include <typeinfo>

#include "corebeacon/builtin_config.h"
#include "corebeacon/default_config.h"
#include "engine/resource_manager.h"
#include "resources/mem_lat_fixture.h"
#include "resources/monitor_enable_group.h"
#include "resources/target_ratio_group.h"
#include "support/deadline.h"

namespace corebeacon {
namespace {

using namespace test::memlat;
using test::Eventually;
using test::LogCapture;
using test::ScopedNodeIo;

class MemLatTargetRatioResourceTest : public MemLatFixture {};

// ---- Building ----

TEST_F(MemLatTargetRatioResourceTest, ItHasARatioAndASwitchAndStartsAtTheirBasesWithoutAWrite) {
    for (const bool isLoaded : {false, true}) {
        PerfQosTargetRatioConfig config("MEMLAT", {RatioRow(100), MonitorRow()});
        OpenResource& resource = Make(config);
        ASSERT_EQ(resource.InitResource(config, isLoaded), 0);
        ASSERT_EQ(resource.GetGroupCount(), 2U);
        const PerfGroup& ratio = *resource.GetPerfGroupPtr(kRatio);
        const PerfGroup& monitor = *resource.GetPerfGroupPtr(kMonitor);
        EXPECT_EQ(typeid(ratio), typeid(TargetRatioGroup));
        EXPECT_EQ(typeid(monitor), typeid(MonitorEnableGroup));
        EXPECT_EQ(resource.mLastTargetRatio, 100U);
        EXPECT_EQ(resource.mNewTargetRatio, 100U);
        EXPECT_EQ(resource.mLastMonitorEnable, 0U);
        EXPECT_EQ(resource.mNewMonitorEnable, 0U);
        EXPECT_FALSE(resource.mRatioPending);
        EXPECT_FALSE(resource.mMonitorPending);
        EXPECT_EQ(resource.CommandPostProcess(), 0);
    }
    EXPECT_EQ(mDevice.OperationCount(), 0U);
    EXPECT_EQ(mLog.Texts(6), Texts{});
}

TEST_F(MemLatTargetRatioResourceTest, ItIsBuiltFromALoadedDescriptionToo) {
    PerfQosXmlLoadConfig config("MEMLAT", "memlat", {RatioRow(100), MonitorRow()});
    EXPECT_EQ(Make(config).InitResource(config, true), 0);
    EXPECT_EQ(mResource->GetGroupCount(), 2U);
}

TEST_F(MemLatTargetRatioResourceTest, ItNeedsExactlyTwoRows) {
    const PerfQosTargetRatioConfig none("MEMLAT", {});
    const PerfQosTargetRatioConfig one("MEMLAT", {RatioRow(100)});
    const PerfQosTargetRatioConfig three("MEMLAT", {RatioRow(100), MonitorRow(), MonitorRow(2)});
    EXPECT_EQ(Make(none).InitGroups(none, false), -1);
    EXPECT_EQ(Make(one).InitGroups(one, false), -1);
    EXPECT_EQ(Make(three).InitGroups(three, false), -1);
    EXPECT_EQ(mResource->GetGroupCount(), 0U);
    EXPECT_EQ(mLog.Texts(6), (Texts{"[MEMLAT] invalid group num 0", "[MEMLAT] invalid group num 1",
                                    "[MEMLAT] invalid group num 3"}));
    EXPECT_EQ(mLog.Lines()[0].tag, "PF_MEM_LAT_TARGET_RATIO_RES");
    EXPECT_EQ(mLog.Lines()[0].function, "InitGroups");
}

TEST_F(MemLatTargetRatioResourceTest, TheRatiosRowComesFirst) {
    const PerfQosTargetRatioConfig swapped("MEMLAT", {MonitorRow(1), RatioRow(100, 0)});
    const PerfQosTargetRatioConfig farSwitch("MEMLAT", {RatioRow(100), MonitorRow(2)});
    EXPECT_EQ(Make(swapped).InitGroups(swapped, false), -1);
    EXPECT_EQ(Make(farSwitch).InitGroups(farSwitch, false), -1);
    EXPECT_EQ(mResource->GetGroupCount(), 0U);
    EXPECT_EQ(mLog.Texts(6),
              (Texts{"[MEMLAT] group id is invalid, target ratio and monitor= 1, 0",
                     "[MEMLAT] group id is invalid, target ratio and monitor= 0, 2"}));
}

TEST_F(MemLatTargetRatioResourceTest, EachRowIsCheckedAsItsGroupWantsIt) {
    PerfGroupConfig ratio = RatioRow(100);
    ratio.level2ValueMap[90] = {};
    const PerfQosTargetRatioConfig badRatio("MEMLAT", {ratio, MonitorRow()});
    EXPECT_EQ(Make(badRatio).InitGroups(badRatio, false), -1);
    EXPECT_EQ(mResource->GetGroupCount(), 0U);
    PerfGroupConfig monitor = MonitorRow();
    monitor.sysNodePaths.clear();
    const PerfQosTargetRatioConfig badMonitor("MEMLAT", {RatioRow(100), monitor});
    EXPECT_EQ(Make(badMonitor).InitGroups(badMonitor, false), -1);
    EXPECT_EQ(mResource->GetGroupCount(), 0U);
    EXPECT_EQ(mLog.Texts(6), (Texts{"[RATIO] invalid group value size 0, not equal to paths size 1",
                                    "[MONITOR] nodePathVec is empty!"}));
}

// ---- Time-outs and work modes ----

TEST_F(MemLatTargetRatioResourceTest, ATimedRatioEndsByItself) {
    Build();
    Step(PERF_COMMAND_SHORT_START, 1, {{kRatio, {{kBoost, 80}}}}, milliseconds(100));
    EXPECT_EQ(TakeWrites(), (Texts{"enable=off", "ratio=800"}));
    EXPECT_EQ(mResource->FindMinTime(), mClock.SteadyNow() + milliseconds(100));
    mClock.Advance(milliseconds(99));
    mLog.Clear();
    TimeOut();
    EXPECT_EQ(TakeOwnLines(), kNothingNew);
    EXPECT_EQ(TakeWrites(), Texts{});
    mClock.Advance(milliseconds(1));
    TimeOut();
    EXPECT_EQ(TakeWrites(), Texts{"enable=on"});
    EXPECT_EQ(mResource->FindMinTime(), TimePoint{});
}

TEST_F(MemLatTargetRatioResourceTest, TwoThatEndOneAfterTheOtherAreBothCarriedOut) {
    Build(100);
    Step(PERF_COMMAND_SHORT_START, 1, {{kRatio, {{kBoost, 120}}}}, milliseconds(100));
    Step(PERF_COMMAND_SHORT_START, 2, {{kMonitor, {{kBoost, 1}}}}, milliseconds(50));
    EXPECT_EQ(TakeWrites(), (Texts{"ratio=1200", "enable=on"}));
    mClock.Advance(milliseconds(50));
    TimeOut();
    EXPECT_EQ(TakeWrites(), Texts{"enable=off"});
    mClock.Advance(milliseconds(50));
    TimeOut();
    EXPECT_EQ(TakeWrites(), Texts{"ratio=1000"});
}

TEST_F(MemLatTargetRatioResourceTest, TwoThatEndAtTheSameTimeAreRefused) {
    Build(100);
    Step(PERF_COMMAND_SHORT_START, 1, {{kRatio, {{kBoost, 120}}}}, milliseconds(50));
    Step(PERF_COMMAND_SHORT_START, 2, {{kMonitor, {{kBoost, 1}}}}, milliseconds(50));
    TakeWrites();
    mClock.Advance(milliseconds(50));
    TimeOut();
    EXPECT_EQ(mLog.Texts(6), (Texts{"[MEMLAT] only support one group command at a time",
                                    "[MEMLAT] CommandPostProcess failed",
                                    "[MEMLAT] HandleCommandTimeOut failed"}));
    EXPECT_EQ(TakeWrites(), Texts{});
}

TEST_F(MemLatTargetRatioResourceTest, AWorkModeThatChangesNothingLooksTwice) {
    Build(100);
    SetMode(PERF_WORK_MODE_1);
    EXPECT_EQ(TakeOwnLines(), (Texts{kNothingNew.front(), kNothingNew.front()}));
    EXPECT_EQ(TakeWrites(), Texts{});
}

TEST_F(MemLatTargetRatioResourceTest, AWorkModeThatChangesBothIsCarriedOutOneByOne) {
    Build(100);
    // In mode 0 the ceilings win, in mode 1 the floors.
    Step(PERF_COMMAND_LONG_START, 1, {{kRatio, {{kBoost, 120}, {kLimit, 90}}}});
    EXPECT_EQ(TakeWrites(), Texts{"ratio=900"});
    Step(PERF_COMMAND_LONG_START, 2, {{kMonitor, {{kBoost, 1}, {kLimit, 0}}}});
    EXPECT_EQ(TakeWrites(), Texts{});
    SetMode(PERF_WORK_MODE_1);
    EXPECT_EQ(TakeWrites(), (Texts{"ratio=1200", "enable=on"}));
    // On the way back the ratio's turn comes while the monitor is still on.
    SetMode(PERF_WORK_MODE_0);
    EXPECT_EQ(TakeWrites(), Texts{"enable=off"});
    EXPECT_EQ(mResource->mLastTargetRatio, 90U);
    EXPECT_EQ(mLog.Texts(6), Texts{});
}

TEST_F(MemLatTargetRatioResourceTest, AWorkModeEndsAtChangesThatWereRefusedBefore) {
    Build(100);
    Step(PERF_COMMAND_LONG_START, 1, {{kRatio, {{kBoost, 120}}}, {kMonitor, {{kBoost, 1}}}});
    mLog.Clear();
    SetMode(PERF_WORK_MODE_1);
    EXPECT_EQ(mLog.Texts(6),
              (Texts{"[MEMLAT] only support one group command at a time",
                     "[MEMLAT] CommandPostProcess failed", "[MEMLAT] SetWorkMode failed",
                     "[MEMLAT] CommandDispath failed", "[MEMLAT] HandleNewCommand failed"}));
    EXPECT_EQ(mDevice.OperationCount(), 0U);
}

// ---- On its own thread, and from the built-in table ----

TEST_F(MemLatTargetRatioResourceTest, TheWorkerAppliesAndWithdrawsAndLeavesNoNodeOpen) {
    Build();
    ASSERT_EQ(mResource->InitThread(), 0);
    auto item = std::make_shared<PerfCommandItem>();
    item->handle = 5;
    item->groups = {{kRatio, {{kBoost, 80}}}};
    mResource->SendCommandToFifoQ({PERF_COMMAND_LONG_START, item});
    mResource->SendCommandToFifoQ({PERF_COMMAND_LONG_STOP, item});
    EXPECT_TRUE(Eventually([&] { return mDevice.Writes().size() == 3; }));
    EXPECT_EQ(TakeWrites(), (Texts{"enable=off", "ratio=800", "enable=on"}));
    mResource.reset();
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
}

class MemLatOnChip : public testing::TestWithParam<ChipTypeAvailableValue> {};

TEST_P(MemLatOnChip, EveryClusterHasItsMonitorAndReturnsToItsBase) {
    const auto device = sim::SimulatedDevice::ForChip(GetParam());
    const ScopedNodeIo scope(*device);
    const LogCapture log(0);
    PerfDefaultConfig config;
    config.workMode = PERF_WORK_MODE_0;
    config.qosConfigMap = GetPerfQosConfigMap();
    config.controlInfo.chipType = GetParam();
    ResourceManager manager;
    ASSERT_EQ(manager.Init(config), 0);
    EXPECT_TRUE(device->Writes().empty());
    for (const PerfQosId id :
         {PERF_QOS_MEMLAT_TARGET_RATIO_CPU_L, PERF_QOS_MEMLAT_TARGET_RATIO_CPU_M,
          PERF_QOS_MEMLAT_TARGET_RATIO_CPU_B}) {
        const auto resource = manager.GetResourcePtr(id);
        ASSERT_NE(dynamic_cast<MemLatTargetRatioResource*>(resource.get()), nullptr);
        const PerfGroupConfig& row = config.qosConfigMap.at(id).get().groups.front();
        const int top = row.level2ValueMap.rbegin()->first;
        CommandWrapper command(PERF_COMMAND_LONG_START, TimePoint{}, TimePoint{}, 0);
        command.InsertRequestCommand(id, {{kRatio, {{kBoost, top}}}});
        command.FillInHandle(1);
        EXPECT_EQ(manager.SendCmdToResources(command), 0);
        command.SetType(PERF_COMMAND_LONG_STOP);
        EXPECT_EQ(manager.SendCmdToResources(command), 0);

        const std::size_t nodeCount = row.sysNodePaths.size();
        ASSERT_TRUE(Eventually([&] { return device->Writes().size() == 2 * nodeCount; }));
        const std::vector<sim::Operation> writes = device->Writes();
        for (std::size_t i = 0; i < nodeCount; ++i) {
            EXPECT_EQ(writes[i].path, row.sysNodePaths[i]);
            EXPECT_EQ(writes[i].bytes, row.level2ValueMap.at(top)[i]);
            EXPECT_EQ(writes[nodeCount + i].path, row.sysNodePaths[i]);
            EXPECT_EQ(writes[nodeCount + i].bytes, row.level2ValueMap.at(row.baseMin)[i]);
        }
        device->ClearRecord();
    }
    EXPECT_EQ(log.Texts(6), Texts{});
}
INSTANTIATE_TEST_SUITE_P(AllChips, MemLatOnChip,
                         testing::Values(CHIP_TYPE_COMMON, CHIP_TYPE_VARIANT_1,
                                         CHIP_TYPE_VARIANT_2));

}  // namespace
}  // namespace corebeacon
