#include <array>
#include <optional>

#include "engine/arbitration.h"
#include "engine/group_preview.h"
#include "engine/perf_group.h"

namespace corebeacon {

namespace {

/// The items that can decide a side: the heads of the queues in which requests are in force.
enum Source : std::size_t {
    STANDING_BOOST,
    STANDING_LIMIT,
    TIMED_BOOST,
    TIMED_LIMIT,
    SOURCE_COUNT,
};

bool IsBoost(Source source) {
    return source == STANDING_BOOST || source == TIMED_BOOST;
}

/// A number that knows whose it is.
struct Bound {
    int value = 0;
    Source source = STANDING_BOOST;

    bool operator<(const Bound& other) const { return value < other.value; }
    bool operator==(const Bound& other) const { return value == other.value; }
};

struct Defeat {
    GroupRule rule = GroupRule::IN_FORCE;
    Source winner = STANDING_BOOST;
};

/// Keeps, for each head, what it lost its own side to; a limit that cut the floor down and then
/// lost it to a boost has lost nothing of its own. The first defeat counts: without it, the second
/// would not have come about in this way.
class DefeatList {
public:
    void FloorLost(const Bound& loser, const Bound& winner, GroupRule rule) {
        Note(loser, winner, rule, IsBoost(loser.source));
    }
    void CeilingLost(const Bound& loser, const Bound& winner, GroupRule rule) {
        Note(loser, winner, rule, !IsBoost(loser.source));
    }
    const Defeat& Of(Source source) const { return mDefeats.at(source); }

private:
    void Note(const Bound& loser, const Bound& winner, GroupRule rule, bool isOwnSide) {
        Defeat& defeat = mDefeats.at(loser.source);
        if (isOwnSide && defeat.rule == GroupRule::IN_FORCE) {
            defeat = {rule, winner.source};
        }
    }

    std::array<Defeat, SOURCE_COUNT> mDefeats;
};

struct Verdict {
    Source floor = STANDING_BOOST;
    Source ceiling = STANDING_LIMIT;
    DefeatList defeats;
};

/// What the verdict is about: as the group has it.
struct Case {
    PerfWorkMode workMode = PERF_WORK_MODE_0;
    int top = 0;
    bool isBaseLimitAlone = true;
    std::array<const PerfGroupQueue*, SOURCE_COUNT> queues{};
};

Verdict Judge(const Case& group) {
    const auto bound = [&group](Source source) {
        return Bound{group.queues.at(source)->Head().value, source};
    };
    const std::optional<Bound> timedBoost =
        group.queues[TIMED_BOOST]->HasHead() ? std::optional(bound(TIMED_BOOST)) : std::nullopt;
    const std::optional<Bound> timedLimit =
        group.queues[TIMED_LIMIT]->HasHead() ? std::optional(bound(TIMED_LIMIT)) : std::nullopt;
    const arbitration::TimedHeads<Bound> timed{timedBoost ? &*timedBoost : nullptr,
                                               timedLimit ? &*timedLimit : nullptr};
    // The range has no request of its own: who lifts the ceiling to its top decides it.
    const Bound top{group.top, TIMED_BOOST};

    Verdict verdict;
    arbitration::Sides<Bound> pair{bound(STANDING_BOOST), bound(STANDING_LIMIT)};
    arbitration::SettleStanding(group.workMode, pair, verdict.defeats);
    pair.boost = arbitration::SettleTimedBoost(pair.boost, timed.boost, verdict.defeats);
    arbitration::SettleTimedLimit(group.workMode, timed, top, group.isBaseLimitAlone, pair,
                                  verdict.defeats);
    arbitration::SettleFinal(group.workMode, pair, verdict.defeats);
    verdict.floor = pair.boost.source;
    verdict.ceiling = pair.limit.source;
    return verdict;
}

GroupItemState MakeItem(const PerfGroupQueItem& item, bool isTimed) {
    GroupItemState state;
    state.handle = item.handle;
    state.operation = item.operation;
    state.value = item.value;
    state.isTimed = isTimed;
    state.start = item.startTime;
    if (isTimed) {
        state.end = item.endTime;
    }
    return state;
}

/// What keeps an item that is not the head of its queue from being it.
GroupRule RuleBehind(const PerfGroupQueItem& item, const PerfGroupQueItem& head, bool isTimed,
                     const TimePoint& now) {
    if (isTimed && item.endTime <= now) {
        return GroupRule::EXPIRED;
    }
    if (item.value == head.value) {
        return GroupRule::EQUAL;
    }
    return item.operation == PERF_OPERATION_BOOST ? GroupRule::LOWER_BOOST
                                                  : GroupRule::HIGHER_LIMIT;
}

void AppendWaiting(const PerfGroupQueue& queue, std::vector<GroupItemState>& items) {
    const auto append = [&items](const PerfGroupQueItem& item) {
        items.push_back(MakeItem(item, true));
        items.back().rule = GroupRule::WAITING;
    };
    if (queue.HasHead()) {
        append(queue.Head());
    }
    for (const PerfGroupQueItem& item : queue.Queued()) {
        append(item);
    }
}

/// Appends a queue: its head, with what the verdict says of it, and all behind.
void AppendQueue(const Case& group, const Verdict& verdict, Source source, const TimePoint& now,
                 std::vector<GroupItemState>& items) {
    const PerfGroupQueue& queue = *group.queues.at(source);
    if (!queue.HasHead()) {
        return;
    }
    const bool isTimed = source == TIMED_BOOST || source == TIMED_LIMIT;
    GroupItemState head = MakeItem(queue.Head(), isTimed);
    head.decidesFloor = verdict.floor == source;
    head.decidesCeiling = verdict.ceiling == source;
    const Defeat& defeat = verdict.defeats.Of(source);
    head.rule = defeat.rule;
    if (defeat.rule != GroupRule::IN_FORCE) {
        head.beatenBy = group.queues.at(defeat.winner)->Head().handle;
    }
    items.push_back(head);
    for (const PerfGroupQueItem& item : queue.Queued()) {
        GroupItemState& behind = items.emplace_back(MakeItem(item, isTimed));
        behind.rule = RuleBehind(item, queue.Head(), isTimed, now);
        behind.beatenBy = behind.rule == GroupRule::EXPIRED ? 0 : queue.Head().handle;
    }
}

/// Asks copies of the group what comes after an item that decides a side.
void Foretell(const PerfGroup& group, const std::vector<GroupItemState>& items,
              const TimePoint& now, GroupItemState& item) {
    GroupPreview released(group);
    if (item.handle != kNoHandle) {
        released.Release(item.handle, items, now);
        // An expired item that comes to the front is in force only until the worker looks at the
        // clock.
        released.Pass(now, now);
    }
    item.afterRelease = released.InForce();
    item.afterEnd = item.afterRelease;
    if (item.isTimed) {
        GroupPreview passed(group);
        passed.Pass(now, item.end);
        item.afterEnd = passed.InForce();
    }
}

}  // namespace

void PerfGroup::Inspect(const TimePoint& now, GroupState& state) const {
    state.groupId = mGroupId;
    state.name = mName;
    state.workMode = mWorkMode;
    state.isSuspended = mSuspended;
    state.inForce = {mFinalBoost, mFinalLimit};
    state.rangeMin = mAvailableMin;
    state.rangeMax = mAvailableMax;
    state.isClamping = mClampOutOfRange;
    state.inspectedAt = now;
    state.nextWakeUp = GetNextWakeUpTimePoint();
    DescribeKind(state);
    DescribeItems(now, state.items);
    for (const GroupItemState& item : state.items) {
        if (item.handle == kNoHandle) {
            (item.operation == PERF_OPERATION_BOOST ? state.base.floor : state.base.ceiling) =
                item.value;
        }
    }
}

void PerfGroup::DescribeItems(const TimePoint& now, std::vector<GroupItemState>& items) const {
    const Case group{.workMode = mWorkMode,
                     .top = mAvailableMax,
                     .isBaseLimitAlone = mBaseLimitWasAlone,
                     .queues = {&mBoostBaseQue, &mLimitBaseQue, &mBoostQue, &mLimitQue}};
    const Verdict verdict = Judge(group);
    for (const Source source : {TIMED_BOOST, STANDING_BOOST, TIMED_LIMIT, STANDING_LIMIT}) {
        AppendQueue(group, verdict, source, now, items);
    }
    AppendWaiting(mWaitingQue, items);
    for (GroupItemState& item : items) {
        if (item.Decides()) {
            Foretell(*this, items, now, item);
        }
    }
}

}  // namespace corebeacon
