#include "timeline_units.h"

namespace corebeacon::tool {

namespace {

/// No processor has had less for long, and none counts as many kHz.
constexpr int kLeastHz = 10000000;

}  // namespace

std::string TimelineUnit(PerfQosId qosId, const PerfQosConfig& config, const PerfGroupConfig& row) {
    switch (qosId) {
        case PERF_QOS_IPA_POWER:
            return "mW";
        case PERF_QOS_IPA_SWITCH_TEMP:
        case PERF_QOS_IPA_SOC_CONTROL_TEMP:
            return "m°C";
        default:
            break;
    }
    if (dynamic_cast<const FreqParameters*>(&config) == nullptr || !row.level2ValueMap.empty()) {
        return "";
    }
    return row.availableMax >= kLeastHz ? "Hz" : "kHz";
}

}  // namespace corebeacon::tool
