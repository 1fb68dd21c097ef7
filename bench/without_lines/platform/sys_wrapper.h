/// Stands in for the library's own header where a build shall have no trace points, so that
/// instructions can be counted with and without them (see scripts/bench.sh). For measuring only.
#pragma once

#define IsSysTraceEnabled IsSysTraceBound
#include "../../../src/platform/sys_wrapper.h"
#undef IsSysTraceEnabled

namespace corebeacon::SysWrapper {

constexpr bool IsSysTraceEnabled() {
    return false;
}

}  // namespace corebeacon::SysWrapper
