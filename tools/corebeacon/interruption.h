/// Lets a command end in order when it is told to stop: by Ctrl-C or by SIGTERM. The flag is the
/// process's; whoever waits looks at it now and then.
#pragma once

#include <chrono>
#include <csignal>

namespace corebeacon::tool {

/// How long a wait may leave the flag unseen.
inline constexpr std::chrono::milliseconds kInterruptionDelay{50};

/// While one lives, the two signals set the flag instead of ending the process; calls that wait
/// return with EINTR. With `Catch::ONCE` a guard catches one of each kind: the next ends the
/// process, should the first be of no avail.
class InterruptionGuard {
public:
    enum class Catch { ONCE, REPEATEDLY };

    explicit InterruptionGuard(Catch how);
    ~InterruptionGuard();
    InterruptionGuard(const InterruptionGuard&) = delete;
    InterruptionGuard& operator=(const InterruptionGuard&) = delete;

private:
    struct sigaction mFormerInterrupt {};
    struct sigaction mFormerTerminate {};
};

/// Whether there is a guard, so that a wait has to look.
bool IsInterruptible();
/// The signal that came, 0 for none. SIGTERM stays; a Ctrl-C may be taken back.
int Interruption();
/// Whether it was Ctrl-C that came. Takes it back: the next one is a new one.
bool TakeCtrlC();
/// To be polled along with what is waited for: readable once a signal came. That a call returns
/// with EINTR is not enough, for the signal may come just before it, or to another thread.
int InterruptionDescriptor();
/// Whoever finds it readable calls this and then looks at Interruption(), in this order: the news
/// may be those of a Ctrl-C that is taken back already, and would wake each wait that follows.
void ForgetInterruptionNews();

}  // namespace corebeacon::tool
