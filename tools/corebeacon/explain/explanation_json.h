/// An explanation for programs. A free function without state; any thread.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "explain/explanation.h"
#include "json_document.h"

namespace corebeacon::tool {

/// The document of `corebeacon explain --json`. Times are
/// microseconds since the run began.
Json ExplanationJson(const Explanation& explanation);

}  // namespace corebeacon::tool
