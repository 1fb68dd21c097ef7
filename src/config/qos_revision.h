/// The steps of narrowing and revising rows that several kinds of QoS share, compiled-in ones and
/// loaded ones. They log under the QoS's name. Called only while an engine is being set up.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "corebeacon/control_info.h"
#include "corebeacon/qos_config.h"

namespace corebeacon {

/// Erases the rows made for another chip than `chipType`.
void EraseRowsOfOtherChips(std::vector<PerfGroupConfig>& groups, ChipTypeAvailableValue chipType);

/// Erases the rows made for every chip.
void EraseCommonRows(std::vector<PerfGroupConfig>& groups);

/// Sets the range of every level-mapped row from its levels.
void SetRangesFromLevels(std::vector<PerfGroupConfig>& groups);

/// Whether the QoS has exactly `count` rows; logs if not.
bool HasRowCount(const PerfQosConfig& qos, std::size_t count);

/// The frequency list at `path`: 0, or -1 (logged) with `freqs` untouched.
int ReadAvailableFreqs(const PerfQosConfig& qos, const std::string& path,
                       std::vector<std::int64_t>& freqs);

/// What every frequency revision begins with: the list is read and the QoS has a single row.
int PrepareFreqRevision(const PerfQosConfig& qos, const FreqParameters& parameters,
                        std::vector<std::int64_t>& freqs);

/// Narrows the single row of `qos` to the ascending list; without a row or a list does nothing.
void NarrowToFreqs(PerfQosConfig& qos, const FreqParameters& parameters,
                   const std::vector<std::int64_t>& freqs);

/// Checks the level table, gives it to every row and brings the global-boost tables in line with
/// it: 0, or -1 (logged).
int ReviseEasRows(PerfQosConfig& qos, EasParameters& parameters);

}  // namespace corebeacon
