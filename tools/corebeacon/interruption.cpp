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
    int none = 0;
    if (signal == SIGTERM) {
        signalSeen.store(signal);
    } else {
        signalSeen.compare_exchange_strong(none, signal);  // what is to end goes on to its end
    }
    ::eventfd_write(descriptor.load(), 1);
    errno = former;
}

}  // namespace

InterruptionGuard::InterruptionGuard(Catch how) {
    if (descriptor.load() < 0) {
        descriptor.store(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC));
    }
    signalSeen.store(0);
    ForgetInterruptionNews();
    struct sigaction action {};
    action.sa_handler = &OnSignal;
    action.sa_flags = how == Catch::ONCE ? static_cast<int>(SA_RESETHAND) : 0;
    ::sigaction(SIGINT, &action, &mFormerInterrupt);
    ::sigaction(SIGTERM, &action, &mFormerTerminate);
    ++guards;  // from here on a signal interrupts
}

InterruptionGuard::~InterruptionGuard() {
    --guards;
    ::sigaction(SIGINT, &mFormerInterrupt, nullptr);
    ::sigaction(SIGTERM, &mFormerTerminate, nullptr);
}

bool IsInterruptible() {
    return guards.load() > 0;
}

int Interruption() {
    return signalSeen.load();
}

bool TakeCtrlC() {
    int seen = SIGINT;
    return signalSeen.compare_exchange_strong(seen, 0);
}

int InterruptionDescriptor() {
    return descriptor.load();
}

void ForgetInterruptionNews() {
    eventfd_t ignored = 0;
    ::eventfd_read(descriptor.load(), &ignored);
}

}  // namespace corebeacon::tool
