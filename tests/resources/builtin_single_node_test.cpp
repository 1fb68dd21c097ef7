// The memory, the thermal and the single-node QoS of the built-in table on the device that the
// table is made for.

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <utility>

#include "corebeacon/builtin_config.h"
#include "engine/resource_manager.h"
#include "resources/ddr_resource.h"
#include "resources/ipa_sustainable_power_resource.h"
#include "resources/ipa_switch_temp_resource.h"
#include "resources/node_fixture.h"
#include "resources/single_node_value_resource.h"

namespace corebeacon::test {
namespace {

constexpr const char* kMemory = "/dev/memory_bandwidth";
constexpr const char* kBudget = "/sys/class/thermal/thermal_zone1/sustainable_power";
constexpr const char* kBoard = "/sys/class/thermal/thermal_zone1/mode";
constexpr const char* kSoc = "/sys/class/thermal/thermal_zone0/mode";
constexpr const char* kSwitchTemp = "/sys/class/thermal/thermal_zone1/trip_point_0_temp";
constexpr const char* kControlTemp = "/sys/class/thermal/thermal_zone0/trip_point_2_temp";
constexpr const char* kEncoder = "/sys/devices/virtual/venc_class/vcodec_venc/venc_freq";
constexpr const char* kCpuBoost = "/sys/devices/system/cpu/cpufreq/boost";

class BuiltinSingleNodeTest : public testing::TestWithParam<unsigned> {
protected:
    BuiltinSingleNodeTest() {
        const PerfQosConfigMap table = GetPerfQosConfigMap();
        for (const PerfQosId id : {PERF_QOS_DDR, PERF_QOS_IPA_POWER, PERF_QOS_IPA_SWITCH_TEMP,
                                   PERF_QOS_IPA_SOC_CONTROL_TEMP, PERF_QOS_VIDEO_ENCODE_FREQ}) {
            mConfig.qosConfigMap.emplace(id, table.at(id));
        }
        mConfig.controlInfo.chipType = static_cast<ChipTypeAvailableValue>(GetParam());
    }

    void StartEngine(bool isBoard) {
        mConfig.controlInfo.boardIpaEnabled = isBoard;
        ASSERT_EQ(mManager.Init(mConfig), 0);
        mAtStart = mDevice->Snapshot();
        ASSERT_TRUE(mDevice->Writes().empty());
    }

    PerfResource& Resource(PerfQosId id) { return *mManager.GetResourcePtr(id); }

    /// What a boost writes, and what its release does.
    std::pair<Writes, Writes> BoostAndRelease(PerfQosId id, int value) {
        GroupValueMap groups{{0, {{PERF_OPERATION_BOOST, value}}}};
        EXPECT_EQ(Resource(id).RequestValidate(PERF_COMMAND_LONG_START, groups), 0);
        Send(Resource(id), PERF_COMMAND_LONG_START, groups);
        Writes boost = TakeWrites();
        Send(Resource(id), PERF_COMMAND_LONG_STOP, groups);
        return {std::move(boost), TakeWrites()};
    }

    Writes TakeWrites() {
        Writes writes;
        for (const sim::Operation& write : mDevice->Writes()) {
            writes.emplace_back(write.path, write.bytes);
        }
        mDevice->ClearRecord();
        return writes;
    }

    const std::unique_ptr<sim::SimulatedDevice> mDevice = sim::SimulatedDevice::ForChip(GetParam());
    const ScopedNodeIo mScope{*mDevice};
    LogCapture mLog;
    std::map<std::string, std::string> mAtStart;
    PerfDefaultConfig mConfig;
    ResourceManager mManager;
};

INSTANTIATE_TEST_SUITE_P(Chips, BuiltinSingleNodeTest, testing::Values(0U, 1U, 2U));

TEST_P(BuiltinSingleNodeTest, EachQosGetsTheKindThatIsMeantForIt) {
    StartEngine(true);
    const auto isA = [this]<typename Kind>(PerfQosId id, std::in_place_type_t<Kind>) {
        return dynamic_cast<Kind*>(&Resource(id)) != nullptr;
    };
    EXPECT_TRUE(isA(PERF_QOS_DDR, std::in_place_type<DdrResource>));
    EXPECT_TRUE(isA(PERF_QOS_IPA_POWER, std::in_place_type<IpaSustainablePowerResource>));
    EXPECT_TRUE(isA(PERF_QOS_IPA_SWITCH_TEMP, std::in_place_type<IpaSwitchTempResource>));
    EXPECT_TRUE(isA(PERF_QOS_IPA_SOC_CONTROL_TEMP, std::in_place_type<SingleNodeValueResource>));
    EXPECT_TRUE(isA(PERF_QOS_VIDEO_ENCODE_FREQ, std::in_place_type<SingleNodeValueResource>));
    EXPECT_TRUE(mManager.GetUnsupportedQos().empty());
}

TEST_P(BuiltinSingleNodeTest, AMemoryBoostAsksTheKernelForItsBandwidth) {
    StartEngine(true);
    const auto [boost, release] = BoostAndRelease(PERF_QOS_DDR, 1866000000);
    EXPECT_EQ(boost, (Writes{{kMemory, Binary(17913)}}));
    EXPECT_EQ(release, (Writes{{kMemory, Binary(4012)}}));
    EXPECT_EQ(mDevice->Value(kMemory), "4012");
    mManager.Clear();
    EXPECT_EQ(mDevice->Value(kMemory), "0");
}

TEST_P(BuiltinSingleNodeTest, AMemoryBoostAboveTheKernelsListIsBroughtToItsEnd) {
    StartEngine(true);
    const auto [boost, release] = BoostAndRelease(PERF_QOS_DDR, 3000000);
    EXPECT_EQ(boost, (Writes{{kMemory, Binary(20476)}})) << "2133 MHz";
}

TEST_P(BuiltinSingleNodeTest, ALargeBudgetSwitchesTheBoardsAllocatorsOff) {
    StartEngine(true);
    const Writes backOn{{kBoard, "enabled"}, {kSoc, "enabled"}, {kBudget, "9000"}};
    const auto [high, highReleased] = BoostAndRelease(PERF_QOS_IPA_POWER, 10000);
    EXPECT_EQ(high, (Writes{{kBoard, "disabled"}, {kSoc, "disabled"}}));
    EXPECT_EQ(highReleased, backOn);
    const auto [at, atReleased] = BoostAndRelease(PERF_QOS_IPA_POWER, 9999);
    EXPECT_EQ(at, (Writes{{kBoard, "disabled"}, {kSoc, "enabled"}}));
    EXPECT_EQ(atReleased, backOn);
    const auto [below, belowReleased] = BoostAndRelease(PERF_QOS_IPA_POWER, 9998);
    EXPECT_EQ(below, (Writes{{kBudget, "9998"}}));
    EXPECT_EQ(belowReleased, (Writes{{kBudget, "9000"}}));
    EXPECT_EQ(mDevice->Snapshot(), mAtStart);
}

TEST_P(BuiltinSingleNodeTest, WithoutABoardAllocatorOnlyTheSocsIsSwitched) {
    StartEngine(false);
    const auto [high, highReleased] = BoostAndRelease(PERF_QOS_IPA_POWER, 10000);
    EXPECT_EQ(high, (Writes{{kSoc, "disabled"}}));
    EXPECT_EQ(highReleased, (Writes{{kSoc, "enabled"}}));
    const auto [temp, tempReleased] = BoostAndRelease(PERF_QOS_IPA_SWITCH_TEMP, 80000);
    EXPECT_EQ(temp, Writes{});
    EXPECT_EQ(tempReleased, Writes{});
    EXPECT_EQ(mDevice->Snapshot(), mAtStart);
}

TEST_P(BuiltinSingleNodeTest, TemperaturesAndTheEncodersPointAreWrittenAsText) {
    StartEngine(true);
    const auto [temp, tempReleased] = BoostAndRelease(PERF_QOS_IPA_SWITCH_TEMP, 80000);
    EXPECT_EQ(temp, (Writes{{kSwitchTemp, "80000"}}));
    EXPECT_EQ(tempReleased, (Writes{{kSwitchTemp, "65000"}}));
    const auto [control, controlReleased] = BoostAndRelease(PERF_QOS_IPA_SOC_CONTROL_TEMP, 200000);
    EXPECT_EQ(control, (Writes{{kControlTemp, "100000"}}));
    EXPECT_EQ(controlReleased, (Writes{{kControlTemp, "90000"}}));
    const auto [encoder, encoderReleased] = BoostAndRelease(PERF_QOS_VIDEO_ENCODE_FREQ, 3);
    EXPECT_EQ(encoder, (Writes{{kEncoder, "3"}}));
    EXPECT_EQ(encoderReleased, (Writes{{kEncoder, "0"}}));
    EXPECT_EQ(mDevice->Snapshot(), mAtStart);
    EXPECT_EQ(mLog.Texts(6), Texts{});
}

TEST_P(BuiltinSingleNodeTest, TheCpuBoostIsASingleNodeWhereItIsSwitchedOn) {
    PerfQosConfig cpuBoost("CPU_BOOST", {PerfGroupConfig("CPU_BOOST", false, 0, 1, 0, 1,
                                                         {kCpuBoost}, CHIP_TYPE_COMMON)});
    mConfig.qosConfigMap.emplace(PERF_QOS_CPU_BOOST, cpuBoost);
    mConfig.controlInfo.cpuBoostEnabled = true;
    StartEngine(true);
    ASSERT_NE(dynamic_cast<SingleNodeValueResource*>(&Resource(PERF_QOS_CPU_BOOST)), nullptr);
    const auto [boost, release] = BoostAndRelease(PERF_QOS_CPU_BOOST, 1);
    EXPECT_EQ(boost, (Writes{{kCpuBoost, "1"}}));
    EXPECT_EQ(release, (Writes{{kCpuBoost, "0"}}));
}

TEST_P(BuiltinSingleNodeTest, AThermalZoneThatRefusesLeavesTheOthersAtWork) {
    StartEngine(true);
    mDevice->RemoveTree("/sys/class/thermal/thermal_zone1");
    const auto [high, highReleased] = BoostAndRelease(PERF_QOS_IPA_POWER, 10000);
    EXPECT_EQ(high, (Writes{{kSoc, "disabled"}}));
    EXPECT_EQ(highReleased, (Writes{{kSoc, "enabled"}}));
    mDevice->RestoreTree("/sys/class/thermal/thermal_zone1");
    const auto [again, againReleased] = BoostAndRelease(PERF_QOS_IPA_POWER, 10000);
    EXPECT_EQ(again, (Writes{{kBoard, "disabled"}, {kSoc, "disabled"}}));
    EXPECT_EQ(againReleased, (Writes{{kBoard, "enabled"}, {kSoc, "enabled"}, {kBudget, "9000"}}));
}

}  // namespace
}  // namespace corebeacon::test
