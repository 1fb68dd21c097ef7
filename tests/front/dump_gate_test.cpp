#include "front/dump_gate.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <optional>
#include <thread>

#include "support/deadline.h"
#include "support/thread_state.h"

namespace corebeacon::test {
namespace {

TEST(DumpGate, IsEmptyOnlyOnceTheLastOfSeveralHasLeft) {
    DumpGate gate;
    std::optional<DumpPass> one(gate);
    std::optional<DumpPass> other(gate);
    std::atomic<pid_t> tid{0};
    std::atomic<bool> isEmpty{false};
    std::thread waiter([&] {
        tid = ::gettid();
        gate.AwaitEmpty();
        isEmpty = true;
    });
    EXPECT_TRUE(Eventually([&] { return IsAsleep(tid); }));
    one.reset();
    EXPECT_TRUE(Eventually([&] { return IsAsleep(tid); }));
    EXPECT_FALSE(isEmpty);
    other.reset();
    waiter.join();
    EXPECT_TRUE(isEmpty);
}

}  // namespace
}  // namespace corebeacon::test
