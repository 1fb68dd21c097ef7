// What arbitration costs beside a bare multiset: one start and one stop in a group with others.
#include <benchmark/benchmark.h>

#include <set>

#include "cases.h"
#include "engine/perf_group.h"
#include "sampling.h"

namespace corebeacon::bench {

namespace {

constexpr int kHighest = 2000000;
constexpr int kMiddle = kHighest / 2;

/// Writes nothing, so that arbitration alone is measured.
class SilentGroup : public PerfGroup {
public:
    SilentGroup()
        : PerfGroup(PerfGroupConfig("G", false, 0, kHighest, 0, kHighest, {"/min", "/max"},
                                    CHIP_TYPE_COMMON),
                    PERF_WORK_MODE_0) {}
    int DoConfig(int, int) override { return 0; }
    void DumpBaseValueAfterMapping(std::vector<SpecifiedGroupDumpInfo>&) const override {}
};

PerfGroupCommand Boost(unsigned long handle, int value) {
    return {handle, TimePoint{}, TimePoint{}, {{PERF_OPERATION_BOOST, value}}};
}

int ValueOf(std::int64_t number, std::int64_t size) {
    return static_cast<int>(number * kHighest / size);
}

void Group(benchmark::State& state) {
    SilentGroup group;
    const std::int64_t size = state.range(0);
    for (std::int64_t i = 0; i < size; ++i) {
        group.LongTermStart(Boost(static_cast<unsigned long>(i), ValueOf(i, size)));
    }
    const PerfGroupCommand command = Boost(static_cast<unsigned long>(size), kMiddle);
    for (auto _ : state) {
        group.LongTermStart(command);
        group.LongTermStop(command);
    }
}

void Multiset(benchmark::State& state) {
    std::multiset<int> values;
    const std::int64_t size = state.range(0);
    for (std::int64_t i = 0; i < size; ++i) {
        values.insert(ValueOf(i, size));
    }
    for (auto _ : state) {
        values.erase(values.insert(kMiddle));
    }
}

}  // namespace

void AddArbitration() {
    for (const int size : {10, 1000, TheRunSize().crowd}) {
        benchmark::RegisterBenchmark("arbitration.group", Group)->Arg(size);
        benchmark::RegisterBenchmark("arbitration.multiset", Multiset)->Arg(size);
    }
}

}  // namespace corebeacon::bench
