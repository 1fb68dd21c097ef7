#include "engine/expiry_index.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <random>
#include <vector>

namespace corebeacon {
namespace {

TimePoint At(int seconds) {
    return TimePoint(std::chrono::seconds(seconds));
}

TEST(ExpiryIndex, NothingIsInExcessWhileEveryItemIsLive) {
    ExpiryIndex<int> index(1);
    for (int item = 0; item < 10; ++item) {
        index.Add(At(10 + item), item);
    }
    EXPECT_FALSE(index.FindExcess(At(9)).has_value());
}

TEST(ExpiryIndex, AsManyExpiredItemsAsPermittedMayStay) {
    ExpiryIndex<int> index(2);
    index.Add(At(1), 1);
    index.Add(At(2), 2);
    index.Add(At(9), 9);
    EXPECT_FALSE(index.FindExcess(At(8)).has_value());
}

TEST(ExpiryIndex, AnEndAtThisInstantCountsAsExpired) {
    ExpiryIndex<int> index(0);
    index.Add(At(1), 1);
    EXPECT_FALSE(index.FindExcess(At(1) - std::chrono::nanoseconds(1)).has_value());
    EXPECT_EQ(index.FindExcess(At(1)), 1);
}

TEST(ExpiryIndex, TheItemThatExpiredFirstIsInExcessFirst) {
    ExpiryIndex<int> index(1);
    auto third = index.Add(At(3), 3);
    auto first = index.Add(At(1), 1);
    auto second = index.Add(At(2), 2);
    EXPECT_EQ(index.FindExcess(At(5)), 1);
    index.Remove(first);
    EXPECT_EQ(index.FindExcess(At(5)), 2);
    index.Remove(second);
    EXPECT_FALSE(index.FindExcess(At(5)).has_value());
    index.Remove(third);
    EXPECT_FALSE(index.FindExcess(At(5)).has_value());
}

TEST(ExpiryIndex, ItemsThatArriveExpiredCount) {
    ExpiryIndex<int> index(1);
    index.Add(At(3), 3);
    index.Add(At(4), 4);
    EXPECT_EQ(index.FindExcess(At(5)), 3);
    index.Add(At(2), 2);
    EXPECT_EQ(index.FindExcess(At(5)), 2);
}

TEST(ExpiryIndex, RemovingALiveItemDoesNotChangeTheCountOfExpiredOnes) {
    ExpiryIndex<int> index(1);
    index.Add(At(1), 1);
    index.Add(At(2), 2);
    auto live = index.Add(At(9), 9);
    EXPECT_EQ(index.FindExcess(At(5)), 1);
    index.Remove(live);
    EXPECT_EQ(index.FindExcess(At(5)), 1);
}

TEST(ExpiryIndex, TheCountGoesOnWhereTheLastOneEnded) {
    ExpiryIndex<int> index(2);
    for (int item = 1; item <= 4; ++item) {
        index.Add(At(item), item);
    }
    EXPECT_FALSE(index.FindExcess(At(2)).has_value());
    EXPECT_EQ(index.FindExcess(At(3)), 1);
}

TEST(ExpiryIndex, AnEarlierTimeIsTakenForTheLatest) {
    ExpiryIndex<int> index(0);
    index.Add(At(2), 2);
    index.Add(At(1), 1);
    EXPECT_EQ(index.FindExcess(At(2)), 1);
    EXPECT_EQ(index.FindExcess(At(0)), 1);
}

TEST(ExpiryIndex, CountsLikeAWalkOverAllItems) {
    using Index = ExpiryIndex<int>;
    for (unsigned int seed = 1; seed <= 20; ++seed) {
        std::mt19937 random(seed);
        const auto pick = [&random](unsigned int count) {
            return static_cast<int>(random() % count);
        };
        Index index(5);
        std::vector<Index::Iterator> entries;
        int now = 0;
        for (int step = 0; step < 500; ++step) {
            now += pick(3) == 0 ? pick(4) : 0;
            if (pick(4) == 0 && !entries.empty()) {
                const auto victim =
                    entries.begin() + pick(static_cast<unsigned int>(entries.size()));
                index.Remove(*victim);
                entries.erase(victim);
            } else {
                const int end = now + pick(30) - 5;
                entries.push_back(index.Add(At(end), end));
            }
            const auto expired = std::count_if(entries.begin(), entries.end(), [now](auto entry) {
                return entry->first <= At(now);
            });
            const std::optional<int> excess = index.FindExcess(At(now));
            ASSERT_EQ(excess.has_value(), expired > 5) << "seed " << seed << " step " << step;
            if (excess.has_value()) {
                const auto first =
                    std::min_element(entries.begin(), entries.end(),
                                     [](auto a, auto b) { return a->first < b->first; });
                ASSERT_EQ(*excess, (*first)->second);
            }
        }
    }
}

}  // namespace
}  // namespace corebeacon
