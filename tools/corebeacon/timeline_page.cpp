#include <map>
#include <string>

#include <nlohmann/json.hpp>

#include "json_document.h"
#include "timeline.h"
#include "timeline_assets.h"

namespace corebeacon::tool {

namespace {

/// By columns, which a page reads several times as fast as objects.
Json StepsOf(const TimelineTrack& track) {
    Json steps = {{"t", Json::array()}, {"floor", Json::array()}, {"ceiling", Json::array()}};
    for (const TimelineStep& step : track.steps) {
        steps["t"].push_back(step.time);
        steps["floor"].push_back(step.floor);
        steps["ceiling"].push_back(step.ceiling);
    }
    return steps;
}

Json NodeOf(const TimelineNode& node) {
    Json times = Json::array();
    Json values = Json::array();
    Json failures = Json::object();  // by index, since they are few
    for (const TimelineWrite& write : node.writes) {
        if (!write.failure.empty()) {
            failures[std::to_string(times.size())] = write.failure;
        }
        times.push_back(write.time);
        values.push_back(write.value);
    }
    return {{"name", node.name},
            {"path", node.path},
            {"t", std::move(times)},
            {"values", std::move(values)},
            {"failures", std::move(failures)}};
}

Json TrackOf(const TimelineTrack& track) {
    Json nodes = Json::array();
    for (const TimelineNode& node : track.nodes) {
        nodes.push_back(NodeOf(node));
    }
    return {{"qos", track.qos},   {"group", track.group},     {"name", track.name},
            {"unit", track.unit}, {"isRange", track.isRange}, {"steps", StepsOf(track)},
            {"nodes", nodes}};
}

Json RequestOf(const TimelineRequest& request) {
    Json parts = Json::array();
    for (const TimelinePart& part : request.parts) {
        parts.push_back({{"track", part.track},
                         {"operation", TimelineOperation(part.operation)},
                         {"value", part.value}});
    }
    // A script's numbers end at 2^53, a handle may be beyond.
    return {{"pid", request.pid},       {"handle", std::to_string(request.handle)},
            {"name", request.name},     {"kind", request.kind},
            {"from", request.from},     {"until", request.until},
            {"ending", request.ending}, {"parts", parts}};
}

Json LimitsOf(const TimelineLimits& limits) {
    Json entries = Json::array();
    for (const TimelineCeiling& entry : limits.entries) {
        entries.push_back({{"value", entry.value},
                           {"from", entry.from},
                           {"until", entry.until},
                           {"fromText", entry.fromText},
                           {"untilText", entry.untilText}});
    }
    return {{"name", limits.name}, {"unit", limits.unit}, {"entries", entries}};
}

Json PageData(const Timeline& timeline) {
    Json data = {{"title", timeline.title}, {"device", timeline.device},
                 {"begin", timeline.begin}, {"end", timeline.end},
                 {"tracks", Json::array()}, {"requests", Json::array()},
                 {"marks", Json::array()},  {"limits", Json::array()}};
    for (const TimelineTrack& track : timeline.tracks) {
        data["tracks"].push_back(TrackOf(track));
    }
    for (const TimelineRequest& request : timeline.requests) {
        data["requests"].push_back(RequestOf(request));
    }
    for (const TimelineMark& mark : timeline.marks) {
        data["marks"].push_back(
            {{"t", mark.time}, {"kind", mark.isNote ? "note" : "statement"}, {"text", mark.text}});
    }
    for (const TimelineLimits& limits : timeline.limits) {
        data["limits"].push_back(LimitsOf(limits));
    }
    return data;
}

}  // namespace

void WriteTimelinePage(const Timeline& timeline, std::ostream& out) {
    const std::string data =
        PageData(timeline).dump(-1, ' ', false, Json::error_handler_t::replace);
    out << kTimelinePageHead;
    // Whatever a script or a board calls its things, no text of theirs can end the data's element.
    for (const char c : data) {
        if (c == '<') {
            out << "\\u003c";
        } else {
            out << c;
        }
    }
    out << kTimelinePageTail;
}

}  // namespace corebeacon::tool
