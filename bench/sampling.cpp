#include "sampling.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace corebeacon::bench {

namespace {

double ReadClock(clockid_t clock) {
    constexpr double kNanosecondsPerSecond = 1e9;
    std::timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) * kNanosecondsPerSecond +
           static_cast<double>(time.tv_nsec);
}

double Quantile(Series series, double share) {
    if (series.empty()) {
        return 0;
    }
    const auto at = static_cast<std::ptrdiff_t>(share * static_cast<double>(series.size() - 1));
    std::nth_element(series.begin(), series.begin() + at, series.end());
    return series[static_cast<std::size_t>(at)];
}

}  // namespace

RunSize& TheRunSize() {
    static RunSize size;
    return size;
}

double ThreadCpu() {
    return ReadClock(CLOCK_THREAD_CPUTIME_ID);
}

double ProcessCpu() {
    return ReadClock(CLOCK_PROCESS_CPUTIME_ID);
}

double Median(Series series) {
    return Quantile(std::move(series), 0.5);
}

double Percentile99(Series series) {
    return Quantile(std::move(series), 0.99);
}

void RestBetweenCalls() {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

double ClockCost() {
    static const double cost = [] {
        constexpr int kLooks = 1000;
        Series looks;
        for (int i = 0; i < kLooks; ++i) {
            const double before = ThreadCpu();
            looks.push_back(ThreadCpu() - before);
        }
        return Median(std::move(looks));
    }();
    return cost;
}

void ReportRatio(benchmark::State& state, const std::string& figure, double engine, double floor,
                 double goal) {
    state.counters[figure + "/engine"] = engine;
    state.counters[figure + "/floor"] = floor;
    state.counters[figure + "/ratio"] = engine / std::max(floor, 1.0);
    state.counters[figure + "/goal"] = goal;
}

void ReportRatios(benchmark::State& state, const std::string& figure, const Series& engine,
                  const Series& floor, double goal, double goalOfP99) {
    ReportRatio(state, figure, Median(engine), Median(floor), goal);
    ReportRatio(state, figure + ".p99", Percentile99(engine), Percentile99(floor), goalOfP99);
}

void ReportValue(benchmark::State& state, const std::string& figure, double value, double goal) {
    state.counters[figure + "/value"] = value;
    state.counters[figure + "/goal"] = goal;
}

void AddCase(const std::string& name, void (*run)(benchmark::State&)) {
    benchmark::RegisterBenchmark(name.c_str(),
                                 [run](benchmark::State& state) {
                                     for (auto _ : state) {
                                         const Nanoseconds begin = Now();
                                         run(state);
                                         const std::chrono::duration<double> took = Now() - begin;
                                         state.SetIterationTime(took.count());
                                     }
                                 })
        ->Iterations(1)
        ->Repetitions(TheRunSize().repetitions)
        ->UseManualTime();
}

}  // namespace corebeacon::bench
