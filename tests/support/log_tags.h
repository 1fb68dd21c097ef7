/// The tags by which people filter the log, one for a module; they are not to change by mistake.
#pragma once

#include <algorithm>
#include <array>
#include <string_view>

namespace corebeacon::test {

inline constexpr std::array<std::string_view, 31> kLogTags = {
    "PF_C_API",
    "PF_CFG_MGR",
    "PF_CMD_MGR",
    "PF_CMD_WRAPPER",
    "PF_CONFIG",
    "PF_DDR_GRP",
    "PF_DDR_RES",
    "PF_EAS_RES",
    "PF_EVENT_MGR",
    "PF_FREQ_GRP",
    "PF_FREQ_RES",
    "PF_GROUP",
    "PF_IOCL_LEVEL_MAP_GRP",
    "PF_IPA_POWER_GRP",
    "PF_IPA_POWER_RES",
    "PF_IPA_SWITCH_TEMP_RES",
    "PF_LEVEL_MAP_GROUP",
    "PF_LEVEL_MAP_RES",
    "PF_MEM_LAT_TARGET_RATIO_RES",
    "PF_MONITOR_ENABLE_GRP",
    "PF_POST_PROCESSING_RES",
    "PF_QOSCONFIG",
    "PF_RES",
    "PF_RES_MGR",
    "PF_SCEN_MGR",
    "PF_SINGLE_NODE_VALUE_GRP",
    "PF_SINGLE_NODE_VALUE_RES",
    "PF_SYS_WRAPPER",
    "PF_THREAD_BINDER",
    "PF_WM_MGR",
    "PF_TEST",  // of the log's own tests
};

inline bool IsLogTag(std::string_view tag) {
    return std::find(kLogTags.begin(), kLogTags.end(), tag) != kLogTags.end();
}

}  // namespace corebeacon::test
