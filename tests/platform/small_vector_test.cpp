#include "platform/small_vector.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

namespace corebeacon::test {
namespace {

using Element = std::shared_ptr<int>;
using Small = SmallVector<Element, 2>;

Element Number(int value) {
    return std::make_shared<int>(value);
}

std::vector<Element> Listed(const Small& small) {
    return {small.begin(), small.end()};
}

TEST(SmallVector, OutlivesItsAssignmentToItself) {
    Small small;
    for (int value = 0; value < 3; ++value) {
        small.push_back(Number(value));
    }
    const std::vector<Element> before = Listed(small);
    const Small& itself = small;
    small = itself;
    EXPECT_EQ(Listed(small), before);
}

TEST(SmallVector, HoldsWhatAVectorHoldsAfterAnyRunOfChanges) {
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        Small small;
        std::vector<Element> naive;
        for (int step = 0; step < 20; ++step) {
            const std::size_t at = random() % (naive.size() + 1);
            switch (random() % 3) {
                case 0:
                    naive.push_back(Number(step));
                    small.push_back(naive.back());
                    break;
                case 1: {
                    const Element added = Number(step);
                    naive.insert(naive.begin() + static_cast<std::ptrdiff_t>(at), added);
                    small.insert(at, added);
                    break;
                }
                default:
                    if (step % 4 == 0) {
                        naive.resize(at);
                        small.truncate(at);
                    }
                    break;
            }
            ASSERT_EQ(small.size(), naive.size());
            ASSERT_EQ(small.empty(), naive.empty());
            ASSERT_EQ(Listed(small), naive);
        }
    }
}

TEST(SmallVector, GivesItsElementsWayWhenTheyAreDropped) {
    for (const int count : {1, 2, 3}) {
        Small small;
        const Element watched = Number(0);
        for (int i = 0; i < count; ++i) {
            small.push_back(watched);
        }
        EXPECT_EQ(watched.use_count(), count + 1);
        small.truncate(0);
        EXPECT_EQ(watched.use_count(), 1);
        EXPECT_TRUE(small.empty());
    }
}

TEST(SmallVector, LeavesNothingBehindWhereItIsMovedFrom) {
    for (const int count : {0, 1, 2, 5}) {
        Small small;
        std::vector<Element> naive;
        for (int i = 0; i < count; ++i) {
            naive.push_back(Number(i));
            small.push_back(naive.back());
        }
        Small moved(std::move(small));
        EXPECT_EQ(Listed(moved), naive);
        EXPECT_TRUE(small.empty());  // NOLINT: what a moved-from one is like is the question
        small.push_back(Number(9));
        EXPECT_EQ(*small.front(), 9);
        small = std::move(moved);
        EXPECT_EQ(Listed(small), naive);
        EXPECT_TRUE(moved.empty());  // NOLINT
    }
}

TEST(SmallVector, SharesItsElementsWithItsCopies) {
    for (const int count : {1, 4}) {
        Small small;
        small.reserve(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) {
            small.push_back(Number(i));
        }
        const Small copy = small;
        EXPECT_EQ(copy, small);
        EXPECT_EQ(small[0], copy.front());
        EXPECT_EQ(small.back(), copy[copy.size() - 1]);
        small[0] = Number(7);
        EXPECT_FALSE(copy == small);
    }
}

}  // namespace
}  // namespace corebeacon::test
