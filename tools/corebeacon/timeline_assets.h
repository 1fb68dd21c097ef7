/// The timeline's page around its data, joined from the files in timeline/ when the program is
/// built. Constant text.
#pragma once

#include <string_view>

namespace corebeacon::tool {

extern const std::string_view kTimelinePageHead;
extern const std::string_view kTimelinePageTail;

}  // namespace corebeacon::tool
