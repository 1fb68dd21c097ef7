#include "timeline_file.h"

#include <fstream>

namespace corebeacon::tool {

std::optional<TimelineForm> TimelineFormOf(const std::string& path) {
    if (path.ends_with(".json")) {
        return TimelineForm::TRACE;
    }
    return path.ends_with(".html") ? std::optional(TimelineForm::PAGE) : std::nullopt;
}

bool CreateTimelineFile(const std::string& path) {
    return std::ofstream(path, std::ios::binary).is_open();
}

bool WriteTimelineFile(const Timeline& timeline, const std::string& path) {
    std::ofstream out(path, std::ios::binary);
    if (TimelineFormOf(path) == TimelineForm::TRACE) {
        WriteTimelineTrace(timeline, out);
    } else {
        WriteTimelinePage(timeline, out);
    }
    return static_cast<bool>(out.flush());
}

}  // namespace corebeacon::tool
