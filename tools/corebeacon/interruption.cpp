#include "interruption.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

namespace corebeacon::tool {

namespace {

std::atomic<int> signalSeen{0};
std::atomic<int> guards{0};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler may not lock");
/// Of the first guard, for as long as the process lives: handlers may still run while a guard ends.
std::atomic<int> descriptor{-1};

void OnSignal(int signal) {
    const int former = errno;
    signalSeen.store(signal);
    ::eventfd_write(descriptor.load(), 1);
    errno = former;
}

}  // namespace

InterruptionGuard::InterruptionGuard(Catch how) {
    if (descriptor.load() < 0) {
        descriptor.store(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC));
    }
    ClearInterruption();
    ++guards;
    struct sigaction action {};
    action.sa_handler = &OnSignal;
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
    eventfd_t ignored = 0;
    ::eventfd_read(descriptor.load(), &ignored);
}

int InterruptionDescriptor() {
    return descriptor.load();
}

}  // namespace corebeacon::tool
