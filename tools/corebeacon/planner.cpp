#include "planner.h"

#include <utility>

namespace corebeacon::tool {

void Planner::Begin(EngineSession& session, TimePoint begin) {
    mSession = &session;
    mBegin = begin;
}

void Planner::Asked(TimePoint time, const Statement& statement) {
    mAskedAt = time;
    mStatement = statement;
}

void Planner::Accepted(const HeldRequest& held) {
    mBegun[held.handle] = {{mStatement->position.line, held.label},
                           held.event || held.probedTid != 0};
}

void Planner::Ended(TimePoint time, const HeldRequest& held, HowEnded how) {
    const auto begun = mBegun.extract(held.handle);
    if (how != HowEnded::TIME_OVER || begun.empty()) {
        return;
    }
    if (std::exchange(mEndedAt, time) != time) {
        mEnds.clear();
    }
    mEnds.push_back({begun.mapped().cause.line, held.label + " ends"});
}

void Planner::Written(const NodeWrite& write, bool /*isRepetition*/) {
    const NodeName name = mSession->Names().Of(write.path);
    Cause cause = CauseAt(write.time);
    mWrites.push_back({.time = write.time - mBegin,
                       .qos = name.qos.empty() ? "" : name.qos + "." + std::to_string(name.group),
                       .node = write.path,
                       .value = write.value,
                       .failure = write.failure,
                       .line = cause.line,
                       .cause = std::move(cause.text)});
}

/// On a virtual clock all that a statement causes has its time, and all that an end causes the time
/// of the end.
Planner::Cause Planner::CauseAt(TimePoint time) const {
    if (mStatement && mStatement->verb != Verb::WAIT && mAskedAt == time) {
        return {mStatement->position.line, mStatement->text};
    }
    Cause all;
    const auto add = [&all](const Cause& cause) {
        all.line = all.line == 0 ? cause.line : all.line;
        all.text += (all.text.empty() ? "" : ", ") + cause.text;
    };
    if (mEndedAt == time) {
        for (const Cause& end : mEnds) {
            add(end);
        }
        return all;
    }
    for (const auto& [handle, begun] : mBegun) {
        if (begun.hasParts) {
            add({begun.cause.line, begun.cause.text + " goes on"});
        }
    }
    return all;
}

}  // namespace corebeacon::tool
