#include "model/naive_group.h"

#include <algorithm>

namespace corebeacon::model {

namespace {

bool HigherValue(const NaiveItem& a, const NaiveItem& b) {
    return a.value > b.value;
}

bool HigherOrEqualValue(const NaiveItem& a, const NaiveItem& b) {
    return a.value >= b.value;
}

bool LowerValue(const NaiveItem& a, const NaiveItem& b) {
    return a.value < b.value;
}

bool EarlierStart(const NaiveItem& a, const NaiveItem& b) {
    return a.start < b.start;
}

bool IsHandle(unsigned long handle) {
    return handle <= ~0UL - 11;
}

bool IsOperation(std::uint32_t operation) {
    return operation == 0 || operation == 1;
}

std::vector<NaiveItem> ItemsOf(const PerfGroupCommand& command) {
    std::vector<NaiveItem> items;
    for (const auto& [operation, value] : command.values) {
        items.push_back({command.handle, operation, value, command.startTime, command.endTime});
    }
    return items;
}

bool HasOneOrTwo(const PerfGroupCommand& command) {
    return command.values.size() == 1 || command.values.size() == 2;
}

std::string HandleText(const NaiveItem& item) {
    return item.handle == ~0UL ? "*" : std::to_string(item.handle % 1024);
}

std::string ListText(const std::string& label, const NaiveQueue& queue) {
    std::string text = label + "(" + std::to_string(queue.others.size()) + ") ";
    for (const NaiveItem& item : queue.others) {
        text += std::to_string(item.value) + ":" + HandleText(item) + " ";
    }
    return text;
}

std::string HeadText(const std::string& label, const NaiveQueue& queue) {
    if (!queue.head) {
        return "";
    }
    return label + "(" + std::to_string(queue.head->value) + ", " + HandleText(*queue.head) + ")";
}

bool Changed(const std::optional<NaiveItem>& before, const std::optional<NaiveItem>& after) {
    if (before && after) {
        return before->value != after->value;
    }
    return before.has_value() != after.has_value();
}

}  // namespace

NaiveGroup::NaiveGroup(const PerfGroupConfig& config, std::uint32_t workMode, Mistake mistake)
    : mName(config.name),
      mMin(config.availableMin),
      mMax(config.availableMax),
      mClamp(config.rangeFlag),
      mMistake(mistake),
      mMode(workMode),
      mBoosts(mistake == Mistake::YOUNGER_EQUAL_BOOST_WINS ? HigherOrEqualValue : HigherValue),
      mLimits(LowerValue),
      mBaseBoosts(HigherValue),
      mBaseLimits(LowerValue),
      mWaiting(EarlierStart),
      mBase{config.baseMin, config.baseMax},
      mEffective(mBase),
      mFinal(mBase) {
    mBaseBoosts.head = NaiveItem{~0UL, 0, config.baseMin, {}, {}};
    mBaseLimits.head = NaiveItem{~0UL, 1, config.baseMax, {}, {}};
}

NaiveGroup::Verdict NaiveGroup::Judge(const PerfGroupCommand& command) const {
    if (!IsHandle(command.handle) || command.endTime < command.startTime) {
        return Verdict::MALFORMED;
    }
    if (command.endTime <= mNow) {
        return Verdict::OVER;
    }
    return HasOneOrTwo(command) ? Verdict::CARRY_OUT : Verdict::MALFORMED;
}

int NaiveGroup::Add(const NaiveItem& item) {
    return (item.operation == 0 ? mBoosts : mLimits).Add(item) ? 1 : 0;
}

int NaiveGroup::ShortTermStart(const PerfGroupCommand& command) {
    const Verdict verdict = Judge(command);
    if (verdict != Verdict::CARRY_OUT) {
        return verdict == Verdict::OVER ? 0 : -1;
    }
    bool changed = false;
    for (const NaiveItem& item : ItemsOf(command)) {
        if (!IsOperation(item.operation)) {
            return -1;
        }
        if (item.start > mNow) {
            mWaiting.Add(item);
        } else if (Add(item) == 1) {
            changed = true;
        }
    }
    return changed ? WriteShortTerm() : 0;
}

int NaiveGroup::ShortTermStop(const PerfGroupCommand& command) {
    const Verdict verdict = Judge(command);
    if (verdict != Verdict::CARRY_OUT) {
        return verdict == Verdict::OVER ? 0 : -1;
    }
    if (mMistake != Mistake::STOP_FORGETS_WAITING_ONES) {
        mWaiting.Remove(command.handle, [&command](const NaiveItem& other) {
            return other.start == command.startTime;
        });
    }
    bool changed = false;
    for (const NaiveItem& item : ItemsOf(command)) {
        if (!IsOperation(item.operation)) {
            return -1;
        }
        const auto sameValue = [&item](const NaiveItem& other) {
            return other.value == item.value;
        };
        if ((item.operation == 0 ? mBoosts : mLimits).Remove(item.handle, sameValue)) {
            changed = true;
        }
    }
    return changed ? WriteShortTerm() : 0;
}

bool NaiveGroup::IsOver(const NaiveItem& item) const {
    return mMistake == Mistake::ENDS_ONE_TICK_LATE ? item.end < mNow : item.end <= mNow;
}

void NaiveGroup::ExpireHead(NaiveQueue& queue) {
    while (queue.head && IsOver(*queue.head)) {
        queue.Promote();
    }
}

void NaiveGroup::BeginWaiting(const NaiveItem& item) {
    if (!IsOver(item)) {
        Add(item);
    }
}

int NaiveGroup::ShortTermTimeOut(TimePoint now) {
    mNow = now;
    const std::optional<NaiveItem> boost = mBoosts.head;
    const std::optional<NaiveItem> limit = mLimits.head;
    ExpireHead(mBoosts);
    ExpireHead(mLimits);
    while (mWaiting.head && mWaiting.head->start <= now) {
        const NaiveItem due = *mWaiting.head;
        mWaiting.Promote();
        BeginWaiting(due);
    }
    const bool changed = Changed(boost, mBoosts.head) || Changed(limit, mLimits.head);
    return changed ? WriteShortTerm() : 0;
}

int NaiveGroup::LongTermStart(const PerfGroupCommand& command) {
    if (!IsHandle(command.handle) || !HasOneOrTwo(command)) {
        return -1;
    }
    bool changed = false;
    for (const NaiveItem& item : ItemsOf(command)) {
        if (!IsOperation(item.operation)) {
            return -1;
        }
        if ((item.operation == 0 ? mBaseBoosts : mBaseLimits).Add(item)) {
            changed = true;
        }
    }
    return changed ? WriteAll() : 0;
}

int NaiveGroup::LongTermStop(const PerfGroupCommand& command) {
    if (!IsHandle(command.handle) || !HasOneOrTwo(command)) {
        return -1;
    }
    bool changed = false;
    for (const NaiveItem& item : ItemsOf(command)) {
        if (!IsOperation(item.operation)) {
            return -1;
        }
        const auto sameValue = [&item](const NaiveItem& other) {
            return other.value == item.value;
        };
        if ((item.operation == 0 ? mBaseBoosts : mBaseLimits).Remove(item.handle, sameValue)) {
            changed = true;
        }
    }
    return changed ? WriteAll() : 0;
}

int NaiveGroup::BaseSet(const PerfGroupCommand& command) {
    if (command.values.size() != 1 || command.values.begin()->first != 0) {
        return -1;
    }
    const int value = command.values.begin()->second;
    const int before = mBaseBoosts.head->value;
    if (mBaseBoosts.head->handle == ~0UL) {
        mBaseBoosts.head->value = value;
    } else {
        const auto isDefault = [](const NaiveItem& item) { return item.handle == ~0UL; };
        const auto former =
            std::find_if(mBaseBoosts.others.begin(), mBaseBoosts.others.end(), isDefault);
        const int formerValue = former->value;
        const bool spare = mMistake == Mistake::BASE_SET_SPARES_EQUALS;
        std::erase_if(mBaseBoosts.others, [&](const NaiveItem& item) {
            return item.value == formerValue && (!spare || isDefault(item));
        });
        mBaseBoosts.File({~0UL, 0, value, command.startTime, command.endTime});
    }
    if (!mBaseBoosts.others.empty() && mBaseBoosts.others.front().value > mBaseBoosts.head->value) {
        const NaiveItem former = *mBaseBoosts.head;
        mBaseBoosts.Promote();
        mBaseBoosts.File(former);
    }
    return mBaseBoosts.head->value != before ? WriteAll() : 0;
}

int NaiveGroup::SetWorkMode(std::uint32_t workMode) {
    mMode = workMode;
    if (SettleBase() < 0) {
        return -1;
    }
    SettleShortTerm();
    if (SettleFinal() < 0) {
        return -1;
    }
    Write();
    return 0;
}

int NaiveGroup::SetSuspend(bool suspend) {
    mSuspended = suspend;
    if (suspend) {
        calls.push_back(kCloseCall);
    } else {
        Write();
    }
    return 0;
}

int NaiveGroup::Validate(std::uint32_t type, OperationValueMap& values) const {
    for (auto& [operation, value] : values) {
        const bool known = type <= 3 ? operation <= 1 : type == 9 && operation == 0;
        if (!known) {
            return -1;
        }
        if (value < mMin || value > mMax) {
            if (!mClamp) {
                return -1;
            }
            value = value < mMin ? mMin : mMax;
        }
    }
    if (values.size() == 2 && values.at(PERF_OPERATION_BOOST) > values.at(PERF_OPERATION_LIMIT)) {
        return -1;
    }
    return 0;
}

int NaiveGroup::WriteShortTerm() {
    SettleShortTerm();
    if (SettleFinal() < 0) {
        return -1;
    }
    Write();
    return 0;
}

int NaiveGroup::WriteAll() {
    const int changed = SettleBase();
    return changed == 1 ? WriteShortTerm() : changed;
}

int NaiveGroup::SettleBase() {
    Pair pair{mBaseBoosts.head->value, mBaseLimits.head->value};
    if (pair.boost > pair.limit) {
        if (mMode > 2) {
            return -1;
        }
        if (mMode == 1 && mMistake != Mistake::MODE_1_LIMIT_WINS) {
            pair.limit = pair.boost;
        } else {
            pair.boost = pair.limit;
        }
    }
    const bool changed = !(pair == mBase);
    mBase = pair;
    return changed ? 1 : 0;
}

void NaiveGroup::SettleShortTerm() {
    mEffective = mBase;
    if (mBoosts.head) {
        mEffective.boost = std::max(mBase.boost, mBoosts.head->value);
    }
    if (mMode == 2) {
        return;
    }
    if (!mLimits.head) {
        if (mBoosts.head) {
            mEffective.limit = mMax;
        }
        return;
    }
    mEffective.limit = std::max(mBase.limit, mLimits.head->value);
    if (mMode == 0 && mBaseLimits.others.empty()) {
        mEffective.limit = mLimits.head->value;
        mEffective.boost = std::min(mEffective.boost, mEffective.limit);
    }
}

int NaiveGroup::SettleFinal() {
    if (mMode > 2) {
        return -1;
    }
    mFinal = mEffective;
    if (mFinal.limit < mFinal.boost) {
        if (mMode == 2) {
            mFinal.boost = mFinal.limit;
        } else {
            mFinal.limit = mFinal.boost;
        }
    }
    return 0;
}

void NaiveGroup::Write() {
    if (!mSuspended || mMistake == Mistake::SUSPENDED_GROUP_WRITES) {
        calls.push_back({mFinal.boost, mFinal.limit, 0});
    }
}

TimePoint NaiveGroup::NextWakeUp() const {
    std::vector<TimePoint> times;
    if (mBoosts.head) {
        times.push_back(mBoosts.head->end);
    }
    if (mLimits.head) {
        times.push_back(mLimits.head->end);
    }
    if (mWaiting.head) {
        const bool late = mMistake == Mistake::WAITING_ONE_WAKES_AT_ITS_END;
        times.push_back(late ? mWaiting.head->end : mWaiting.head->start);
    }
    return times.empty() ? TimePoint() : *std::min_element(times.begin(), times.end());
}

std::string NaiveGroup::Dump() const {
    const auto range = [](const Pair& pair) {
        return std::to_string(pair.boost) + "~" + std::to_string(pair.limit);
    };
    return mName + ": " + HeadText("boostBase", mBaseBoosts) + HeadText("limitBase", mBaseLimits) +
           "effectiveBase: " + range(mBase) + " " + HeadText("boost", mBoosts) +
           HeadText("limit", mLimits) + "effective: " + range(mEffective) + "\n" +
           ListText("boostBaseList", mBaseBoosts) + ListText("limitBaseList", mBaseLimits) +
           ListText("boostList", mBoosts) + ListText("limitList", mLimits) +
           "final: " + range(mFinal) + "\n";
}

}  // namespace corebeacon::model
