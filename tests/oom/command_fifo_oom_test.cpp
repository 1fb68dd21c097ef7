// A queue of commands that finds no memory to grow: what it puts aside comes out once, or is given
// back.
#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <vector>

#include "engine/command_fifo.h"
#include "oom/failing_heap.h"

namespace corebeacon::test {
namespace {

using Item = std::shared_ptr<PerfCommandItem>;

Item MakeItem(unsigned long handle) {
    auto item = std::make_shared<PerfCommandItem>();
    item->handle = handle;
    return item;
}

class CommandFifoOomTest : public ::testing::Test {
protected:
    void PushWithoutMemory(PerfCommandType type, const Item& item) {
        const FailingHeap heap(HeapUser::THIS_THREAD, Shortage::FOR_EVER, 1);
        mFifo->Push({type, item});
        EXPECT_TRUE(FailingHeap::HasFailed());
    }

    std::unique_ptr<CommandFifo> mFifo = std::make_unique<CommandFifo>();
};

TEST_F(CommandFifoOomTest, AStopThatIsPutAsideTwiceComesOutOnce) {
    const Item item = MakeItem(7);
    PushWithoutMemory(PERF_COMMAND_SHORT_STOP, item);
    PushWithoutMemory(PERF_COMMAND_SHORT_STOP, item);
    EXPECT_EQ(mFifo->Pop().item, item);
    EXPECT_TRUE(mFifo->Empty());
}

TEST_F(CommandFifoOomTest, EveryStopThatWasPutAsideComesOutBehindWhatIsQueued) {
    const std::vector<Item> stops = {MakeItem(1), MakeItem(2), MakeItem(3)};
    for (const Item& stop : stops) {
        PushWithoutMemory(PERF_COMMAND_LONG_STOP, stop);
    }
    const Item start = MakeItem(4);
    mFifo->Push({PERF_COMMAND_LONG_START, start});
    EXPECT_EQ(mFifo->Pop().item, start);
    unsigned long handles = 0;
    for (std::size_t i = 0; i < stops.size(); ++i) {
        ASSERT_FALSE(mFifo->Empty());
        const PerfCommand command = mFifo->Pop();
        EXPECT_EQ(command.type, PERF_COMMAND_LONG_STOP);
        handles += command.item->handle;
    }
    EXPECT_EQ(handles, 1U + 2U + 3U);
    EXPECT_TRUE(mFifo->Empty());
}

TEST_F(CommandFifoOomTest, AModeThatWasPutAsideComesOutBehindWhatIsQueuedAndAheadOfStops) {
    const Item mode = MakeItem(1);
    const Item stop = MakeItem(2);
    const Item start = MakeItem(3);
    PushWithoutMemory(PERF_COMMAND_SHORT_STOP, stop);
    PushWithoutMemory(PERF_COMMAND_MODE_START, mode);
    mFifo->Push({PERF_COMMAND_SHORT_START, start});
    EXPECT_EQ(mFifo->Pop().item, start);
    EXPECT_EQ(mFifo->Pop().item, mode);
    EXPECT_EQ(mFifo->Pop().item, stop);
    EXPECT_TRUE(mFifo->Empty());
}

TEST_F(CommandFifoOomTest, OfTheModesThatWerePutAsideTheNewestIsLeft) {
    const Item newest = MakeItem(2);
    PushWithoutMemory(PERF_COMMAND_MODE_START, MakeItem(1));
    PushWithoutMemory(PERF_COMMAND_MODE_START, newest);
    EXPECT_EQ(mFifo->Pop().item, newest);
    EXPECT_TRUE(mFifo->Empty());
}

TEST_F(CommandFifoOomTest, AModeThatWasPutAsideGivesWayToANewerOneThatIsQueued) {
    const Item newer = MakeItem(2);
    PushWithoutMemory(PERF_COMMAND_MODE_START, MakeItem(1));
    mFifo->Push({PERF_COMMAND_MODE_START, newer});
    EXPECT_EQ(mFifo->Pop().item, newer);
    EXPECT_TRUE(mFifo->Empty());
}

TEST_F(CommandFifoOomTest, WhatIsLeftOverAtTheEndIsGivenBack) {
    Item stop = MakeItem(1);
    Item other = MakeItem(2);
    const std::weak_ptr<PerfCommandItem> left = stop;
    const std::weak_ptr<PerfCommandItem> otherLeft = other;
    PushWithoutMemory(PERF_COMMAND_SHORT_STOP, stop);
    PushWithoutMemory(PERF_COMMAND_LONG_STOP, other);
    stop.reset();
    other.reset();
    EXPECT_FALSE(left.expired() || otherLeft.expired());
    mFifo.reset();
    EXPECT_TRUE(left.expired() && otherLeft.expired());
}

TEST_F(CommandFifoOomTest, AStartAndACommandWithoutItemAreRefused) {
    const Item item = MakeItem(1);
    EXPECT_THROW(PushWithoutMemory(PERF_COMMAND_SHORT_START, item), std::bad_alloc);
    EXPECT_THROW(PushWithoutMemory(PERF_COMMAND_SHORT_STOP, nullptr), std::bad_alloc);
    EXPECT_TRUE(mFifo->Empty());
}

}  // namespace
}  // namespace corebeacon::test
