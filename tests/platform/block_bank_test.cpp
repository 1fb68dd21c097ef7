#include "platform/block_bank.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <set>
#include <thread>
#include <utility>
#include <vector>

namespace corebeacon::test {
namespace {

constexpr std::size_t kBytes = 40;
constexpr std::size_t kBlocks = 5;
using Bank = BlockBank<kBytes, kBlocks>;

TEST(BlockBank, GivesOutBlocksThatDoNotOverlap) {
    Bank bank;
    std::mt19937 random(2);
    std::vector<std::pair<unsigned char*, unsigned char>> taken;  // with what it was filled
    for (int step = 0; step < 5000; ++step) {
        if (random() % 2 == 0 && taken.size() < 3 * kBlocks) {  // also more than there are
            auto* const block = static_cast<unsigned char*>(bank.Take());
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignof(std::max_align_t), 0U);
            taken.emplace_back(block, static_cast<unsigned char>(step));
            std::memset(block, taken.back().second, kBytes);
        } else if (!taken.empty()) {
            std::swap(taken[random() % taken.size()], taken.back());
            const std::vector<unsigned char> expected(kBytes, taken.back().second);
            ASSERT_EQ(std::memcmp(taken.back().first, expected.data(), kBytes), 0);
            bank.Give(taken.back().first);
            taken.pop_back();
        }
    }
    for (const auto& [block, filling] : taken) {
        bank.Give(block);
    }
}

TEST(BlockBank, UsesTheSameBlocksAgain) {
    Bank bank;
    std::set<void*> first;
    std::vector<void*> taken;
    for (std::size_t i = 0; i < kBlocks; ++i) {
        taken.push_back(bank.Take());
        first.insert(taken.back());
    }
    ASSERT_EQ(first.size(), kBlocks);
    void* const beyond = bank.Take();
    EXPECT_FALSE(first.contains(beyond));
    bank.Give(beyond);
    for (void* block : taken) {
        bank.Give(block);
    }
    for (int i = 0; i < 10; ++i) {
        void* const block = bank.Take();
        EXPECT_TRUE(first.contains(block));
        bank.Give(block);
    }
}

TEST(BlockBank, HandsBlocksFromThreadToThread) {
    static constinit Bank bank;
    constexpr int kRounds = 20000;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < kRounds; ++i) {
                int* const mine = new (bank.Take()) int(t);
                int* const second = new (bank.Take()) int(-t);
                ASSERT_EQ(*mine, t);
                ASSERT_EQ(*second, -t);
                bank.Give(mine);
                bank.Give(second);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace
}  // namespace corebeacon::test
