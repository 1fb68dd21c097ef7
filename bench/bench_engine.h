/// A whole engine with the built-in tables of the common chip on a device of tmpfs files, and short
/// words for what the cases ask of it. Any refusal ends the program: a benchmark of failures
/// measures nothing. Owned by a case; several at a time share the device that came last.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "corebeacon/config_manager.h"
#include "placement.h"
#include "tmpfs_device.h"

namespace corebeacon::bench {

/// A frequency group writes its ceiling, its floor and its ceiling again.
inline constexpr std::uint64_t kWritesPerChange = 3;
/// Above what all others ask for, so that every start and every release changes the final value.
inline constexpr int kTopBoost = 2400000;
inline constexpr int kCrowdBoost = 2300000;
inline constexpr int kPid = 1;
inline constexpr int kCrowdPid = 1000;
inline constexpr unsigned int kUntimed = 0;
inline constexpr unsigned int kMaxDurationMs = 60000;
/// A frequency of CPU_B's resource, by its place in the event table below.
inline constexpr PerfEventId kCrowdEvent = 18;
inline constexpr PerfEventId kWaitingEvent = 19;

std::vector<PerfRequestInfo> BoostOf(int value, PerfQosId qosId = PERF_QOS_CPU_B);

/// Ends the program when `done` is false.
void Require(bool done);

class Engine {
public:
    explicit Engine(TmpfsDevice& device);
    ~Engine();
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    ConfigManager& Front() { return *mFront; }
    TmpfsDevice& Device() { return mDevice; }

    unsigned long Request(int pid, unsigned int duration,
                          const std::vector<PerfRequestInfo>& request) {
        unsigned long handle = 0;
        Require(mFront->PerfRequest(pid, duration, request, handle) == 0);
        return handle;
    }
    void Release(int pid, unsigned long handle) { Require(mFront->PerfRelease(pid, handle) == 0); }

    /// Waits until CPU_B's worker has carried out all that was asked so far: a dump is answered in
    /// its turn.
    void Settle();

private:
    TmpfsDevice& mDevice;
    std::unique_ptr<ConfigManager> mFront;
};

}  // namespace corebeacon::bench
