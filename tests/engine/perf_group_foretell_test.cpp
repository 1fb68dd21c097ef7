// What a group foretells of itself, against what really becomes of it.
#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "engine/recording_group.h"
#include "support/silent_log.h"
#include "support/sizes.h"

namespace corebeacon::test {
namespace {

/// One thing that happens to a group.
struct Step {
    enum Kind { SHORT_START, SHORT_STOP, LONG_START, LONG_STOP, BASE_SET, WORK_MODE, PASS };
    Kind kind = PASS;
    int at = 0;  ///< seconds
    PerfGroupCommand command;
    PerfWorkMode workMode = PERF_WORK_MODE_0;
};

/// What the worker does between two commands.
void PassTime(RecordingGroup& group, TimePoint until) {
    for (TimePoint wakeUp = group.GetNextWakeUpTimePoint();
         wakeUp != TimePoint{} && wakeUp <= until; wakeUp = group.GetNextWakeUpTimePoint()) {
        group.ShortTermTimeOut(wakeUp);
    }
}

void Play(const Step& step, RecordingGroup& group) {
    PassTime(group, At(step.at));
    group.UpdateCurrTimePoint(At(step.at));
    switch (step.kind) {
        case Step::SHORT_START:
            group.ShortTermStart(step.command);
            break;
        case Step::SHORT_STOP:
            group.ShortTermStop(step.command);
            break;
        case Step::LONG_START:
            group.LongTermStart(step.command);
            break;
        case Step::LONG_STOP:
            group.LongTermStop(step.command);
            break;
        case Step::BASE_SET:
            group.BaseSet(step.command);
            break;
        case Step::WORK_MODE:
            group.SetWorkMode(step.workMode);
            break;
        case Step::PASS:
            break;
    }
}

/// Makes a life of a group: few values and few times, so that they meet.
class Life {
public:
    explicit Life(std::uint64_t seed) : mRandom(seed) {
        const int length = 3 + Below(25);
        for (int i = 0; i < length; ++i) {
            mNow += Below(3);
            steps.push_back(Next());
        }
    }

    std::vector<Step> steps;

    /// The commands that were started and not stopped, by handle.
    std::map<unsigned long, Step> running;

    std::unique_ptr<RecordingGroup> Relive() const {
        auto group = std::make_unique<RecordingGroup>(MakeGroupConfig(), PERF_WORK_MODE_0);
        for (const Step& step : steps) {
            Play(step, *group);
        }
        return group;
    }

    int Now() const { return mNow; }

private:
    int Below(int end) { return static_cast<int>(mRandom() % static_cast<std::uint64_t>(end)); }
    int Value() {
        static constexpr int kValues[] = {100, 300, 800, 801, 1500, 2000, 2500, 3000};
        return kValues[Below(8)];
    }

    OperationValueMap Values() {
        const int lower = Value();
        const int higher = std::max(lower, Value());
        const int kind = Below(3);
        return kind == 0 ? Boost(lower) : kind == 1 ? Limit(lower) : Both(lower, higher);
    }

    Step Next() {
        Step step;
        step.at = mNow;
        const int kind = Below(12);
        if (kind < 4) {
            step.kind = Step::SHORT_START;
            const int start = mNow + (Below(3) == 0 ? Below(5) : 0);
            step.command = Timed(++mLastHandle, start, start + 1 + Below(10), Values());
            running[mLastHandle] = step;
        } else if (kind < 7) {
            step.kind = Step::LONG_START;
            step.command = Standing(++mLastHandle, Values());
            step.command.startTime = At(mNow);
            running[mLastHandle] = step;
        } else if (kind < 9 && !running.empty()) {
            auto chosen = running.begin();
            std::advance(chosen, Below(static_cast<int>(running.size())));
            step.command = chosen->second.command;
            step.kind =
                chosen->second.kind == Step::LONG_START ? Step::LONG_STOP : Step::SHORT_STOP;
            running.erase(chosen);
        } else if (kind == 9) {
            step.kind = Step::BASE_SET;
            step.command = Standing(kNoHandle, Boost(Value()));
        } else if (kind == 10) {
            step.kind = Step::WORK_MODE;
            step.workMode = static_cast<PerfWorkMode>(Below(3));
        }
        return step;
    }

    std::mt19937_64 mRandom;
    int mNow = 0;
    unsigned long mLastHandle = 0;
};

GroupPair InForce(const PerfGroup& group) {
    return {group.GetFinalBoostValue(), group.GetFinalLimitValue()};
}

std::string Text(const GroupPair& pair) {
    return std::to_string(pair.floor) + "~" + std::to_string(pair.ceiling);
}

/// What the group wrote last, once it has written anything.
GroupPair Written(const RecordingGroup& group, const GroupPair& before) {
    return group.writes.empty() ? before
                                : GroupPair{group.writes.back().first, group.writes.back().second};
}

/// Counts what the lives had to show, lest the comparison runs dry unnoticed.
struct Tally {
    long releases = 0;
    long ends = 0;
    long changes = 0;
};

void CompareReleases(const Life& life, const GroupItemState& item, Tally& tally) {
    const auto command = life.running.find(item.handle);
    ASSERT_NE(command, life.running.end());
    const auto group = life.Relive();
    const GroupPair before = InForce(*group);
    Step stop = command->second;
    stop.at = life.Now();
    stop.kind = item.isTimed ? Step::SHORT_STOP : Step::LONG_STOP;
    Play(stop, *group);
    PassTime(*group, At(stop.at));  // what is overdue
    ++tally.releases;
    tally.changes += before == item.afterRelease ? 0 : 1;
    EXPECT_EQ(Text(item.afterRelease), Text(Written(*group, before)))
        << "after the release of " << item.handle;
}

void CompareEnds(const Life& life, const GroupItemState& item, Tally& tally) {
    const auto group = life.Relive();
    const GroupPair before = InForce(*group);
    PassTime(*group, item.end);
    ++tally.ends;
    tally.changes += before == item.afterEnd ? 0 : 1;
    EXPECT_EQ(Text(item.afterEnd), Text(Written(*group, before)))
        << "after the end of " << item.handle;
}

/// Each side has one that decides it, whose value it is; a ceiling may be the top of the range.
void CheckDeciders(const GroupState& state) {
    int floors = 0;
    int ceilings = 0;
    for (const GroupItemState& item : state.items) {
        if (item.decidesFloor) {
            ++floors;
            EXPECT_EQ(item.value, state.inForce.floor) << item.handle;
        }
        if (item.decidesCeiling) {
            ++ceilings;
            EXPECT_TRUE(item.value == state.inForce.ceiling ||
                        (item.operation == PERF_OPERATION_BOOST && item.isTimed &&
                         state.inForce.ceiling == state.rangeMax))
                << item.handle;
        }
        const bool isOwnSide =
            item.operation == PERF_OPERATION_BOOST ? item.decidesFloor : item.decidesCeiling;
        EXPECT_EQ(item.rule == GroupRule::IN_FORCE, isOwnSide) << item.handle;
    }
    EXPECT_EQ(floors, 1);
    EXPECT_EQ(ceilings, 1);
}

void LookInto(std::uint64_t seed, Tally& tally) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const Life life(seed);
    const auto group = life.Relive();
    PassTime(*group, At(life.Now()));
    GroupState state;
    group->Inspect(At(life.Now()), state);
    EXPECT_EQ(Text(state.inForce), Text(InForce(*group)));
    CheckDeciders(state);
    for (const GroupItemState& item : state.items) {
        if (!item.Decides()) {
            continue;
        }
        if (item.handle == GroupState::kNobody) {
            EXPECT_EQ(Text(item.afterRelease), Text(state.inForce));
            continue;
        }
        CompareReleases(life, item, tally);
        if (item.isTimed) {
            CompareEnds(life, item, tally);
        }
    }
}

TEST(PerfGroupForetells, WhatReallyIsWrittenAfterTheWinnersReleaseAndEnd) {
    const SilentLog silent;
    const long lives = SizeFromEnvironment("COREBEACON_FORETOLD_LIVES", 5000);
    Tally tally;
    for (long life = 1; life <= lives && !testing::Test::HasFailure(); ++life) {
        LookInto(static_cast<std::uint64_t>(life), tally);
    }
    EXPECT_GT(tally.releases, lives / 2);
    EXPECT_GT(tally.ends, lives / 10);
    EXPECT_GT(tally.changes, lives / 2);
}

}  // namespace
}  // namespace corebeacon::test
