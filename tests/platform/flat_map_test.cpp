#include "platform/flat_map.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <utility>
#include <vector>

namespace corebeacon::test {
namespace {

using Inner = FlatMap<unsigned int, int, 2>;
using Flat = FlatMap<unsigned int, Inner, 1>;
using Naive = std::map<unsigned int, std::map<unsigned int, int>>;

std::vector<std::pair<unsigned int, int>> Listed(const auto& values) {
    return {values.begin(), values.end()};
}

void ExpectSame(const Flat& flat, const Naive& naive) {
    ASSERT_EQ(flat.size(), naive.size());
    ASSERT_EQ(flat.empty(), naive.empty());
    auto expected = naive.begin();
    for (const auto& [key, values] : flat) {
        ASSERT_EQ(key, expected->first);
        ASSERT_EQ(Listed(values), Listed(expected->second));
        ++expected;
    }
    if (!naive.empty()) {
        ASSERT_EQ(flat.back().first, naive.rbegin()->first);
    }
}

TEST(FlatMap, HoldsWhatAMapHoldsAfterAnyRunOfChanges) {
    std::mt19937 numbers(5);
    const auto random = [&numbers] { return static_cast<unsigned int>(numbers()); };
    for (int round = 0; round < 500; ++round) {
        Flat flat;
        Naive naive;
        const unsigned int keys = 1 + random() % 6;  // from all inside to all on the heap
        for (int step = 0; step < 20; ++step) {
            const unsigned int key = random() % keys;
            const unsigned int inner = random() % keys;
            switch (random() % 4) {
                case 0:
                    flat[key][inner] = step;
                    naive[key][inner] = step;
                    break;
                case 1: {
                    const auto [entry, isNew] = flat.emplace(key, Inner{{inner, step}});
                    ASSERT_EQ(isNew, naive.emplace(key, std::map{std::pair{inner, step}}).second);
                    ASSERT_EQ(entry->first, key);
                    break;
                }
                case 2:
                    ASSERT_EQ(flat.erase(key), naive.erase(key));
                    break;
                default:
                    ASSERT_EQ(flat.find(key) != flat.end(), naive.contains(key));
                    ASSERT_EQ(std::as_const(flat).find(key) != flat.end(), naive.contains(key));
                    break;
            }
            ExpectSame(flat, naive);
        }
        const Flat copy = flat;
        EXPECT_EQ(copy, flat);
        Flat moved = std::move(flat);
        ExpectSame(moved, naive);
        EXPECT_TRUE(flat.empty());  // NOLINT: what a moved-from one is like is the question
        flat[7];
        EXPECT_TRUE(flat.at(7).empty());
        EXPECT_FALSE(copy == flat);
        flat = copy;
        ExpectSame(flat, naive);
    }
}

TEST(FlatMap, KeepsTheFirstOfTwoEntriesThatItIsBuiltFrom) {
    EXPECT_EQ((Inner{{2, 5}, {1, 6}, {2, 7}}), (Inner{{1, 6}, {2, 5}}));
}

}  // namespace
}  // namespace corebeacon::test
