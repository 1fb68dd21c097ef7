/// How modules log. A file defines `constexpr const char* LOG_TAG` and calls LOGE, LOGW, LOGI or
/// LOGD with a format that begins "[%s:%d] "; function name and line are filled in here.
#pragma once

#include <atomic>

#include "corebeacon/log.h"

namespace corebeacon {

inline constexpr unsigned int kLogSwitchInfo = 1;
inline constexpr unsigned int kLogSwitchDebug = 2;

/// The word behind PfLogonSet, readable without a call.
/// Hidden here too, or the compiler would look up its address before each look at it.
extern std::atomic<unsigned int> gLogSwitch __attribute__((visibility("hidden")));

inline bool IsLogEnabled(unsigned int bit) {
    return (gLogSwitch.load(std::memory_order_relaxed) & bit) != 0;
}

}  // namespace corebeacon

#define COREBEACON_LOG(level, format, ...) \
    ::corebeacon::VLogPrint(level, LOG_TAG, format, __func__, __LINE__ __VA_OPT__(, ) __VA_ARGS__)

// Macros, because the function name, the line and the unevaluated arguments of a line that is off
// cannot be had from a function.
#define LOGE(...) COREBEACON_LOG(::corebeacon::LOG_LEVEL_ERROR, __VA_ARGS__)
#define LOGW(...) COREBEACON_LOG(::corebeacon::LOG_LEVEL_WARNING, __VA_ARGS__)
#define LOGI(...)                                                       \
    do {                                                                \
        if (::corebeacon::IsLogEnabled(::corebeacon::kLogSwitchInfo)) { \
            COREBEACON_LOG(::corebeacon::LOG_LEVEL_INFO, __VA_ARGS__);  \
        }                                                               \
    } while (false)
#define LOGD(...)                                                        \
    do {                                                                 \
        if (::corebeacon::IsLogEnabled(::corebeacon::kLogSwitchDebug)) { \
            COREBEACON_LOG(::corebeacon::LOG_LEVEL_DEBUG, __VA_ARGS__);  \
        }                                                                \
    } while (false)
