/// The script that `corebeacon demo` plays on the simulated device of chip 0; constant text.
#pragma once

#include <string_view>

namespace corebeacon::tool {

extern const std::string_view kDemoStory;

}  // namespace corebeacon::tool
