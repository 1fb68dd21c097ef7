/// The file that a run's timeline goes to. Free functions and plain values, used on the program's
/// main thread.
#pragma once

#include <optional>
#include <string>

#include "timeline.h"

namespace corebeacon::tool {

enum class TimelineForm { TRACE, PAGE };

/// By the end of the name, .json or .html; absent for any other.
std::optional<TimelineForm> TimelineFormOf(const std::string& path);

/// Whether the file can be written, which it then is: empty. What is wrong is in errno.
bool CreateTimelineFile(const std::string& path);

/// Whether all of it was written. The name ends as one of the forms does.
bool WriteTimelineFile(const Timeline& timeline, const std::string& path);

}  // namespace corebeacon::tool
