/// The rules by which what is asked of a group becomes the pair that it writes, step by step. They
/// are written once for two readers: the group computes with plain numbers, the inspection with
/// numbers that know whose they are, and looks on as one gives way to another. Free functions
/// without state; any thread.
#pragma once

#include "corebeacon/group_state.h"
#include "corebeacon/perf_types.h"

namespace corebeacon::arbitration {

/// Looks on and keeps nothing. A witness is told what loses its side of the pair to what, and why.
struct NoWitness {
    template <typename Value>
    void FloorLost(const Value& /*loser*/, const Value& /*winner*/, GroupRule /*rule*/) const {}
    template <typename Value>
    void CeilingLost(const Value& /*loser*/, const Value& /*winner*/, GroupRule /*rule*/) const {}
};

/// A floor and a ceiling in the making.
template <typename Value>
struct Sides {
    Value boost;
    Value limit;
};

/// The best of the timed requests, null for none.
template <typename Value>
struct TimedHeads {
    const Value* boost = nullptr;
    const Value* limit = nullptr;
};

/// Why a floor gives way to another that is at least as high.
template <typename Value>
GroupRule OutbidRule(const Value& lower, const Value& higher) {
    return lower == higher ? GroupRule::EQUAL : GroupRule::LOWER_BOOST;
}

/// Settles a standing floor above a standing ceiling; false for an unknown work mode.
template <typename Value, typename Witness>
bool SettleStanding(PerfWorkMode mode, Sides<Value>& standing, Witness&& witness) {
    if (!(standing.limit < standing.boost)) {
        return true;
    }
    switch (mode) {
        case PERF_WORK_MODE_1:
            witness.CeilingLost(standing.limit, standing.boost, GroupRule::BOOST_WINS);
            standing.limit = standing.boost;
            return true;
        case PERF_WORK_MODE_0:
        case PERF_WORK_MODE_2:
            witness.FloorLost(standing.boost, standing.limit, GroupRule::LIMIT_WINS);
            standing.boost = standing.limit;
            return true;
        default:
            return false;
    }
}

/// The floor after the timed boost, if there is one.
template <typename Value, typename Witness>
Value SettleTimedBoost(const Value& standing, const Value* timed, Witness&& witness) {
    if (timed == nullptr) {
        return standing;
    }
    if (standing < *timed) {
        witness.FloorLost(standing, *timed, GroupRule::LOWER_BOOST);
        return *timed;
    }
    witness.FloorLost(*timed, standing, OutbidRule(*timed, standing));
    return standing;
}

/// Puts what the timed requests make of the standing ceiling into `effective`, whose floor is
/// settled already. `top` is the highest value there is. `isAlone`: nobody holds a standing limit,
/// only the base value is there.
template <typename Value, typename Witness>
void SettleTimedLimit(PerfWorkMode mode, const TimedHeads<Value>& timed, const Value& top,
                      bool isAlone, Sides<Value>& effective, Witness&& witness) {
    if (mode == PERF_WORK_MODE_2) {
        if (timed.limit != nullptr) {
            witness.CeilingLost(*timed.limit, effective.limit, GroupRule::IGNORED);
        }
    } else if (timed.limit == nullptr) {
        if (timed.boost != nullptr) {
            // A short burst escapes the standing ceiling.
            witness.CeilingLost(effective.limit, top, GroupRule::ESCAPED);
            effective.limit = top;
        }
    } else if (mode == PERF_WORK_MODE_0 && isAlone) {
        // The timed ceiling counts in full, floors included.
        witness.CeilingLost(effective.limit, *timed.limit, GroupRule::REPLACED);
        effective.limit = *timed.limit;
        if (*timed.limit < effective.boost) {
            witness.FloorLost(effective.boost, *timed.limit, GroupRule::LIMIT_WINS);
            effective.boost = *timed.limit;
        }
    } else if (effective.limit < *timed.limit) {
        witness.CeilingLost(effective.limit, *timed.limit, GroupRule::REPLACED);
        effective.limit = *timed.limit;
    } else {
        const bool isEqual = effective.limit == *timed.limit;
        witness.CeilingLost(*timed.limit, effective.limit,
                            isEqual ? GroupRule::EQUAL : GroupRule::NOT_TIGHTENING);
    }
}

/// Settles a floor that is still above its ceiling; false for an unknown work mode.
template <typename Value, typename Witness>
bool SettleFinal(PerfWorkMode mode, Sides<Value>& pair, Witness&& witness) {
    const bool isCrossed = pair.limit < pair.boost;
    switch (mode) {
        case PERF_WORK_MODE_0:
        case PERF_WORK_MODE_1:
            if (isCrossed) {
                witness.CeilingLost(pair.limit, pair.boost, GroupRule::BOOST_WINS);
                pair.limit = pair.boost;
            }
            return true;
        case PERF_WORK_MODE_2:
            if (isCrossed) {
                witness.FloorLost(pair.boost, pair.limit, GroupRule::LIMIT_WINS);
                pair.boost = pair.limit;
            }
            return true;
        default:
            return false;
    }
}

}  // namespace corebeacon::arbitration
