#include "timeline_recorder.h"

#include <algorithm>
#include <sstream>

#include "device_names.h"
#include "platform/clock.h"
#include "timeline_limits.h"
#include "timeline_units.h"

namespace corebeacon::tool {

namespace {

/// Nodes that no row names, a switch beside the groups for instance.
constexpr PerfQosId kNoQos = PERF_QOS_INVALID;

PerfQosId Folded(PerfQosId qosId) {
    return qosId == PERF_QOS_EAS_BASE ? PERF_QOS_EAS : qosId;
}

std::string KindOf(const HeldRequest& held) {
    switch (held.verb) {
        case Verb::SCENARIO:
            return "scenario " + std::to_string(held.number);
        case Verb::MODE:
            return "work mode " + std::to_string(held.number);
        case Verb::EVENT:
            return "event " + std::to_string(held.number);
        case Verb::PROBE:
            return "probe";
        case Verb::BASE_SET:
            return "base-set";
        default:
            return "request";
    }
}

}  // namespace

TimelineRecorder::TimelineRecorder(std::string title) {
    mTimeline.title = std::move(title);
}

void TimelineRecorder::Begin(EngineSession& session, TimePoint begin) {
    mSession = &session;
    mBegin = begin;
    mWallBegin = std::chrono::system_clock::now() -
                 std::chrono::duration_cast<std::chrono::microseconds>(SteadyNow() - begin);
    mTimeline.begin = WallTimeText(mWallBegin);
    mTimeline.device =
        std::string(DeviceText(session.Device())) + ", chip " + std::to_string(session.Chip());
    for (const auto& [qosId, config] : session.Table()) {
        AddCandidates(qosId, config);
        Sample(qosId, begin);
    }
}

void TimelineRecorder::AddCandidates(PerfQosId qosId, const PerfQosConfig& config) {
    for (const PerfGroupConfig& row : config.groups) {
        const GroupKey key = {qosId, row.groupId};
        TimelineTrack& track = mCandidates[key].track;
        track = {.qos = config.name,
                 .group = row.groupId,
                 .name = row.name,
                 .unit = TimelineUnit(qosId, config, row),
                 .steps = {},
                 .nodes = {}};
        for (const std::string& path : row.sysNodePaths) {
            mPlaces.try_emplace(path, NodePlace{key, track.nodes.size()});
            track.nodes.push_back({mSession->Names().Of(path).brief, path, {}});
        }
    }
}

void TimelineRecorder::Note(const Statement& note) {
    SampleDirty();
    mNotes.push_back(note.text);
}

void TimelineRecorder::Asked(TimePoint time, const Statement& statement) {
    SampleDirty();
    for (std::string& note : mNotes) {
        mTimeline.marks.push_back({Micros(time), true, std::move(note)});
    }
    mNotes.clear();
    mTimeline.marks.push_back({Micros(time), false, statement.text});
}

void TimelineRecorder::Accepted(const HeldRequest& held) {
    Asking asking;
    asking.request = {.pid = held.pid,
                      .handle = held.handle,
                      .name = held.label,
                      .kind = KindOf(held),
                      .from = Micros(held.begin),
                      .until = 0,
                      .ending = "",
                      .parts = {}};
    AddParts(held, asking);
    MarkDirty(asking, held.begin);
    mByHandle[held.handle] = mAskings.size();
    mAskings.push_back(std::move(asking));
}

void TimelineRecorder::AddParts(const HeldRequest& held, Asking& asking) {
    for (const PerfRequestInfo& info : held.request) {
        for (const GroupInfo& group : info.groups) {
            const auto candidate = mCandidates.find({Folded(info.qosId), group.groupId});
            // What the device lacks, the engine leaves out of a request.
            if (candidate == mCandidates.end() || candidate->second.track.steps.empty()) {
                continue;
            }
            candidate->second.isUsed = true;
            for (const auto& [operation, value] : group.values) {
                asking.parts.push_back({candidate->first, {0, operation, value}});
            }
        }
    }
}

void TimelineRecorder::Ended(TimePoint time, const HeldRequest& held, HowEnded how) {
    const auto found = mByHandle.find(held.handle);
    if (found == mByHandle.end()) {
        return;
    }
    Asking& asking = mAskings[found->second];
    asking.isOver = true;
    asking.request.until = std::max(asking.request.from, Micros(time));
    asking.request.ending = how == HowEnded::RELEASED ? "released" : "its time was over";
    MarkDirty(asking, time);
    mByHandle.erase(found);
}

void TimelineRecorder::Written(const NodeWrite& write, bool isRepetition) {
    if (isRepetition) {
        ++mRepetitions;
        return;
    }
    const auto place = mPlaces.find(write.path);
    Candidate& candidate =
        place != mPlaces.end() ? mCandidates.at(place->second.group) : OtherNode(write.path);
    candidate.isUsed = true;
    const std::size_t node = place != mPlaces.end() ? place->second.node : 0;
    candidate.track.nodes[node].writes.push_back({Micros(write.time), write.value, write.failure});
    if (place != mPlaces.end() && write.time >= mSampled[place->second.group.first]) {
        Sample(place->second.group.first, write.time);
    }
}

/// One track each. Their numbers follow those of all groups.
TimelineRecorder::Candidate& TimelineRecorder::OtherNode(const std::string& path) {
    const auto number = static_cast<unsigned>(
        std::distance(mCandidates.lower_bound({kNoQos, 0}), mCandidates.end()));
    const GroupKey key = {kNoQos, number};
    const std::string brief = mSession->Names().Of(path).brief;
    mPlaces.emplace(path, NodePlace{key, 0});
    Candidate& candidate = mCandidates[key];
    candidate.track.qos = "other nodes";
    candidate.track.group = number;
    candidate.track.name = brief;
    candidate.track.nodes.push_back({brief, path, {}});
    return candidate;
}

void TimelineRecorder::Done(const Statement& /*statement*/) {
    SampleDirty();
    if (const std::size_t count = std::exchange(mRepetitions, 0);
        count > 0 && !mTimeline.marks.empty()) {
        mTimeline.marks.back().text +=
            " (and " + std::to_string(count) + " writes of what the nodes held already)";
    }
}

void TimelineRecorder::End(const std::map<std::string, std::string>& /*values*/,
                           const std::vector<HeldRequest>& /*standing*/) {
    SampleDirty();
    mTimeline.end = Micros(SteadyNow());
    for (std::string& note : mNotes) {
        mTimeline.marks.push_back({mTimeline.end, true, std::move(note)});
    }
    std::ostringstream history;
    mSession->Engine().Dump(history, {"--limit_history"});
    mTimeline.limits = ParseLimitHistory(history.str(), mWallBegin, mTimeline.end);
    for (TimelineLimits& limits : mTimeline.limits) {
        for (const auto& [key, candidate] : mCandidates) {
            if (candidate.track.qos == limits.name) {
                limits.unit = candidate.track.unit;
            }
        }
    }
    FinishRequests();
    NumberTracks();
}

void TimelineRecorder::FinishRequests() {
    for (Asking& asking : mAskings) {
        if (!asking.isOver) {
            asking.request.until = mTimeline.end;
            asking.request.ending = "in force when the run ended";
        }
    }
    std::ranges::stable_sort(mAskings, {}, [](const Asking& each) { return each.request.from; });
}

void TimelineRecorder::NumberTracks() {
    std::map<GroupKey, std::size_t> numbers;
    for (auto& [key, candidate] : mCandidates) {
        if (candidate.isUsed || candidate.track.steps.size() > 1) {
            numbers[key] = mTimeline.tracks.size();
            mTimeline.tracks.push_back(std::move(candidate.track));
        }
    }
    for (Asking& asking : mAskings) {
        for (auto& [key, part] : asking.parts) {
            part.track = numbers.at(key);
            asking.request.parts.push_back(part);
        }
        mTimeline.requests.push_back(std::move(asking.request));
    }
}

void TimelineRecorder::MarkDirty(const Asking& asking, TimePoint time) {
    for (const auto& [key, part] : asking.parts) {
        mDirty[key.first] = time;
    }
}

void TimelineRecorder::SampleDirty() {
    for (const auto& [qosId, since] : std::exchange(mDirty, {})) {
        if (since >= mSampled[qosId]) {
            Sample(qosId, since);
        }
    }
}

/// The worker answers in its turn, so the answer covers all that it was told and wrote until now.
void TimelineRecorder::Sample(PerfQosId qosId, TimePoint time) {
    mSampled[qosId] = SteadyNow();
    std::vector<GroupState> groups;
    mSession->Engine().Inspect(qosId, groups);
    for (const GroupState& group : groups) {
        const auto candidate = mCandidates.find({qosId, group.groupId});
        if (candidate == mCandidates.end()) {
            continue;
        }
        candidate->second.track.isRange = group.kind == GroupKind::FREQUENCY;
        std::vector<TimelineStep>& steps = candidate->second.track.steps;
        const auto& [floor, ceiling] = group.inForce;
        if (steps.empty() || steps.back().floor != floor || steps.back().ceiling != ceiling) {
            const TimelineMicros last = steps.empty() ? 0 : steps.back().time;
            steps.push_back({std::max(last, Micros(time)), floor, ceiling});
        }
    }
}

TimelineMicros TimelineRecorder::Micros(TimePoint time) const {
    return std::chrono::duration_cast<std::chrono::microseconds>(time - mBegin).count();
}

}  // namespace corebeacon::tool
