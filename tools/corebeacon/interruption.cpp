#include "interruption.h"

#include <atomic>

namespace corebeacon::tool {

namespace {

std::atomic<int> signalSeen{0};
std::atomic<int> guards{0};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler may not lock");

}  // namespace

InterruptionGuard::InterruptionGuard(Catch how) {
    ClearInterruption();
    ++guards;
    struct sigaction action {};
    action.sa_handler = [](int signal) { signalSeen.store(signal); };
    action.sa_flags = how == Catch::ONCE ? static_cast<int>(SA_RESETHAND) : 0;
    ::sigaction(SIGINT, &action, &mFormerInterrupt);
    ::sigaction(SIGTERM, &action, &mFormerTerminate);
}

InterruptionGuard::~InterruptionGuard() {
    ::sigaction(SIGINT, &mFormerInterrupt, nullptr);
    ::sigaction(SIGTERM, &mFormerTerminate, nullptr);
    --guards;
}

bool IsInterruptible() {
    return guards.load() > 0;
}

int Interruption() {
    return signalSeen.load();
}

void ClearInterruption() {
    signalSeen.store(0);
}

}  // namespace corebeacon::tool
