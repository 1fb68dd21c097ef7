// Put in front of a test program by LD_PRELOAD, lets its threads dawdle around the locking and the
// unlocking of mutexes, so that they come in orders that an idle machine hardly ever shows.
// COREBEACON_DAWDLE_ONE_IN says how many of those moments there are to one delay (100),
// COREBEACON_DAWDLE_US how long that is at most (3000 microseconds).
#include <dlfcn.h>
#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdlib>

namespace {

using Operation = int (*)(pthread_mutex_t*);

Operation Find(const char* name) {
    return reinterpret_cast<Operation>(dlsym(RTLD_NEXT, name));
}

std::uint64_t Setting(const char* name, std::uint64_t otherwise) {
    const char* text = std::getenv(name);
    const std::uint64_t value = text != nullptr ? std::strtoull(text, nullptr, 10) : 0;
    return value != 0 ? value : otherwise;
}

/// Every thread draws numbers of its own.
std::uint64_t Draw() {
    static std::atomic<std::uint64_t> threads{0};
    thread_local std::uint64_t state = 0;
    if (state == 0) {
        state = (static_cast<std::uint64_t>(getpid()) << 32 | ++threads) * 0x9E3779B97F4A7C15U;
    }
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    return state >> 11;
}

/// Keeps busy: a thread that slept would pass for one that waits.
void Dawdle() {
    static const std::uint64_t oneIn = Setting("COREBEACON_DAWDLE_ONE_IN", 100);
    static const std::uint64_t atMostUs = Setting("COREBEACON_DAWDLE_US", 3000);
    if (Draw() % oneIn != 0) {
        return;
    }
    const int callersErrno = errno;
    const auto end =
        std::chrono::steady_clock::now() + std::chrono::microseconds(Draw() % (atMostUs + 1));
    while (std::chrono::steady_clock::now() < end) {
        sched_yield();
    }
    errno = callersErrno;
}

}  // namespace

extern "C" [[gnu::visibility("default")]] int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
    static const Operation lock = Find("pthread_mutex_lock");
    Dawdle();
    const int result = lock(mutex);
    Dawdle();
    return result;
}

extern "C" [[gnu::visibility("default")]] int pthread_mutex_unlock(
    pthread_mutex_t* mutex) noexcept {
    static const Operation unlock = Find("pthread_mutex_unlock");
    Dawdle();
    const int result = unlock(mutex);
    Dawdle();
    return result;
}
