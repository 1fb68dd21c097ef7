/// What a group must do, said as plainly as possible: lists that are searched from the front, and
/// nothing remembered that can be looked up. Nothing here is shared with the engine but the plain
/// records that go in. Owned by a test, used by one thread.
#pragma once

#include <algorithm>
#include <array>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "engine/perf_group.h"

namespace corebeacon::model {

/// A wrong turn that can be planted in the model, to show that the comparison would notice.
enum class Mistake {
    NONE,
    YOUNGER_EQUAL_BOOST_WINS,
    ENDS_ONE_TICK_LATE,
    STOP_FORGETS_WAITING_ONES,
    BASE_SET_SPARES_EQUALS,
    MODE_1_LIMIT_WINS,
    SUSPENDED_GROUP_WRITES,
    WAITING_ONE_WAKES_AT_ITS_END,
};

/// A call of the group's kind: {boost, limit, 0} is a write, {0, 0, 1} closes the nodes.
using KindCall = std::array<int, 3>;
inline constexpr KindCall kCloseCall{0, 0, 1};

struct NaiveItem {
    unsigned long handle = 0;
    std::uint32_t operation = 0;
    int value = 0;
    TimePoint start;
    TimePoint end;
};

/// The best item, and the others from the next best to the worst.
class NaiveQueue {
public:
    using Better = std::function<bool(const NaiveItem&, const NaiveItem&)>;
    explicit NaiveQueue(Better better) : mBetter(std::move(better)) {}

    /// Whether the head changed.
    bool Add(const NaiveItem& item) {
        if (head && !mBetter(item, *head)) {
            File(item);
            return false;
        }
        if (head) {
            File(*head);
        }
        head = item;
        return true;
    }

    /// Takes out what `handle` holds: others by `matches`, the head by the handle alone.
    bool Remove(unsigned long handle, const std::function<bool(const NaiveItem&)>& matches) {
        std::erase_if(
            others, [&](const NaiveItem& item) { return item.handle == handle && matches(item); });
        if (!head || head->handle != handle) {
            return false;
        }
        Promote();
        return true;
    }

    void Promote() {
        head.reset();
        if (!others.empty()) {
            head = others.front();
            others.erase(others.begin());
        }
    }

    /// Behind all that are as good.
    void File(const NaiveItem& item) {
        auto at = others.begin();
        while (at != others.end() && !mBetter(item, *at)) {
            ++at;
        }
        others.insert(at, item);
    }

    std::optional<NaiveItem> head;
    std::vector<NaiveItem> others;

private:
    Better mBetter;
};

class NaiveGroup {
public:
    NaiveGroup(const PerfGroupConfig& config, std::uint32_t workMode,
               Mistake mistake = Mistake::NONE);

    void TellTime(TimePoint now) { mNow = now; }
    int ShortTermStart(const PerfGroupCommand& command);
    int ShortTermStop(const PerfGroupCommand& command);
    int ShortTermTimeOut(TimePoint now);
    int LongTermStart(const PerfGroupCommand& command);
    int LongTermStop(const PerfGroupCommand& command);
    int BaseSet(const PerfGroupCommand& command);
    int SetWorkMode(std::uint32_t workMode);
    int SetSuspend(bool suspend);
    int Validate(std::uint32_t type, OperationValueMap& values) const;
    int WriteShortTerm();
    int WriteAll();

    TimePoint NextWakeUp() const;
    std::string Dump() const;

    /// What the kind was told since the last look.
    std::vector<KindCall> calls;

private:
    enum class Verdict { CARRY_OUT, OVER, MALFORMED };
    struct Pair {
        int boost = 0;
        int limit = 0;
        bool operator==(const Pair&) const = default;
    };

    Verdict Judge(const PerfGroupCommand& command) const;
    int Add(const NaiveItem& item);
    void ExpireHead(NaiveQueue& queue);
    void BeginWaiting(const NaiveItem& item);
    bool IsOver(const NaiveItem& item) const;
    int SettleBase();
    void SettleShortTerm();
    int SettleFinal();
    void Write();

    std::string mName;
    int mMin;
    int mMax;
    bool mClamp;
    Mistake mMistake;
    std::uint32_t mMode;
    bool mSuspended = false;
    TimePoint mNow;
    NaiveQueue mBoosts, mLimits, mBaseBoosts, mBaseLimits, mWaiting;
    Pair mBase, mEffective, mFinal;
};

}  // namespace corebeacon::model
