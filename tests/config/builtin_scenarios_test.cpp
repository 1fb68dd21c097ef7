#include <gtest/gtest.h>

#include <string>

#include "corebeacon/builtin_config.h"

namespace corebeacon {
namespace {

constexpr auto kChip2 = CHIP_TYPE_VARIANT_2;

// "qos:value" of each request in order; a group other than 0 reads "qos/group:value".
std::string Written(const ConfigurableScenario& scenario, PerfOperationType operation) {
    std::string text;
    for (const PerfRequestInfo& request : scenario.requests) {
        for (const GroupInfo& group : request.groups) {
            text += text.empty() ? "" : " ";
            text += std::to_string(request.qosId);
            text += group.groupId == 0 ? "" : "/" + std::to_string(group.groupId);
            for (const auto& [type, value] : group.values) {
                EXPECT_EQ(type, operation);
                text += ":" + std::to_string(value);
            }
        }
    }
    return text;
}

TEST(BuiltinScenarios, TheCommonOnesAskForExactlyTheseLevels) {
    const auto scenarios = GetConfigurableScenarioVec(CHIP_TYPE_COMMON);
    ASSERT_EQ(scenarios.size(), 3U);
    EXPECT_EQ(scenarios[0].requests.size(), 21U);
    EXPECT_EQ(Written(scenarios[0], PERF_OPERATION_BOOST),
              "21:120 33:110 36:110 29:110 39:120 53:110 22:110 34:110 37:110 30:110 40:120 54:110 "
              "61:110 62:110 49:110 50:110 12:120 23:110 6:10000 56:3 74:110");
    EXPECT_EQ(scenarios[1].requests.size(), 19U);
    EXPECT_EQ(Written(scenarios[1], PERF_OPERATION_BOOST),
              "10:110 11:110 12:120 28:110 35:110 20:120 21:130 29:110 33:110 36:110 39:120 22:130 "
              "30:110 34:110 37:110 43:110 40:120 5:1152000000 74:110");
    EXPECT_EQ(scenarios[2].requests.size(), 11U);
    EXPECT_EQ(Written(scenarios[2], PERF_OPERATION_LIMIT),
              "24:90 20:90 28:90 38:110 21:90 25:90 39:100 22:90 26:90 40:100 52:100");
}

TEST(BuiltinScenarios, ThoseOfChip2AskForExactlyTheseLevels) {
    const auto scenarios = GetConfigurableScenarioVec(kChip2);
    ASSERT_EQ(scenarios.size(), 3U);
    EXPECT_EQ(scenarios[0].requests.size(), 23U);
    EXPECT_EQ(
        Written(scenarios[0], PERF_OPERATION_BOOST),
        "9:30 9/7:30 21:120 33:110 36:110 29:110 39:120 53:110 22:110 34:110 37:110 30:110 40:120 "
        "54:110 61:110 62:110 49:110 50:110 63:110 12:120 23:110 6:10000 56:3 74:110");
    EXPECT_EQ(scenarios[1].requests.size(), 20U);
    EXPECT_EQ(
        Written(scenarios[1], PERF_OPERATION_BOOST),
        "10:110 11:110 12:120 9:40 9/7:40 28:110 35:110 20:120 21:130 29:110 33:110 36:110 39:120 "
        "22:130 30:110 34:110 37:110 43:110 40:120 5:1149000000 74:110");
    EXPECT_EQ(scenarios[2].requests.size(), 11U);
    EXPECT_EQ(Written(scenarios[2], PERF_OPERATION_LIMIT),
              "24:90 20:90 28:90 38:110 21:90 25:90 39:100 22:90 26:90 40:100 52:100");
}

TEST(BuiltinScenarios, TheirIdsAreThoseOfGameBenchmarkAndPowerSaving) {
    for (const auto chip : {CHIP_TYPE_COMMON, kChip2}) {
        const auto scenarios = GetConfigurableScenarioVec(chip);
        ASSERT_EQ(scenarios.size(), 3U);
        EXPECT_EQ(scenarios[0].scenarioId, 0U);
        EXPECT_EQ(scenarios[1].scenarioId, 1U);
        EXPECT_EQ(scenarios[2].scenarioId, 5U);
    }
}

TEST(BuiltinScenarios, AnyChipOtherThan2GetsTheCommonOnes) {
    for (const unsigned chip : {1U, 3U, 4294967295U}) {
        const auto scenarios =
            GetConfigurableScenarioVec(static_cast<ChipTypeAvailableValue>(chip));
        ASSERT_EQ(scenarios.size(), 3U);
        EXPECT_EQ(scenarios[0].requests.size(), 21U) << chip;
    }
}

}  // namespace
}  // namespace corebeacon
