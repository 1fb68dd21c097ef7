/// Stands in for the library's own header where a build shall have no info and debug lines, so that
/// instructions can be counted with and without them (see scripts/bench.sh). For measuring only.
#pragma once

#include "../../../src/platform/logging.h"

#undef LOGI
#undef LOGD

namespace corebeacon {

/// Arguments stay in use, as far as the compiler's warnings go.
template <typename... Arguments>
inline void DropLine(const Arguments&...) {}

}  // namespace corebeacon

#define LOGI(...)                                         \
    do {                                                  \
        if constexpr (false) {                            \
            ::corebeacon::DropLine(LOG_TAG, __VA_ARGS__); \
        }                                                 \
    } while (false)
#define LOGD(...) LOGI(__VA_ARGS__)
