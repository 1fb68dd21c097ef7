#include <algorithm>
#include <charconv>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "json_document.h"
#include "timeline.h"

namespace corebeacon::tool {

namespace {

std::optional<long long> NumberIn(std::string_view text) {
    long long number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isWhole = error == std::errc() && end == text.data() + text.size();
    return isWhole ? std::optional(number) : std::nullopt;
}

/// Gathers the events; a viewer shows each pid as a process, and the engine as one more.
class TraceBuilder {
public:
    explicit TraceBuilder(const Timeline& timeline) : mTimeline(timeline) {
        std::set<int> pids;
        for (const TimelineRequest& request : timeline.requests) {
            pids.insert(request.pid);
        }
        while (pids.contains(mEnginePid)) {
            ++mEnginePid;
        }
        NameProcess(mEnginePid, "corebeacon");
        Add("M", "thread_name", mEnginePid)["args"] = {{"name", "statements"}};
        for (const int pid : pids) {
            NameProcess(pid, "pid " + std::to_string(pid));
        }
    }

    Json Build() {
        for (const TimelineTrack& track : mTimeline.tracks) {
            AddSteps(track);
            AddWrites(track);
        }
        for (std::size_t i = 0; i < mTimeline.requests.size(); ++i) {
            AddRequest(mTimeline.requests[i], i + 1);
        }
        for (const TimelineMark& mark : mTimeline.marks) {
            Json& event = Add("i", mark.text, mEnginePid, mark.time);
            event["cat"] = mark.isNote ? "note" : "statement";
            event["s"] = "p";
        }
        AddLimits();
        return {{"displayTimeUnit", "ms"},
                {"otherData",
                 {{"title", mTimeline.title},
                  {"device", mTimeline.device},
                  {"begin", mTimeline.begin}}},
                {"traceEvents", std::move(mEvents)}};
    }

private:
    Json& Add(const char* phase, std::string_view name, int pid, TimelineMicros time = 0) {
        mEvents.push_back(
            {{"ph", phase}, {"name", name}, {"pid", pid}, {"tid", pid}, {"ts", time}});
        return mEvents.back();
    }

    void NameProcess(int pid, const std::string& name) {
        Add("M", "process_name", pid)["args"] = {{"name", name}};
    }

    static std::string NameOf(const TimelineTrack& track) {
        return track.name == track.qos ? track.qos : track.qos + " " + track.name;
    }

    void AddSteps(const TimelineTrack& track) {
        for (const TimelineStep& step : track.steps) {
            Add("C", NameOf(track), mEnginePid, step.time)["args"] = {{"floor", step.floor},
                                                                      {"ceiling", step.ceiling}};
        }
    }

    /// A counter a node where the values are numbers, so that viewers draw them; what is no number,
    /// and what failed, as an instant.
    void AddWrites(const TimelineTrack& track) {
        for (const TimelineNode& node : track.nodes) {
            for (const TimelineWrite& write : node.writes) {
                const std::optional<long long> number = NumberIn(write.value);
                if (number && write.failure.empty()) {
                    Add("C", NameOf(track) + " " + node.name, mEnginePid,
                        write.time)["args"] = {{"written", *number}};
                } else {
                    AddTextWrite(track, node, write);
                }
            }
        }
    }

    void AddTextWrite(const TimelineTrack& track, const TimelineNode& node,
                      const TimelineWrite& write) {
        Json& event = Add("i", NameOf(track) + " " + node.name, mEnginePid, write.time);
        event["cat"] = "write";
        event["s"] = "t";
        event["args"] = {{"path", node.path}, {"written", write.value}};
        if (!write.failure.empty()) {
            event["args"]["failure"] = write.failure;
        }
    }

    /// Requests of one pid may overlap in any way, which only asynchronous events may.
    void AddRequest(const TimelineRequest& request, std::size_t id) {
        Json asked = Json::object();
        for (const TimelinePart& part : request.parts) {
            asked[NameOf(mTimeline.tracks[part.track]) + "." + TimelineOperation(part.operation)] =
                part.value;
        }
        const std::string& name = request.name.empty() ? request.kind : request.name;
        AddAsync("b", "request", name, request.pid, request.from, id)["args"] = {
            {"kind", request.kind},
            {"handle", request.handle},
            {"asks for", asked},
            {"ended", request.ending}};
        AddAsync("e", "request", name, request.pid, request.until, id);
    }

    void AddLimits() {
        std::size_t id = mTimeline.requests.size();
        for (const TimelineLimits& limits : mTimeline.limits) {
            for (const TimelineCeiling& entry : limits.entries) {
                const std::string name = limits.name + " limit " + std::to_string(entry.value);
                AddAsync("b", "limit history", name, mEnginePid, entry.from, ++id);
                AddAsync("e", "limit history", name, mEnginePid, entry.until, id);
            }
        }
    }

    Json& AddAsync(const char* phase, const char* category, const std::string& name, int pid,
                   TimelineMicros time, std::size_t id) {
        Json& event = Add(phase, name, pid, time);
        event["cat"] = category;
        event["id"] = std::to_string(id);
        return event;
    }

    const Timeline& mTimeline;
    int mEnginePid = 1;
    Json mEvents = Json::array();
};

}  // namespace

const char* TimelineOperation(PerfOperationType operation) {
    return operation == PERF_OPERATION_LIMIT ? "limit" : "boost";
}

void WriteTimelineTrace(const Timeline& timeline, std::ostream& out) {
    out << TraceBuilder(timeline).Build().dump(-1, ' ', false, Json::error_handler_t::replace)
        << "\n";
}

}  // namespace corebeacon::tool
