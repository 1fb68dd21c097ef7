/// The static description of one tunable: which nodes it writes, which values it takes and for
/// which chip. Plain values, copied into the QoS tables; the tables are edited on one thread before
/// an engine starts, and engines keep no reference to them afterwards.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "corebeacon/export.h"

namespace corebeacon {

/// The chip variant that a row, an event table or a scenario table is meant for. Other values are
/// legal: they match only rows that name them.
enum ChipTypeAvailableValue : std::uint32_t {
    CHIP_TYPE_COMMON = 0,  ///< every chip; the row used where no row names the chip itself
    CHIP_TYPE_VARIANT_1 = 1,
    CHIP_TYPE_VARIANT_2 = 2,  ///< also selects the second event and scenario tables
};

/// Level to the texts written, one per node and in the order of the nodes.
using Level2ValueMap = std::map<int, std::vector<std::string>>;

/// One row of a QoS table. All constructors set what they are not given to 0; the two that take a
/// level map set the range from its levels.
class COREBEACON_API PerfGroupConfig {
public:
    /// A value range whose requests may be clamped into it.
    PerfGroupConfig(std::string name, bool rangeFlag, int availableMin, int availableMax,
                    int baseMin, int baseMax, std::vector<std::string> sysNodePaths,
                    ChipTypeAvailableValue chipType);
    /// A range without a known end: the kernel's own list supplies the maxima.
    PerfGroupConfig(std::string name, bool rangeFlag, int availableMin, int baseMin,
                    std::vector<std::string> sysNodePaths, ChipTypeAvailableValue chipType);
    /// A row whose levels are filled in when the QoS is revised.
    PerfGroupConfig(unsigned int groupId, std::string name, int baseMin,
                    std::vector<std::string> sysNodePaths, ChipTypeAvailableValue chipType);
    /// A value range inside a QoS of several groups; values outside are refused.
    PerfGroupConfig(unsigned int groupId, std::string name, int availableMin, int availableMax,
                    int baseMin, int baseMax, const std::vector<std::string>& sysNodePaths,
                    ChipTypeAvailableValue chipType);
    /// A level-mapped row.
    PerfGroupConfig(std::string name, int baseMin, const std::vector<std::string>& sysNodePaths,
                    const Level2ValueMap& level2ValueMap, ChipTypeAvailableValue chipType);
    /// A level-mapped row inside a QoS of several groups.
    PerfGroupConfig(unsigned int groupId, std::string name, int baseMin,
                    const std::vector<std::string>& sysNodePaths,
                    const Level2ValueMap& level2ValueMap, ChipTypeAvailableValue chipType);

    virtual ~PerfGroupConfig();
    PerfGroupConfig(const PerfGroupConfig&);
    PerfGroupConfig(PerfGroupConfig&&) noexcept;
    PerfGroupConfig& operator=(const PerfGroupConfig&);
    PerfGroupConfig& operator=(PerfGroupConfig&&) noexcept;

    /// Sets availableMin to the lowest level, availableMax and baseMax to the highest. baseMin, the
    /// default level, stays. Without levels nothing changes.
    void SetRangeFromLevels();

    std::string name;          ///< as logs and dumps show it
    unsigned int groupId = 0;  ///< position of the group in its QoS
    bool rangeFlag = false;    ///< clamp requests into the available range instead of refusing them
    /// The bounds of any request, in the unit of the nodes: kHz for CPU frequencies, Hz for devfreq
    /// ones, mW for power, millidegrees Celsius for temperatures; a level for level-mapped rows.
    int availableMin = 0;
    int availableMax = 0;
    int baseMin =
        0;  ///< written while nothing is asked for; the default of single values and levels
    int baseMax = 0;                        ///< the ceiling while nothing is asked for
    std::vector<std::string> sysNodePaths;  ///< kernel nodes in the order in which they are written
    Level2ValueMap level2ValueMap;          ///< empty unless the row is level-mapped
    ChipTypeAvailableValue chipType = CHIP_TYPE_COMMON;
};

}  // namespace corebeacon
