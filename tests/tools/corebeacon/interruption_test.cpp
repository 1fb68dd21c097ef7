// What becomes of Ctrl-C and SIGTERM, alone and one behind the other.
#include "interruption.h"

#include <gtest/gtest.h>
#include <poll.h>

namespace corebeacon::tool {
namespace {

using Catch = InterruptionGuard::Catch;

bool WakesWhoeverWaits() {
    pollfd awaited{.fd = InterruptionDescriptor(), .events = POLLIN, .revents = 0};
    return ::poll(&awaited, 1, 0) == 1;
}

auto HandlerOf(int signal) {
    struct sigaction action {};
    ::sigaction(signal, nullptr, &action);
    return action.sa_handler;
}

TEST(Interruption, ByCtrlCIsTakenBackOnce) {
    const InterruptionGuard guard(Catch::REPEATEDLY);
    EXPECT_FALSE(TakeCtrlC());
    for (int time = 0; time < 2; ++time) {
        std::raise(SIGINT);
        EXPECT_EQ(Interruption(), SIGINT);
        EXPECT_TRUE(WakesWhoeverWaits());
        ForgetInterruptionNews();
        EXPECT_FALSE(WakesWhoeverWaits());
        EXPECT_TRUE(TakeCtrlC());
        EXPECT_EQ(Interruption(), 0);
        EXPECT_FALSE(TakeCtrlC());
    }
}

TEST(Interruption, BySigtermStaysWhateverCameBeforeItAndComesAfter) {
    const InterruptionGuard guard(Catch::REPEATEDLY);
    std::raise(SIGINT);
    std::raise(SIGTERM);
    std::raise(SIGINT);
    EXPECT_EQ(Interruption(), SIGTERM);
    EXPECT_FALSE(TakeCtrlC());
    EXPECT_EQ(Interruption(), SIGTERM);
    EXPECT_TRUE(WakesWhoeverWaits());
}

TEST(Interruption, IsForgottenByTheNextGuard) {
    {
        const InterruptionGuard guard(Catch::REPEATEDLY);
        std::raise(SIGTERM);
    }
    const InterruptionGuard guard(Catch::REPEATEDLY);
    EXPECT_EQ(Interruption(), 0);
    EXPECT_FALSE(WakesWhoeverWaits());
}

TEST(Interruption, IsCaughtWhileAGuardLives) {
    const auto former = HandlerOf(SIGTERM);
    {
        const InterruptionGuard guard(Catch::REPEATEDLY);
        EXPECT_TRUE(IsInterruptible());
        EXPECT_NE(HandlerOf(SIGTERM), former);
    }
    EXPECT_FALSE(IsInterruptible());
    EXPECT_EQ(HandlerOf(SIGTERM), former);
}

TEST(Interruption, OfAKindThatIsCaughtOnceEndsTheProcessTheSecondTime) {
    const InterruptionGuard guard(Catch::ONCE);
    std::raise(SIGINT);
    EXPECT_EQ(HandlerOf(SIGINT), SIG_DFL);
    EXPECT_NE(HandlerOf(SIGTERM), SIG_DFL);
}

}  // namespace
}  // namespace corebeacon::tool
