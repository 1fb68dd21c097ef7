/// Series of measurements and how they become the counters of a benchmark. Used by one thread.
#pragma once

#include <benchmark/benchmark.h>

#include <ctime>
#include <string>
#include <vector>

#include "tmpfs_device.h"

namespace corebeacon::bench {

/// The size of a run; small for a mere proof that all cases work.
struct RunSize {
    int repetitions = 5;
    int calls = 300;
    int crowd = 100000;   ///< requests in force where growth is measured
    int pairs = 4000;     ///< starts and releases where throughput is measured
    bool isLong = false;  ///< also the cases that take minutes
};
RunSize& TheRunSize();

/// In nanoseconds of the clock.
double ThreadCpu();
double ProcessCpu();

using Series = std::vector<double>;
double Median(Series series);
/// 99 of 100 are not above it.
double Percentile99(Series series);

/// What one call took, in nanoseconds: its caller's CPU time, its duration, and the time to the end
/// of the last write that it caused. The CPU time is without that of looking at the clock.
struct CallSeries {
    Series cpu;
    Series wall;
    Series lastWrite;
};

/// Makes a call, rests for 1 ms and waits for `writes` writes; adds to `series`.
template <typename Call>
void SampleCall(CallSeries& series, const TmpfsDevice& device, std::uint64_t writes, Call call);

/// Counters "<figure>/engine", "/floor", "/ratio" and "/goal", of which the table shows the ratio.
void ReportRatio(benchmark::State& state, const std::string& figure, double engine, double floor,
                 double goal);
/// As above with the medians, and again with the 99th percentiles as "<figure>.p99".
void ReportRatios(benchmark::State& state, const std::string& figure, const Series& engine,
                  const Series& floor, double goal, double goalOfP99);
/// Counters "<figure>/value" and "/goal"; a goal of 0 is none.
void ReportValue(benchmark::State& state, const std::string& figure, double value, double goal);

inline constexpr double kNoGoal = 0;

/// Registers a case that runs once in each repetition and times itself.
void AddCase(const std::string& name, void (*run)(benchmark::State&));

void RestBetweenCalls();
double ClockCost();

template <typename Call>
void SampleCall(CallSeries& series, const TmpfsDevice& device, std::uint64_t writes, Call call) {
    const std::uint64_t before = device.Writes();
    const Nanoseconds begin = Now();
    const double cpuBefore = ThreadCpu();
    call();
    const double cpuAfter = ThreadCpu();
    const Nanoseconds end = Now();
    RestBetweenCalls();
    device.AwaitWrites(before + writes);
    series.cpu.push_back(cpuAfter - cpuBefore - ClockCost());
    series.wall.push_back(static_cast<double>((end - begin).count()));
    series.lastWrite.push_back(static_cast<double>((device.LastWriteEnd() - begin).count()));
}

}  // namespace corebeacon::bench
