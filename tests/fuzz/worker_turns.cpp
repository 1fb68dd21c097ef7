// Threads that are none. Linked into a program, this takes the place of what the C++ library knows
// of threads and of waiting for a condition: a thread becomes a coroutine that runs on the caller's
// thread whenever the caller waits, one after the other in the order of their start, each until it
// waits itself. What libFuzzer starts outside of any engine's life stays a thread. So the same
// bytes always do the same, a hand-over costs some hundred nanoseconds, and a wait that nobody
// could ever end is seen at once.
#include <pthread.h>
#include <sanitizer/common_interface_defs.h>
#include <sys/mman.h>
#include <ucontext.h>

#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "fuzz/demand.h"
#include "fuzz/workers.h"

namespace corebeacon::fuzz {

namespace {

using Work = std::unique_ptr<std::thread::_State>;

/// Of which only what is used takes memory. Above 4 MiB, where the address sanitizer no longer
/// clears its notes of the whole stack at every change to it; it is told of each change anyway.
constexpr std::size_t kStackBytes = 8UL * 1024 * 1024;

/// The caller, or a thread, or what is left of one for the next.
struct Actor {
    ucontext_t context{};
    void* stack = nullptr;
    std::size_t stackBytes = 0;
    void* fakeStack = nullptr;                         // the sanitizer's
    Work work;                                         // null without a thread, and at the caller
    const std::condition_variable* awaited = nullptr;  // null while it can run
};

class Turns {
public:
    static Turns& Get() {
        static Turns turns;
        return turns;
    }

    bool IsInForce() const { return mInForce; }
    /// Each life begins with the first turn, so that what went before plays no part in it.
    void SetInForce(bool inForce) {
        mInForce = inForce;
        mTurn = 0;
    }

    /// Whether it is the number of a thread that is none; the addresses that the system gives its
    /// own are greater.
    bool IsNumber(std::size_t number) const { return number <= mActors.size(); }

    /// The number of the new thread, counted from 1.
    std::size_t Start(Work work) {
        std::size_t at = 0;
        while (at < mActors.size() && mActors[at]->work != nullptr) {
            ++at;
        }
        if (at == mActors.size()) {
            mActors.push_back(MakeActor());
        }
        mActors[at]->work = std::move(work);
        return at + 1;
    }

    void AwaitEnd(std::size_t number) {
        while (mActors[number - 1]->work != nullptr) {
            Demand(RunOne(), "a thread that is to end is not waiting for ever");
        }
    }

    void Wait(const std::condition_variable& cond, std::unique_lock<std::mutex>& lock) {
        mCurrent->awaited = &cond;
        lock.unlock();
        if (mCurrent != &mCaller) {
            SwitchTo(mCaller);
        }
        while (mCurrent->awaited != nullptr) {
            Demand(RunOne(), "somebody is left to end the caller's wait");
        }
        lock.lock();
    }

    void Notify(const std::condition_variable& cond) {
        if (mCaller.awaited == &cond) {
            mCaller.awaited = nullptr;
        }
        for (const std::unique_ptr<Actor>& actor : mActors) {
            if (actor->awaited == &cond) {
                actor->awaited = nullptr;
            }
        }
    }

    void RunAll() {
        while (RunOne()) {
        }
    }

private:
    static bool CanRun(const Actor& actor) {
        return actor.work != nullptr && actor.awaited == nullptr;
    }

    /// The next in turn that can, until it waits or ends; false when none can.
    bool RunOne() {
        for (std::size_t tried = 0; tried < mActors.size(); ++tried) {
            mTurn = (mTurn + 1) % mActors.size();
            if (CanRun(*mActors[mTurn])) {
                SwitchTo(*mActors[mTurn]);
                return true;
            }
        }
        return false;
    }

    void SwitchTo(Actor& next) {
        Actor& former = *std::exchange(mCurrent, &next);
        __sanitizer_start_switch_fiber(&former.fakeStack, next.stack, next.stackBytes);
        swapcontext(&former.context, &next.context);
        __sanitizer_finish_switch_fiber(former.fakeStack, nullptr, nullptr);
    }

    std::unique_ptr<Actor> MakeActor() {
        auto actor = std::make_unique<Actor>();
        actor->stack = mmap(nullptr, kStackBytes, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK, -1, 0);
        Demand(actor->stack != MAP_FAILED, "there is room for a stack");
        actor->stackBytes = kStackBytes;
        getcontext(&actor->context);
        actor->context.uc_stack.ss_sp = actor->stack;
        actor->context.uc_stack.ss_size = kStackBytes;
        makecontext(&actor->context, &Turns::Live, 0);
        return actor;
    }

    /// One thread after the other on the same stack.
    static void Live() {
        Turns& turns = Get();
        // It is always the caller who lets an actor live: so here one learns where its stack is.
        const void* bottom = nullptr;
        std::size_t bytes = 0;
        __sanitizer_finish_switch_fiber(nullptr, &bottom, &bytes);
        turns.mCaller.stack = const_cast<void*>(bottom);
        turns.mCaller.stackBytes = bytes;
        for (;;) {
            Actor& self = *turns.mCurrent;
            self.work->_M_run();
            self.work.reset();
            turns.SwitchTo(turns.mCaller);
        }
    }

    std::vector<std::unique_ptr<Actor>> mActors;
    Actor mCaller;
    Actor* mCurrent = &mCaller;
    std::size_t mTurn = 0;
    bool mInForce = false;
};

void* RunAsThread(void* work) {
    const Work owned(static_cast<std::thread::_State*>(work));
    owned->_M_run();
    return nullptr;
}

/// As the library does it.
pthread_t StartThread(Work work) {
    pthread_t thread{};
    if (const int error = pthread_create(&thread, nullptr, &RunAsThread, work.get()); error != 0) {
        throw std::system_error(error, std::generic_category(), "thread");
    }
    static_cast<void>(work.release());  // the thread's now
    return thread;
}

}  // namespace

WorkerScope::WorkerScope() {
    Turns::Get().SetInForce(true);
}

WorkerScope::~WorkerScope() {
    Turns::Get().SetInForce(false);
}

void AwaitWorkers(ConfigManager&, const test::ManualClock&) {
    Turns::Get().RunAll();
}

}  // namespace corebeacon::fuzz

namespace std {

using corebeacon::fuzz::Turns;

void thread::_M_start_thread(_State_ptr state, void (*)()) {
    Turns& turns = Turns::Get();
    _M_id = id(turns.IsInForce() ? turns.Start(std::move(state))
                                 : corebeacon::fuzz::StartThread(std::move(state)));
}

void thread::join() {
    Turns& turns = Turns::Get();
    if (turns.IsNumber(_M_id._M_thread)) {
        turns.AwaitEnd(_M_id._M_thread);
    } else {
        pthread_join(_M_id._M_thread, nullptr);
    }
    _M_id = id();
}

void condition_variable::wait(unique_lock<mutex>& lock) {
    Turns& turns = Turns::Get();
    if (turns.IsInForce()) {
        turns.Wait(*this, lock);
    } else {
        pthread_cond_wait(native_handle(), lock.mutex()->native_handle());
    }
}

void condition_variable::notify_one() noexcept {
    notify_all();
}

/// More than one may be woken, as any waiter may be at any time.
void condition_variable::notify_all() noexcept {
    Turns::Get().Notify(*this);
    pthread_cond_broadcast(native_handle());
}

}  // namespace std
