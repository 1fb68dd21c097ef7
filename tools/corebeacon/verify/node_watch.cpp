#include "verify/node_watch.h"

#include <algorithm>
#include <cstdio>

#include <nlohmann/json.hpp>

#include "interruption.h"
#include "platform/clock.h"
#include "printable.h"

namespace corebeacon::tool {

namespace {

std::string Shown(const NodeReading& reading) {
    return reading.status == NodeReading::READ ? reading.text : "(" + WhyNotRead(reading) + ")";
}

}  // namespace

NodeWatch::NodeWatch(const std::vector<std::string>& paths, TimedReader& reader) : mReader(reader) {
    for (const std::string& path : paths) {
        const NodeReading reading = mReader.Read(path);
        if (reading.status == NodeReading::READ) {
            mValues[path] = reading.text;
        }
    }
}

std::vector<NodeChange> NodeWatch::Look() {
    std::vector<NodeChange> changes;
    for (auto& [path, value] : mValues) {
        std::string now = Shown(mReader.Read(path));
        if (now != value) {
            changes.push_back({SteadyNow(), path, value, now});
            value = std::move(now);
        }
    }
    return changes;
}

void Watch(const WatchOptions& options, EngineSession& session, NodeWatch& watch,
           const std::function<void(const NodeChange&)>& onChange) {
    const TimePoint begin = SteadyNow();
    const TimePoint end = options.span.count() == 0 ? TimePoint::max() : begin + options.span;
    for (TimePoint next = begin; next < end && Interruption() == 0;) {
        next = std::min(end, next + options.interval);
        while (SteadyNow() < next && Interruption() == 0) {
            session.Record().Take();  // or the wait would end at once
            session.Record().WaitForWrite(
                IsInterruptible() ? std::min(next, SteadyNow() + kInterruptionDelay) : next);
        }
        for (const NodeChange& change : watch.Look()) {
            onChange(change);
        }
    }
}

Json ChangesJson(const std::vector<NodeChange>& changes, TimePoint begin) {
    using std::chrono::microseconds;
    Json list = Json::array();
    for (const NodeChange& change : changes) {
        const auto since = std::chrono::duration_cast<microseconds>(change.time - begin);
        list.push_back({{"time_us", since.count()},
                        {"path", change.path},
                        {"from", change.from},
                        {"to", change.to}});
    }
    return list;
}

std::string ChangeText(const NodeChange& change, TimePoint begin, const NodeNames& names) {
    const auto millis =
        std::chrono::duration_cast<std::chrono::milliseconds>(change.time - begin).count();
    char time[40];
    std::snprintf(time, sizeof(time), "%4lld.%03lld  ", static_cast<long long>(millis / 1000),
                  static_cast<long long>(millis % 1000));
    const NodeName name = names.Of(change.path);
    return time + Printable(name.qos + (name.qos.empty() ? "" : "  ") + name.brief) + "  " +
           change.from + " -> " + change.to;
}

}  // namespace corebeacon::tool
