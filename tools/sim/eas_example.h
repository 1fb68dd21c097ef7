/// A worked description of PERF_QOS_EAS, which the built-in table leaves to the host: nine task
/// groups, one level table for all of them, and the switch that their highest levels need. It
/// serves tests and the program on a simulated device, and hosts as a pattern. The functions build
/// afresh at each call; whoever calls owns the result and keeps it until ConfigManager::Init is
/// through.
#pragma once

#include <array>
#include <string>

#include "corebeacon/qos_config.h"
#include "sim/simulated_device.h"

namespace corebeacon::sim {

struct EasTaskGroup {
    const char* name;       ///< as logs and dumps show it
    const char* directory;  ///< of the task group, below /dev/stune; empty: the root itself
};

/// By group id. The built-in scenarios of chip variant 2 raise TOP_APP (0) and VIP (7).
inline constexpr std::array<EasTaskGroup, 9> kEasTaskGroups{{
    {"TOP_APP", "/top-app"},
    {"BOOST", "/boost"},
    {"FOREGROUND", "/foreground"},
    {"ROOT", ""},
    {"BACKGROUND", "/background"},
    {"SYSTEM_BACKGROUND", "/system-background"},
    {"KEY_BACKGROUND", "/key-background"},
    {"VIP", "/vip"},
    {"GRAPHIC", "/graphic"},
}};

/// The level of every group while nobody asks for another.
inline constexpr int kEasDefaultLevel = 0;

/// Takes 0 or 1.
inline constexpr const char* kEasGlobalBoostNode = "/sys/kernel/eas/global_boost";

/// The schedtune.boost node of a group; `groupId` is below kEasTaskGroups.size().
std::string EasBoostNode(unsigned int groupId);

/// Adds these nodes, as they are after boot.
void AddEasNodes(SimulatedDevice& device);

/// For an entry of the host's own in PerfDefaultConfig::qosConfigMap, beside the built-in ones.
PerfQosEasConfig MakeEasConfig();

/// The same as a loaded description, for PerfDefaultConfig::qosXmlConfigMap.
PerfQosXmlLoadConfig MakeLoadedEasConfig();

}  // namespace corebeacon::sim
