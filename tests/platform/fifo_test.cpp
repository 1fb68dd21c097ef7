#include "platform/fifo.h"

#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <random>

namespace corebeacon::test {
namespace {

TEST(Fifo, HandsOutWhatADequeHandsOut) {
    std::mt19937 random(3);
    Fifo<std::shared_ptr<int>> fifo;
    std::deque<std::shared_ptr<int>> naive;
    for (int step = 0; step < 20000; ++step) {
        // Long spells of growth and of decline, so that it wraps around, grows and shrinks.
        if ((step / 3000 % 2 == 0) == (random() % 8 != 0)) {
            naive.push_back(std::make_shared<int>(step));
            fifo.PushBack(naive.back());
        } else if (!naive.empty()) {
            ASSERT_EQ(fifo.PopFront(), naive.front());
            naive.pop_front();
        }
        ASSERT_EQ(fifo.Size(), naive.size());
        ASSERT_EQ(fifo.Empty(), naive.empty());
    }
    while (!naive.empty()) {
        ASSERT_EQ(fifo.PopFront(), naive.front());
        naive.pop_front();
    }
    EXPECT_TRUE(fifo.Empty());
}

TEST(Fifo, HoldsOnToNothingThatWasTakenOut) {
    Fifo<std::shared_ptr<int>> fifo;
    const auto watched = std::make_shared<int>(1);
    for (int i = 0; i < 20; ++i) {
        fifo.PushBack(watched);
    }
    for (int i = 0; i < 20; ++i) {
        fifo.PopFront();
    }
    EXPECT_EQ(watched.use_count(), 1);
}

}  // namespace
}  // namespace corebeacon::test
