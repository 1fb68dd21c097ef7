/// Reads the list of frequencies that a cpufreq policy or a devfreq device offers. Stateless; any
/// thread may call it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace corebeacon {

enum class FreqListStatus {
    READ,
    NODE_MISSING,  ///< the node could not be opened; errno tells why
    EMPTY,         ///< it gave no number, or could not be read
};

/// Puts the numbers at the head of the node's text into `freqs`, ascending and without duplicates,
/// in the node's unit (kHz for cpufreq, Hz for devfreq). Unless the status is READ, `freqs` is
/// untouched. Logs nothing: the callers' messages differ.
FreqListStatus ReadFreqList(const std::string& path, std::vector<std::int64_t>& freqs);

}  // namespace corebeacon
