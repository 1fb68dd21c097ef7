/// What of the QoS table depends on the machine rather than on the chip variant: level tables by
/// the speed grade of the big cluster, base values by board. Used only while an engine is being set
/// up, on one thread.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "corebeacon/default_config.h"
#include "corebeacon/group_config.h"
#include "corebeacon/perf_types.h"
#include "corebeacon/qos_config.h"

namespace corebeacon {

/// The built-in amendments are empty: no machine known today differs within its chip variant.
struct QosAmendments {
    /// Highest frequency of the big cluster, in kHz, to the variant that this makes the machine.
    std::map<int, std::uint32_t> maxFreqToVariant;
    std::map<std::uint32_t, std::map<int, EasValue>> variantToEasValueMap;
    std::map<PerfQosId, std::map<std::uint32_t, Level2ValueMap>> qosVariantLevelMaps;
    /// Base values that hold on every board except the development ones, whose name contains "udp".
    std::map<PerfQosId, std::uint32_t> boardBaseValues;
    std::string bigClusterFreqsPath =
        "/sys/devices/system/cpu/cpufreq/policy2/scaling_available_frequencies";
};

/// Amends `table` for the running machine, whose nodes are read afresh. A node that cannot be read
/// is logged and leaves the table as it is.
void AmendQosTable(const QosAmendments& amendments, PerfQosConfigMap& table);

/// The part of it that depends on the big cluster; `freqs` ascend.
void AmendByBigClusterFreqs(const QosAmendments& amendments, const std::vector<std::int64_t>& freqs,
                            PerfQosConfigMap& table);

}  // namespace corebeacon
