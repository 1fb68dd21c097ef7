#include "platform/node_pool.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <set>
#include <unordered_map>
#include <vector>

namespace corebeacon::test {
namespace {

TEST(NodePool, GivesOutBlocksThatDoNotOverlap) {
    constexpr std::size_t kBytes = 40;
    NodePool pool;
    std::vector<unsigned char*> blocks;
    for (unsigned char i = 0; i < 200; ++i) {
        blocks.push_back(static_cast<unsigned char*>(pool.Take(kBytes)));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(blocks.back()) % alignof(std::max_align_t), 0U);
        std::memset(blocks.back(), i, kBytes);
    }
    for (unsigned char i = 0; i < 200; ++i) {
        const std::vector<unsigned char> expected(kBytes, i);
        EXPECT_EQ(std::memcmp(blocks[i], expected.data(), kBytes), 0);
        pool.Give(blocks[i], kBytes);
    }
}

TEST(NodePool, GivesTheBlockThatCameBackLastOutFirst) {
    NodePool pool;
    void* const first = pool.Take(24);
    void* const second = pool.Take(24);
    pool.Give(first, 24);
    EXPECT_EQ(pool.Take(24), first);
    pool.Give(second, 24);
    pool.Give(first, 24);
}

TEST(NodePool, LeavesBlocksOfAnotherSizeToTheHeap) {
    NodePool pool;
    void* const node = pool.Take(24);
    void* const buckets = pool.Take(800);
    std::memset(buckets, 1, 800);
    pool.Give(buckets, 800);
    pool.Give(node, 24);
}

TEST(NodePool, ServesOnAfterACrowdHasGone) {
    NodePool pool;
    for (int round = 0; round < 3; ++round) {
        std::set<void*> blocks;
        for (int i = 0; i < 2000; ++i) {
            EXPECT_TRUE(blocks.insert(pool.Take(32)).second);
        }
        for (void* block : blocks) {
            pool.Give(block, 32);
        }
    }
}

TEST(NodePool, MakesNoDifferenceToAContainer) {
    NodePool setPool;
    NodePool mapPool;
    using Set = std::multiset<int, std::less<>, PoolAllocator<int>>;
    using Entry = std::pair<const int, int>;
    using Map =
        std::unordered_multimap<int, int, std::hash<int>, std::equal_to<>, PoolAllocator<Entry>>;
    Set set(PoolAllocator<int>{setPool});
    Map map(PoolAllocator<Entry>{mapPool});
    std::multiset<int> naiveSet;
    std::multiset<std::pair<int, int>> naiveMap;
    std::mt19937 random(7);
    for (int step = 0; step < 20000; ++step) {
        const int key = static_cast<int>(random() % 200);
        // Long spells of growth and of decline.
        if ((step / 2000 % 2 == 0) == (random() % 4 != 0)) {
            set.insert(key);
            naiveSet.insert(key);
            map.emplace(key, step);
            naiveMap.emplace(key, step);
        } else {
            EXPECT_EQ(set.erase(key), naiveSet.erase(key));
            map.erase(key);
            std::erase_if(naiveMap, [key](const auto& entry) { return entry.first == key; });
        }
    }
    EXPECT_TRUE(std::equal(set.begin(), set.end(), naiveSet.begin(), naiveSet.end()));
    EXPECT_EQ((std::multiset<std::pair<int, int>>(map.begin(), map.end())), naiveMap);
}

}  // namespace
}  // namespace corebeacon::test
