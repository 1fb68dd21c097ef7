/// The small device that whole engines are compared on: five QoS of two groups each, three that
/// write a pair of nodes and two that write a single one, with two scenarios, two events and a
/// probe. Plain data, for the engine and for the model.
#pragma once

#include <string>
#include <vector>

#include "corebeacon/configurable_event.h"
#include "corebeacon/configurable_scenario.h"
#include "corebeacon/perf_types.h"
#include "corebeacon/qos_config.h"

namespace corebeacon::model {

struct Knob {
    PerfQosId qosId;
    std::string name;
    bool hasPair;    ///< a floor and a ceiling node, else one node for the floor
    bool hasTop;     ///< a switch that tells whether a limit is in force
    bool clamps[2];  ///< of each group
    int baseMin;     ///< of both groups
    int baseMax[2];  ///< of each group
};

/// Every group takes values from 0 to this.
inline constexpr int kKnobMax = 100;

inline const std::vector<Knob>& Knobs() {
    static const std::vector<Knob> knobs{
        {PERF_QOS_CPU_M, "Q1", true, false, {false, true}, 10, {90, 100}},
        {PERF_QOS_CPU_B, "Q2", true, true, {true, false}, 0, {100, 70}},
        {PERF_QOS_GPU, "Q3", true, false, {true, true}, 10, {100, 100}},
        {PERF_QOS_CPU_IDLE_LP_MODE, "Q47", false, false, {false, false}, 20, {100, 100}},
        {PERF_QOS_CPU_IOWAIT_BOOST, "Q60", false, false, {true, true}, 5, {90, 90}}};
    return knobs;
}

inline std::string NodePath(const Knob& knob, unsigned int group, const std::string& node) {
    return "/knob/" + knob.name + "/" + std::to_string(group) + "/" + node;
}

inline std::string TopPath(const Knob& knob) {
    return knob.hasTop ? "/knob/" + knob.name + "/top" : "";
}

/// The nodes of one group, in the order of its row.
inline std::vector<std::string> NodePaths(const Knob& knob, unsigned int group) {
    if (knob.hasPair) {
        return {NodePath(knob, group, "min"), NodePath(knob, group, "max")};
    }
    return {NodePath(knob, group, "value")};
}

/// The chip is named, because only a row that names its chip may have others beside it.
inline PerfGroupConfig RowOf(const Knob& knob, unsigned int group) {
    PerfGroupConfig row(group, knob.name + "_" + std::to_string(group), 0, kKnobMax, knob.baseMin,
                        knob.baseMax[group], NodePaths(knob, group), CHIP_TYPE_VARIANT_1);
    row.rangeFlag = knob.clamps[group];
    return row;
}

inline const std::vector<ConfigurableScenario>& Scenarios() {
    static const std::vector<ConfigurableScenario> scenarios{
        {0,
         {{PERF_QOS_CPU_M, {{0, {{PERF_OPERATION_BOOST, 95}}}}},
          {PERF_QOS_CPU_IDLE_LP_MODE, {{1, {{PERF_OPERATION_BOOST, 60}}}}}}},
        {5,
         {{PERF_QOS_CPU_B,
           {{0, {{PERF_OPERATION_LIMIT, 40}}},
            {1, {{PERF_OPERATION_BOOST, 50}, {PERF_OPERATION_LIMIT, 60}}}}},
          {PERF_QOS_GPU, {{0, {{PERF_OPERATION_LIMIT, 5}}}}}}}};
    return scenarios;
}

inline const std::vector<ConfigurableEvent>& Events() {
    static const std::vector<ConfigurableEvent> events{
        {0,
         {{PERF_QOS_CPU_M,
           {{20, {{0, {{PERF_OPERATION_BOOST, 60}}}}}, {30, {{0, {{PERF_OPERATION_BOOST, 80}}}}}}},
          {PERF_QOS_CPU_IOWAIT_BOOST, {{25, {{1, {{PERF_OPERATION_BOOST, 70}}}}}}}}},
        {3,
         {{PERF_QOS_CPU_B,
           {{20, {{0, {{PERF_OPERATION_BOOST, 40}, {PERF_OPERATION_LIMIT, 60}}}}},
            {20, {{0, {{PERF_OPERATION_LIMIT, 30}}}}}}}}}};
    return events;
}

inline ProbeEvent Probe() {
    return {"/probe", "+", "-", 5, 30, 60, 0, 41};
}

}  // namespace corebeacon::model
