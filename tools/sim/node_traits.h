/// Small choices that set-up calls and nodes share. Plain values.
#pragma once

namespace corebeacon::sim {

enum class Access { READ_WRITE, READ_ONLY, WRITE_ONLY };

/// How a quality-of-service node makes one value of all that its open descriptors ask for.
enum class Aggregate { SMALLEST, LARGEST, SUM };

/// Which kernel the cpufreq policies take after.
enum class KernelStyle {
    CURRENT,  ///< values are rounded to the frequency table; an offline policy gives EBUSY
    OLD,      ///< values read back as asked; an offline policy refuses writes with EINVAL
};

}  // namespace corebeacon::sim
