#include <gtest/gtest.h>

#include <cerrno>
#include <typeinfo>

#include "resources/ipa_sustainable_power_group.h"
#include "resources/ipa_sustainable_power_resource.h"
#include "resources/ipa_switch_temp_group.h"
#include "resources/ipa_switch_temp_resource.h"
#include "resources/node_fixture.h"

namespace corebeacon::test {
namespace {

constexpr const char* kPower = "/ipa/sustainable_power";
constexpr const char* kBoard = "/ipa/board_mode";
constexpr const char* kSoc = "/ipa/soc_mode";
constexpr const char* kTemp = "/ipa/switch_temp";
constexpr IpaThresholds kFirst{.socSwitch = 4000, .boardSwitch = 5000};
constexpr IpaThresholds kSecond{.socSwitch = 6000, .boardSwitch = 7000};

PerfGroupConfig Row(unsigned int groupId, const Texts& nodes) {
    return PerfGroupConfig(groupId, "ROW" + std::to_string(groupId), 0, 10000, 3000, 10000, nodes,
                           CHIP_TYPE_COMMON);
}

PerfGroupConfig PowerRow(unsigned int groupId = 0) {
    return Row(groupId, {kPower, kBoard, kSoc});
}

PerfQosIpaPowerConfig PowerConfig(const std::vector<PerfGroupConfig>& rows = {PowerRow()}) {
    IpaPowerParameters parameters;
    parameters.thresholds = {kFirst, kSecond};
    return PerfQosIpaPowerConfig("POWER", rows, parameters);
}

class IpaResourceTest : public NodeFixture {
protected:
    IpaResourceTest() {
        for (const char* path : {kPower, kBoard, kSoc, kTemp}) {
            mDevice.AddText(path, "-");
        }
    }

    template <typename Kind>
    Kind& Make(const PerfQosConfig& config, bool isBoard) {
        auto resource =
            std::make_unique<Kind>(ResConstructParam{config, PERF_WORK_MODE_0}, isBoard);
        Kind& made = *resource;
        mResource = std::move(resource);
        return made;
    }

    /// What the first group of such a resource writes for a budget.
    Writes Written(const PerfQosConfig& config, bool isBoard, bool isLoaded, int value) {
        PerfResource& resource = Make<IpaSustainablePowerResource>(config, isBoard);
        EXPECT_EQ(resource.InitGroups(config, isLoaded), 0);
        resource.GetPerfGroupPtr(0)->DoConfig(value, kNoLimit);
        return TakeWrites();
    }

    std::unique_ptr<PerfResource> mResource;
};

// ---- The power budget ----

TEST_F(IpaResourceTest, EveryRowBecomesAPowerGroup) {
    const PerfQosIpaPowerConfig config = PowerConfig({PowerRow(0), PowerRow(1)});
    PerfResource& resource = Make<IpaSustainablePowerResource>(config, true);
    EXPECT_EQ(resource.InitGroups(config, false), 0);
    ASSERT_EQ(resource.GetGroupCount(), 2U);
    for (const unsigned int groupId : {0U, 1U}) {
        const std::shared_ptr<PerfGroup> group = resource.GetPerfGroupPtr(groupId);
        const PerfGroup& kind = *group;
        EXPECT_EQ(typeid(kind), typeid(IpaSustainablePowerGroup));
    }
    EXPECT_TRUE(mLog.Texts().empty());
}

TEST_F(IpaResourceTest, WithoutRowsThereIsNothingToBuild) {
    const PerfQosIpaPowerConfig power = PowerConfig({});
    EXPECT_EQ(Make<IpaSustainablePowerResource>(power, true).InitGroups(power, false), 0);
    EXPECT_EQ(mResource->GetGroupCount(), 0U);
    const PerfQosConfig temp("TEMP", {});
    EXPECT_EQ(Make<IpaSwitchTempResource>(temp, true).InitGroups(temp, false), 0);
    EXPECT_EQ(mResource->GetGroupCount(), 0U);
    EXPECT_TRUE(mLog.Texts().empty());
}

TEST_F(IpaResourceTest, ABadPowerRowEndsTheBuildingAndKeepsTheGroupsBefore) {
    const PerfQosIpaPowerConfig config = PowerConfig({PowerRow(0), Row(1, {kPower}), PowerRow(2)});
    EXPECT_EQ(Make<IpaSustainablePowerResource>(config, true).InitGroups(config, false), -1);
    EXPECT_EQ(mResource->GetGroupCount(), 1U);
    EXPECT_EQ(mLog.Texts(6),
              (Texts{"[ROW1] invalid path size 1", "[POWER] GroupParametersValidate failed!"}));
    EXPECT_EQ(mLog.Lines()[1].tag, "PF_IPA_POWER_RES");
    EXPECT_EQ(mLog.Lines()[1].function, "InitGroups");
}

TEST_F(IpaResourceTest, TheThresholdsDependOnWhereTheDescriptionComesFrom) {
    const PerfQosIpaPowerConfig compiledIn = PowerConfig();
    EXPECT_EQ(Written(compiledIn, true, false, 4999), (Writes{{kPower, "4999"}}));
    EXPECT_EQ(Written(compiledIn, true, false, 5000).size(), 2U);
    EXPECT_EQ(Written(compiledIn, true, true, 6999), (Writes{{kPower, "6999"}}));
    EXPECT_EQ(Written(compiledIn, true, true, 7000).size(), 2U);
    EXPECT_EQ(Written(compiledIn, false, false, 4000), (Writes{{kSoc, "disabled"}}));
    EXPECT_EQ(Written(compiledIn, false, true, 5999), (Writes{{kSoc, "enabled"}}));
    EXPECT_EQ(Written(compiledIn, false, true, 6000), (Writes{{kSoc, "disabled"}}));
    PerfQosXmlLoadConfig loaded("POWER", "ipa", {PowerRow()});
    loaded.thresholds = {kFirst, kSecond};
    EXPECT_EQ(Written(loaded, false, true, 5999), (Writes{{kSoc, "enabled"}}));
}

TEST_F(IpaResourceTest, AConfigurationWithoutThresholdsIsRefused) {
    const PerfQosConfig config("POWER", {PowerRow()});
    EXPECT_EQ(Make<IpaSustainablePowerResource>(config, true).InitGroups(config, false), -1);
    EXPECT_EQ(mResource->GetGroupCount(), 0U);
    EXPECT_EQ(mLog.Texts(), Texts{"[POWER] no IPA power parameters in the configuration"});
    EXPECT_EQ(mLog.Lines()[0].level, 6);
    EXPECT_EQ(mLog.Lines()[0].tag, "PF_IPA_POWER_RES");
    EXPECT_EQ(mLog.Lines()[0].function, "InitGroups");
}

TEST_F(IpaResourceTest, ABudgetIsWrittenAndWithdrawnByTheWorker) {
    PerfQosIpaPowerConfig config = PowerConfig();
    PerfResource& resource = Make<IpaSustainablePowerResource>(config, true);
    Start(resource, config);
    const GroupValueMap groups{{0, {{PERF_OPERATION_BOOST, 10000}}}};
    Send(resource, PERF_COMMAND_LONG_START, groups);
    EXPECT_EQ(TakeWrites(), (Writes{{kBoard, "disabled"}, {kSoc, "disabled"}}));
    Send(resource, PERF_COMMAND_LONG_STOP, groups);
    EXPECT_EQ(TakeWrites(), (Writes{{kBoard, "enabled"}, {kSoc, "enabled"}, {kPower, "3000"}}));
    mResource.reset();
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
    EXPECT_EQ(mLog.Texts(6), Texts{});
}

TEST_F(IpaResourceTest, WhatWasTurnedOffBeforeASuspensionIsTurnedOnAfterIt) {
    PerfQosIpaPowerConfig config = PowerConfig();
    PerfResource& resource = Make<IpaSustainablePowerResource>(config, true);
    Start(resource, config);
    const GroupValueMap groups{{0, {{PERF_OPERATION_BOOST, 10000}}}};
    Send(resource, PERF_COMMAND_LONG_START, groups);
    TakeWrites();
    Send(resource, PERF_COMMAND_SUSPEND);
    Send(resource, PERF_COMMAND_LONG_STOP, groups);
    EXPECT_EQ(TakeWrites(), Writes{});
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
    Send(resource, PERF_COMMAND_RESUME);
    EXPECT_EQ(TakeWrites(), (Writes{{kBoard, "enabled"}, {kSoc, "enabled"}, {kPower, "3000"}}));
}

// ---- The switch temperature ----

TEST_F(IpaResourceTest, EveryRowBecomesATemperatureGroup) {
    const PerfQosConfig config("TEMP", {Row(0, {kTemp}), Row(1, {kTemp})});
    PerfResource& resource = Make<IpaSwitchTempResource>(config, true);
    EXPECT_EQ(resource.InitGroups(config, false), 0);
    ASSERT_EQ(resource.GetGroupCount(), 2U);
    for (const unsigned int groupId : {0U, 1U}) {
        const std::shared_ptr<PerfGroup> group = resource.GetPerfGroupPtr(groupId);
        const PerfGroup& kind = *group;
        EXPECT_EQ(typeid(kind), typeid(IpaSwitchTempGroup));
    }
    EXPECT_TRUE(mLog.Texts().empty());
}

TEST_F(IpaResourceTest, ABadTemperatureRowEndsTheBuildingAndKeepsTheGroupsBefore) {
    const PerfQosConfig config("TEMP", {Row(0, {kTemp}), Row(1, {}), Row(2, {kTemp})});
    EXPECT_EQ(Make<IpaSwitchTempResource>(config, true).InitGroups(config, false), -1);
    EXPECT_EQ(mResource->GetGroupCount(), 1U);
    EXPECT_EQ(mLog.Texts(6), (Texts{"[ROW1] SysNodePath num invalid: 0",
                                    "[TEMP] GroupParametersValidate failed!"}));
    EXPECT_EQ(mLog.Lines()[1].tag, "PF_IPA_SWITCH_TEMP_RES");
    EXPECT_EQ(mLog.Lines()[1].function, "InitGroups");
}

TEST_F(IpaResourceTest, ATemperatureIsWrittenAndWithdrawnByTheWorker) {
    PerfQosConfig config("TEMP", {Row(0, {kTemp})});
    PerfResource& resource = Make<IpaSwitchTempResource>(config, true);
    Start(resource, config);
    const GroupValueMap groups{{0, {{PERF_OPERATION_BOOST, 7000}}}};
    Send(resource, PERF_COMMAND_LONG_START, groups);
    Send(resource, PERF_COMMAND_LONG_STOP, groups);
    EXPECT_EQ(TakeWrites(), (Writes{{kTemp, "7000"}, {kTemp, "3000"}}));
    EXPECT_EQ(BaseRecords(*resource.GetPerfGroupPtr(0)), Texts{"3000 @ /ipa/switch_temp"});
    Send(resource, PERF_COMMAND_SUSPEND);
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
}

TEST_F(IpaResourceTest, ATemperatureThatIsSwitchedOffIsArbitratedButNeverWritten) {
    PerfQosConfig config("TEMP", {Row(0, {kTemp})});
    PerfResource& resource = Make<IpaSwitchTempResource>(config, false);
    Start(resource, config);
    Send(resource, PERF_COMMAND_LONG_START, {{0, {{PERF_OPERATION_BOOST, 7000}}}});
    Send(resource, PERF_COMMAND_MODE_START, {}, PERF_WORK_MODE_1);
    Send(resource, PERF_COMMAND_SUSPEND);
    Send(resource, PERF_COMMAND_RESUME);
    EXPECT_EQ(resource.GetPerfGroupPtr(0)->GetFinalBoostValue(), 7000);
    EXPECT_TRUE(mDevice.Operations().empty());
    EXPECT_EQ(BaseRecords(*resource.GetPerfGroupPtr(0)), Texts{});
    EXPECT_EQ(mLog.Texts(5), Texts{});
    EXPECT_EQ(mLog.Texts(6), Texts{});
}

TEST_F(IpaResourceTest, AFailedTemperatureIsReportedByTheGroup) {
    IpaSwitchTempGroup group(Row(0, {kTemp}), PERF_WORK_MODE_0, true);
    mDevice.Inject(kTemp, sim::OperationKind::WRITE, sim::Fault::Errno(EINVAL));
    EXPECT_EQ(group.DoConfig(7000, kNoLimit), -1);
    EXPECT_EQ(group.DoConfig(7000, kNoLimit), 0);
    EXPECT_EQ(TakeWrites(), (Writes{{kTemp, "7000"}}));
}

}  // namespace
}  // namespace corebeacon::test
