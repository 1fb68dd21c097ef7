// How late the write is that ends a boost, against a bare timed wait.
#include <condition_variable>
#include <mutex>
#include <thread>

#include "bench_engine.h"
#include "cases.h"
#include "sampling.h"

namespace corebeacon::bench {

namespace {

constexpr double kGoal = 1.1;
constexpr std::chrono::milliseconds kApart(10);

/// A thread that waits for one deadline after the other and notes when it wakes. Owned by a case.
class BareTimer {
public:
    BareTimer() : mThread(&BareTimer::Run, this) {}
    ~BareTimer() {
        SetDeadline({}, true);
        mThread.join();
    }
    BareTimer(const BareTimer&) = delete;
    BareTimer& operator=(const BareTimer&) = delete;

    void SetDeadline(std::chrono::steady_clock::time_point deadline, bool stop = false) {
        const std::lock_guard<std::mutex> lock(mMutex);
        mDeadline = deadline;
        mStop = stop;
        mWoke = Nanoseconds{};
        mCond.notify_one();
    }
    Nanoseconds Woke() {
        const std::lock_guard<std::mutex> lock(mMutex);
        return mWoke;
    }

private:
    void Run() {
        std::unique_lock<std::mutex> lock(mMutex);
        while (!mStop) {
            if (mDeadline == std::chrono::steady_clock::time_point{}) {
                mCond.wait(lock);
            } else if (mCond.wait_until(lock, mDeadline) == std::cv_status::timeout) {
                mWoke = Now();
                mDeadline = {};
            }
        }
    }

    std::mutex mMutex;
    std::condition_variable mCond;
    std::chrono::steady_clock::time_point mDeadline;  // guarded by mMutex
    Nanoseconds mWoke{};                              // guarded by mMutex
    bool mStop = false;                               // guarded by mMutex
    std::thread mThread;                              // last: runs on all of the above
};

void Lateness(benchmark::State& state, unsigned int milliseconds, int calls) {
    const std::chrono::milliseconds duration(milliseconds);
    TmpfsDevice device;
    Engine engine(device);
    PlaceWorkers();
    BareTimer timer;
    PlaceCaller();
    const std::vector<PerfRequestInfo> request = BoostOf(kTopBoost);
    Series engineLate;
    Series floorLate;
    double earliest = 0;
    for (int i = 0; i < calls; ++i) {
        // The engine looks at the clock a little later, which counts as lateness.
        const std::uint64_t writes = device.Writes();
        const Nanoseconds before = Now();
        engine.Request(kPid, milliseconds, request);
        // On a busy machine that may take a while, and what is armed for has to be the end.
        device.AwaitWrites(writes + kWritesPerChange);
        device.ArmSecondWrite();  // the ceiling goes first, the floor second
        // The floor waits for as long, a little later, so that both waits take one duration.
        std::this_thread::sleep_for(kApart);
        const auto deadline = std::chrono::steady_clock::now() + duration;
        timer.SetDeadline(deadline);
        device.AwaitWrites(writes + 2 * kWritesPerChange);
        const Nanoseconds written = device.ArmedWriteBegin();
        engineLate.push_back(static_cast<double>((written - before - duration).count()));
        earliest = std::min(earliest, static_cast<double>((written - before - duration).count()));

        std::this_thread::sleep_until(deadline + std::chrono::milliseconds(1));
        while (timer.Woke() == Nanoseconds{}) {
            RestBetweenCalls();
        }
        floorLate.push_back(
            static_cast<double>((timer.Woke() - deadline.time_since_epoch()).count()));
    }
    Require(earliest >= 0);  // never early
    ReportRatios(state, "lateness", engineLate, floorLate, kGoal, kGoal);
}

void After20Ms(benchmark::State& state) {
    Lateness(state, 20, TheRunSize().calls);
}

void After200Ms(benchmark::State& state) {
    Lateness(state, 200, TheRunSize().calls / 30 + 1);
}

void After2S(benchmark::State& state) {
    Lateness(state, 2000, 5);
}

void After60S(benchmark::State& state) {
    Lateness(state, kMaxDurationMs, 3);
}

}  // namespace

void AddExpiry() {
    AddCase("expiry.20_ms", After20Ms);
    AddCase("expiry.200_ms", After200Ms);
    if (TheRunSize().isLong) {
        AddCase("expiry.2_s", After2S);
        AddCase("expiry.60_s", After60S);
    }
}

}  // namespace corebeacon::bench
