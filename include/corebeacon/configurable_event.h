/// An event as a table describes it (a timed sequence of values for each of several QoS) and the
/// description of probes. Plain values, copied by Init.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "corebeacon/perf_types.h"

namespace corebeacon {

/// One step of a sequence; it begins where the step before ends.
struct SequenceCommand {
    std::uint32_t duration = 0;  ///< ms, 20 to 60000
    std::vector<GroupInfo> groups;
};

/// What an event does to one QoS.
struct QosCommand {
    PerfQosId qosId = PERF_QOS_INVALID;
    std::vector<SequenceCommand> sequence;
};

struct ConfigurableEvent {
    PerfEventId eventId = 0;  ///< 0 to 19
    std::vector<QosCommand> qosCommands;
};

/// What happens to a probed thread: it is bound for a while, and frequency floors accompany it.
struct ProbeEvent {
    std::string nodePath;  ///< takes a thread id with the texts below
    std::string bindText;
    std::string unbindText;
    std::uint32_t startDelayMs = 0;  ///< from the request to the start of the span
    std::uint32_t spanMs = 0;
    int cpuM = 0;  ///< floor of PERF_QOS_CPU_M in kHz; 0: none
    int cpuB = 0;  ///< floor of PERF_QOS_CPU_B in kHz; 0: none
    int gpu = 0;   ///< floor of PERF_QOS_GPU in Hz; 0: none
};

}  // namespace corebeacon
