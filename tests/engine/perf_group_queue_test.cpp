#include "engine/perf_group_queue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <random>
#include <string>
#include <vector>

namespace corebeacon {
namespace {

using ItemLife = PerfGroupQueue::ItemLife;

TimePoint At(int seconds) {
    return TimePoint(std::chrono::seconds(seconds));
}

PerfGroupQueItem Item(unsigned long handle, int value, int start = 0, int end = 1000) {
    return {handle, PERF_OPERATION_BOOST, value, At(start), At(end)};
}

std::string Text(const PerfGroupQueItem& item) {
    return std::to_string(item.value) + ":" + std::to_string(item.handle) + ":" +
           std::to_string(item.startTime.time_since_epoch().count()) + ":" +
           std::to_string(item.endTime.time_since_epoch().count()) + " ";
}

/// "head | queued", as value:handle.
std::string Shape(const PerfGroupQueue& queue) {
    std::string text = queue.HasHead() ? std::to_string(queue.Head().value) + ":" +
                                             std::to_string(queue.Head().handle)
                                       : "none";
    text += " |";
    for (const PerfGroupQueItem& item : queue.Queued()) {
        text += " " + std::to_string(item.value) + ":" + std::to_string(item.handle);
    }
    return text;
}

TEST(PerfGroupQueue, IsEmptyWithoutAnInitialHead) {
    PerfGroupQueue queue(BoostQueCompare, ItemLife::TIMED);
    EXPECT_FALSE(queue.HasHead());
    EXPECT_EQ(queue.Head().handle, kInvalidHandle);
    EXPECT_FALSE(queue.DropHead(7));
}

TEST(PerfGroupQueue, TheFirstItemBecomesHead) {
    PerfGroupQueue queue(BoostQueCompare, ItemLife::TIMED);
    EXPECT_TRUE(queue.Add(Item(1, 5), At(0)));
    EXPECT_EQ(Shape(queue), "5:1 |");
}

TEST(PerfGroupQueue, ATieKeepsTheOlderHead) {
    PerfGroupQueue queue(BoostQueCompare, ItemLife::TIMED);
    queue.Add(Item(1, 5), At(0));
    EXPECT_FALSE(queue.Add(Item(2, 5), At(0)));
    EXPECT_FALSE(queue.Add(Item(3, 5), At(0)));
    EXPECT_EQ(Shape(queue), "5:1 | 5:2 5:3");
}

TEST(PerfGroupQueue, ADisplacedHeadGoesBehindItsEquals) {
    PerfGroupQueue queue(BoostQueCompare, ItemLife::TIMED);
    queue.Add(Item(1, 5), At(0));
    queue.Add(Item(2, 5), At(0));
    EXPECT_TRUE(queue.Add(Item(3, 6), At(0)));
    EXPECT_EQ(Shape(queue), "6:3 | 5:2 5:1");
    queue.DropHead();
    EXPECT_EQ(Shape(queue), "5:2 | 5:1");
}

TEST(PerfGroupQueue, LimitsPutTheLowestValueFirst) {
    PerfGroupQueue queue(LimitQueCompare, ItemLife::TIMED);
    queue.Add(Item(1, 5), At(0));
    EXPECT_FALSE(queue.Add(Item(2, 7), At(0)));
    EXPECT_FALSE(queue.Add(Item(3, 6), At(0)));
    EXPECT_TRUE(queue.Add(Item(4, 4), At(0)));
    EXPECT_EQ(Shape(queue), "4:4 | 5:1 6:3 7:2");
}

TEST(PerfGroupQueue, WaitingItemsAreOrderedByStartAlone) {
    PerfGroupQueue queue(WaitingQueCompare, ItemLife::TIMED);
    queue.Add(Item(1, 5, 20), At(0));
    EXPECT_FALSE(queue.Add(Item(2, 9, 20), At(0)));
    EXPECT_TRUE(queue.Add(Item(3, 1, 10), At(0)));
    EXPECT_EQ(Shape(queue), "1:3 | 9:2 5:1");
}

TEST(PerfGroupQueue, ErasesAllQueuedItemsOfAHandleThatRankEqualAndNoOthers) {
    PerfGroupQueue queue(BoostQueCompare, ItemLife::TIMED);
    queue.Add(Item(9, 9), At(0));
    queue.Add(Item(1, 5, 0), At(0));
    queue.Add(Item(2, 5, 0), At(0));
    queue.Add(Item(1, 5, 3), At(0));
    queue.Add(Item(1, 4, 0), At(0));
    EXPECT_EQ(queue.EraseQueued(Item(1, 5, 8)), 2U);
    EXPECT_EQ(Shape(queue), "9:9 | 5:2 4:1");
    EXPECT_EQ(queue.EraseQueued(Item(1, 5)), 0U);
    EXPECT_EQ(queue.EraseQueued(Item(9, 9)), 0U) << "the head is not queued";
}

TEST(PerfGroupQueue, DropsTheHeadByHandleAlone) {
    PerfGroupQueue queue(BoostQueCompare, ItemLife::TIMED);
    queue.Add(Item(1, 5), At(0));
    queue.Add(Item(2, 4), At(0));
    EXPECT_FALSE(queue.DropHead(2));
    EXPECT_TRUE(queue.DropHead(1));
    EXPECT_EQ(Shape(queue), "4:2 |");
    EXPECT_TRUE(queue.DropHead(2));
    EXPECT_EQ(Shape(queue), "none |");
}

TEST(PerfGroupQueue, ALiveHeadHidesExpiredItemsBehindIt) {
    PerfGroupQueue queue(BoostQueCompare, ItemLife::TIMED);
    queue.Add(Item(1, 9, 0, 50), At(0));
    queue.Add(Item(2, 8, 0, 10), At(0));
    queue.ExpireHead(At(20));
    EXPECT_EQ(Shape(queue), "9:1 | 8:2");
}

TEST(PerfGroupQueue, AnExpiredHeadYieldsToTheBestLiveItem) {
    PerfGroupQueue queue(BoostQueCompare, ItemLife::TIMED);
    queue.Add(Item(1, 9, 0, 20), At(0));
    queue.Add(Item(2, 8, 0, 20), At(0));
    queue.Add(Item(3, 7, 0, 30), At(0));
    queue.Add(Item(4, 6, 0, 10), At(0));
    queue.ExpireHead(At(20));
    EXPECT_EQ(Shape(queue), "7:3 | 6:4");
    queue.ExpireHead(At(30));
    EXPECT_EQ(Shape(queue), "none |");
}

TEST(PerfGroupQueue, ExchangesTheHeadOnlyForAStrictlyBetterItem) {
    PerfGroupQueue queue(BoostQueCompare, ItemLife::UNTIMED, Item(kNoHandle, 5));
    queue.SetHeadValue(6);
    EXPECT_EQ(Shape(queue), "6:" + std::to_string(kNoHandle) + " |");
    queue.Add(Item(1, 4), At(0));
    queue.Add(Item(2, 3), At(0));
    queue.SetHeadValue(4);
    EXPECT_EQ(queue.Head().handle, kNoHandle);
    queue.SetHeadValue(3);
    EXPECT_EQ(Shape(queue), "4:1 | 3:2 3:" + std::to_string(kNoHandle));
}

TEST(PerfGroupQueue, ReplacesEqualsWhateverTheirHandles) {
    PerfGroupQueue queue(BoostQueCompare, ItemLife::UNTIMED, Item(1, 5));
    queue.Add(Item(kNoHandle, 3), At(0));
    queue.Add(Item(2, 3), At(0));
    queue.Add(Item(3, 2), At(0));
    const PerfGroupQueItem* found = queue.FindQueued(kNoHandle);
    ASSERT_NE(found, nullptr);
    queue.ReplaceEqual(*found, Item(kNoHandle, 1));
    EXPECT_EQ(Shape(queue), "5:1 | 2:3 1:" + std::to_string(kNoHandle));
    EXPECT_EQ(queue.FindQueued(2), nullptr);
    queue.ReplaceEqual(*queue.FindQueued(3), Item(4, 2));
    EXPECT_EQ(Shape(queue), "5:1 | 2:4 1:" + std::to_string(kNoHandle));
}

TEST(PerfGroupQueue, AReplacementThatIsStrictlyBetterThanTheHeadTakesItsPlace) {
    PerfGroupQueue queue(BoostQueCompare, ItemLife::UNTIMED, Item(1, 5));
    queue.Add(Item(kNoHandle, 5), At(0));
    queue.Add(Item(2, 5), At(0));
    queue.ReplaceEqual(*queue.FindQueued(kNoHandle), Item(kNoHandle, 7));
    EXPECT_EQ(Shape(queue), "7:" + std::to_string(kNoHandle) + " | 5:1")
        << "the head is no queued item, and stays";
}

std::size_t CountExpired(const PerfGroupQueue& queue, TimePoint now) {
    return static_cast<std::size_t>(
        std::count_if(queue.Queued().begin(), queue.Queued().end(),
                      [now](const PerfGroupQueItem& item) { return item.endTime <= now; }));
}

TEST(PerfGroupQueue, ExpiredItemsBehindALiveHeadNeverExceedTheirBound) {
    constexpr int kBound = static_cast<int>(PerfGroupQueue::kMaxExpired);
    PerfGroupQueue queue(BoostQueCompare, ItemLife::TIMED);
    queue.Add(Item(1, 1000000, 0, 10000000), At(0));
    for (int n = 0; n < kBound; ++n) {
        queue.Add(Item(static_cast<unsigned long>(n) + 2, n % 7, 0, n + 1), At(n));
    }
    // All of them have expired, and stay.
    EXPECT_FALSE(queue.Add(Item(900000, 5, 0, 9000000), At(kBound)));
    EXPECT_EQ(CountExpired(queue, At(kBound)), PerfGroupQueue::kMaxExpired);
    // From here on each newly expired item costs the one that expired first.
    for (int n = 0; n < 100; ++n) {
        const int now = kBound + 2 * n + 2;
        queue.Add(Item(1000000UL + static_cast<unsigned long>(n), 3, 0, now - 1), At(now));
        EXPECT_EQ(CountExpired(queue, At(now)), PerfGroupQueue::kMaxExpired);
        EXPECT_EQ(queue.FindQueued(static_cast<unsigned long>(n) + 2), nullptr);
        EXPECT_NE(queue.FindQueued(static_cast<unsigned long>(n) + 3), nullptr);
    }
    EXPECT_NE(queue.FindQueued(900000), nullptr);
}

TEST(PerfGroupQueue, ManyThatExpireAtOnceAreBroughtDownByTheNextAdd) {
    PerfGroupQueue queue(LimitQueCompare, ItemLife::TIMED);
    queue.Add(Item(1, -1, 0, 1000), At(0));
    for (unsigned long handle = 2; handle < 10000; ++handle) {
        queue.Add(Item(handle, 5, 0, 10), At(0));
    }
    EXPECT_EQ(queue.Queued().size(), 9998U);
    queue.Add(Item(10000, -2, 0, 1000), At(10));
    EXPECT_EQ(CountExpired(queue, At(10)), PerfGroupQueue::kMaxExpired);
    EXPECT_EQ(queue.Queued().size(), PerfGroupQueue::kMaxExpired + 1);
}

TEST(PerfGroupQueue, UntimedItemsAreNeverDroppedForTheirTimes) {
    PerfGroupQueue queue(BoostQueCompare, ItemLife::UNTIMED, Item(kNoHandle, 9));
    for (unsigned long handle = 1; handle <= 5000; ++handle) {
        queue.Add(Item(handle, 5, 0, 0), At(100));
    }
    EXPECT_EQ(queue.Queued().size(), 5000U);
}

/// The same queue as plainly as it can be said.
class NaiveQueue {
public:
    explicit NaiveQueue(PerfGroupQueue::Order order) : mOrder(order) {}

    bool Add(const PerfGroupQueItem& item) {
        bool changed = false;
        if (mItems.empty()) {
            mItems.push_back(item);
            return true;
        }
        if (mOrder(item, mItems.front())) {
            const PerfGroupQueItem former = mItems.front();
            mItems.front() = item;
            Insert(former);
            changed = true;
        } else {
            Insert(item);
        }
        return changed;
    }
    std::size_t EraseQueued(const PerfGroupQueItem& item) {
        return EraseIf([&](const PerfGroupQueItem& other) {
            return other.handle == item.handle && !mOrder(other, item) && !mOrder(item, other);
        });
    }
    void ReplaceEqual(const PerfGroupQueItem& former, const PerfGroupQueItem& item) {
        EraseIf([&](const PerfGroupQueItem& other) {
            return !mOrder(other, former) && !mOrder(former, other);
        });
        Add(item);
    }
    bool DropHead(unsigned long handle) {
        if (mItems.empty() || mItems.front().handle != handle) {
            return false;
        }
        mItems.erase(mItems.begin());
        return true;
    }
    void ExpireHead(TimePoint now) {
        while (!mItems.empty() && mItems.front().endTime <= now) {
            mItems.erase(mItems.begin());
        }
    }
    void SetHeadValueAndPromote(int value) {
        mItems.front().value = value;
        if (mItems.size() > 1 && mOrder(mItems[1], mItems[0])) {
            const PerfGroupQueItem former = mItems.front();
            mItems.erase(mItems.begin());
            Insert(former);
        }
    }
    const std::vector<PerfGroupQueItem>& Items() const { return mItems; }

private:
    void Insert(const PerfGroupQueItem& item) {
        auto position = mItems.begin() + 1;
        while (position != mItems.end() && !mOrder(item, *position)) {
            ++position;
        }
        mItems.insert(position, item);
    }
    template <typename Predicate>
    std::size_t EraseIf(Predicate predicate) {
        if (mItems.empty()) {
            return 0;
        }
        const auto kept = std::remove_if(mItems.begin() + 1, mItems.end(), predicate);
        const auto erased = static_cast<std::size_t>(mItems.end() - kept);
        mItems.erase(kept, mItems.end());
        return erased;
    }
    const PerfGroupQueue::Order mOrder;
    std::vector<PerfGroupQueItem> mItems;  // the head, then the queued ones
};

std::string Text(const PerfGroupQueue& queue) {
    std::string text = queue.HasHead() ? Text(queue.Head()) : "";
    for (const PerfGroupQueItem& item : queue.Queued()) {
        text += Text(item);
    }
    return text;
}

std::string Text(const NaiveQueue& queue) {
    std::string text;
    for (const PerfGroupQueItem& item : queue.Items()) {
        text += Text(item);
    }
    return text;
}

class PerfGroupQueueTwin : public testing::TestWithParam<std::pair<PerfGroupQueue::Order, int>> {};

TEST_P(PerfGroupQueueTwin, BehavesLikeTheNaiveQueue) {
    const auto [order, values] = GetParam();
    for (unsigned int seed = 1; seed <= 20; ++seed) {
        std::mt19937 random(seed);
        const auto pick = [&random](int count) {
            return static_cast<int>(random() % static_cast<unsigned int>(count));
        };
        PerfGroupQueue queue(order, ItemLife::TIMED);
        NaiveQueue naive(order);
        int now = 0;
        for (int step = 0; step < 400; ++step) {
            const PerfGroupQueItem item = Item(static_cast<unsigned long>(pick(12)), pick(values),
                                               now + pick(values), now + pick(40));
            switch (pick(9)) {
                case 0:
                    EXPECT_EQ(queue.EraseQueued(item), naive.EraseQueued(item));
                    break;
                case 1:
                    EXPECT_EQ(queue.DropHead(item.handle), naive.DropHead(item.handle));
                    break;
                case 2:
                    queue.ExpireHead(At(now));
                    naive.ExpireHead(At(now));
                    break;
                case 3:
                    now += pick(10);
                    break;
                case 4:
                    if (pick(4) == 0 && queue.HasHead()) {
                        PerfGroupQueItem added = item;
                        added.value = pick(values);
                        queue.ReplaceEqual(item, added);
                        naive.ReplaceEqual(item, added);
                    }
                    break;
                case 5:
                    if (queue.HasHead()) {
                        queue.SetHeadValue(item.value);
                        naive.SetHeadValueAndPromote(item.value);
                    }
                    break;
                default:
                    EXPECT_EQ(queue.Add(item, At(now)), naive.Add(item));
            }
            ASSERT_EQ(Text(queue), Text(naive)) << "seed " << seed << " step " << step;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Orders, PerfGroupQueueTwin,
                         testing::Values(std::pair{&BoostQueCompare, 1},
                                         std::pair{&BoostQueCompare, 6},
                                         std::pair{&LimitQueCompare, 6},
                                         std::pair{&WaitingQueCompare, 6}));

TEST(PerfGroupQueue, ReleasesAmongVeryManyEqualsWithoutSearchingThem) {
    // 100,000 releases, each in the worst place for a search. A linear search would compare five
    // thousand million items, minutes of work.
    constexpr unsigned long kCount = 100000;
    PerfGroupQueue queue(BoostQueCompare, ItemLife::TIMED);
    for (unsigned long handle = 0; handle <= kCount; ++handle) {
        queue.Add(Item(handle, 5), At(0));
    }
    for (unsigned long handle = kCount; handle > 0; --handle) {
        ASSERT_EQ(queue.EraseQueued(Item(handle, 5)), 1U);
    }
    EXPECT_EQ(Shape(queue), "5:0 |");
}

}  // namespace
}  // namespace corebeacon
