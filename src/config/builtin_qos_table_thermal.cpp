// Thermal control: thermal_zone0 watches the SoC, thermal_zone1 the board.

#include "config/builtin_qos_rows.h"

namespace corebeacon::builtin {

namespace {

// The base is a budget that throttles nothing; above it the allocators are switched off altogether.
constexpr IpaPowerQos kIpaPowerEntry = {
    .id = PERF_QOS_IPA_POWER,
    .nodes =
        {
            "/sys/class/thermal/thermal_zone1/sustainable_power",
            "/sys/class/thermal/thermal_zone1/mode",
            "/sys/class/thermal/thermal_zone0/mode",
        },
    .availableMinMilliwatt = 0,
    .availableMaxMilliwatt = 10000,
    .baseMinMilliwatt = 9000,
    .baseMaxMilliwatt = 10000,
    .socSwitchMilliwatt = 10000,
    .boardSwitchMilliwatt = 9999,
};

constexpr TripPointQos kTripPointTable[] = {
    {
        // where the board's allocator starts to work
        .id = PERF_QOS_IPA_SWITCH_TEMP,
        .node = "/sys/class/thermal/thermal_zone1/trip_point_0_temp",
        .availableMinMillicelsius = 0,
        .availableMaxMillicelsius = 100000,
        .baseMinMillicelsius = 65000,
        .baseMaxMillicelsius = 100000,
    },
    {
        // what the SoC's allocator regulates to
        .id = PERF_QOS_IPA_SOC_CONTROL_TEMP,
        .node = "/sys/class/thermal/thermal_zone0/trip_point_2_temp",
        .availableMinMillicelsius = 50000,
        .availableMaxMillicelsius = 100000,
        .baseMinMillicelsius = 90000,
        .baseMaxMillicelsius = 100000,
    },
};

}  // namespace

const IpaPowerQos& IpaPowerEntry() {
    return kIpaPowerEntry;
}

std::span<const TripPointQos> TripPointTable() {
    return kTripPointTable;
}

}  // namespace corebeacon::builtin
