#include <gtest/gtest.h>

#include <set>

#include "config/event_manager.h"
#include "config/narrowed_table.h"
#include "config/scenario_manager.h"
#include "support/log_capture.h"

namespace corebeacon {
namespace {

TEST(BuiltinEvents, SevenAreCommonAndEightAreOfChip2) {
    EXPECT_EQ(GetConfigurableEventVec(CHIP_TYPE_COMMON).size(), 7U);
    EXPECT_EQ(GetConfigurableEventVec(CHIP_TYPE_VARIANT_2).size(), 8U);
}

TEST(BuiltinEvents, AnyChipOtherThan2GetsTheCommonOnes) {
    for (const unsigned chip : {1U, 3U, 4294967295U}) {
        EXPECT_EQ(GetConfigurableEventVec(static_cast<ChipTypeAvailableValue>(chip)).size(), 7U);
    }
}

TEST(BuiltinEvents, IdsCountUpFrom0) {
    for (const auto chip : test::kEveryChip) {
        PerfEventId expected = 0;
        for (const ConfigurableEvent& event : GetConfigurableEventVec(chip)) {
            EXPECT_EQ(event.eventId, expected++);
        }
    }
}

TEST(BuiltinEvents, TheManagersAcceptTheTablesOfEveryChip) {
    const test::LogCapture log;
    for (const auto chip : test::kEveryChip) {
        const auto events = GetConfigurableEventVec(chip);
        EXPECT_EQ(EventManager().Init(events).size(), events.size());
        EXPECT_EQ(ScenarioManager().Init(GetConfigurableScenarioVec(chip)).size(), 3U);
    }
    EXPECT_TRUE(log.Lines().empty());
}

TEST(BuiltinEvents, EveryStepAsksForAValueThatEveryChipItServesTakes) {
    for (const auto chip : test::kEveryChip) {
        const PerfQosConfigMap table = test::NarrowedTable(chip);
        for (const auto& [eventId, items] : EventManager().Init(GetConfigurableEventVec(chip))) {
            for (const auto& [qosId, item] : items) {
                ASSERT_TRUE(table.contains(qosId)) << "event " << eventId << " qos " << qosId;
                for (const auto& [groupId, values] : item.groups) {
                    for (const auto& [operation, value] : values) {
                        EXPECT_TRUE(test::TakesValue(table, qosId, groupId, value))
                            << "chip " << chip << " event " << eventId << " qos " << qosId
                            << " value " << value;
                    }
                }
            }
        }
    }
}

// The memory-latency resource refuses to carry out two changes at once.
TEST(BuiltinEvents, NoneMovesARatioAndItsMonitorTogether) {
    for (const auto chip : test::kEveryChip) {
        for (const auto& [eventId, items] : EventManager().Init(GetConfigurableEventVec(chip))) {
            for (const auto qosId :
                 {PERF_QOS_MEMLAT_TARGET_RATIO_CPU_L, PERF_QOS_MEMLAT_TARGET_RATIO_CPU_M,
                  PERF_QOS_MEMLAT_TARGET_RATIO_CPU_B}) {
                std::set<unsigned int> groups;
                const auto [first, last] = items.equal_range(qosId);
                for (auto item = first; item != last; ++item) {
                    for (const auto& [groupId, values] : item->second.groups) {
                        groups.insert(groupId);
                    }
                }
                EXPECT_LE(groups.size(), 1U) << "event " << eventId << " qos " << qosId;
            }
        }
    }
}

}  // namespace
}  // namespace corebeacon
