// Benchmarks of the engine beside bare floors. Beside Google Benchmark's own options:
//   --placement=one|two   callers and workers on one CPU, or each on one of their own
//   --quick               every case once and small: proof that it works, no measurement
//   --long                also the cases that take minutes
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string_view>
#include <vector>

#include "cases.h"
#include "corebeacon/log.h"
#include "placement.h"
#include "sampling.h"
#include "table_reporter.h"

namespace corebeacon::bench {
namespace {

/// Keeps what the engine has to say about the benchmarks' requests off the terminal.
class SilentSink : public LogSink {
public:
    void Write(int, const char*, const char*) noexcept override {}
};

/// Whether the option is one of this program's own.
bool TakeOption(std::string_view option) {
    if (option == "--quick") {
        TheRunSize() = {1, 2, 20, 32, false};
        return true;
    }
    if (option == "--long") {
        TheRunSize().isLong = true;
        return true;
    }
    const bool isOne = option == "--placement=one";
    if (!isOne && option != "--placement=two") {
        return false;
    }
    if (!SetPlacement(isOne ? Placement::ONE_CPU : Placement::TWO_CPUS)) {
        std::fputs("this machine has not enough CPUs for that\n", stderr);
    }
    return true;
}

int Main(int count, char** arguments) {
    std::vector<char*> others;
    for (int i = 0; i < count; ++i) {
        if (i == 0 || !TakeOption(arguments[i])) {
            others.push_back(arguments[i]);
        }
    }
    int otherCount = static_cast<int>(others.size());
    benchmark::Initialize(&otherCount, others.data());
    if (benchmark::ReportUnrecognizedArguments(otherCount, others.data())) {
        return 1;
    }
    AddColdCalls();
    AddScenario();
    AddSlowNode();
    AddThroughput();
    AddGrowth();
    AddExpiry();
    AddArbitration();
    SilentSink silence;
    SetLogSink(&silence);
    TableReporter table;
    benchmark::RunSpecifiedBenchmarks(&table);
    SetLogSink(nullptr);
    return 0;
}

}  // namespace
}  // namespace corebeacon::bench

int main(int count, char** arguments) {
    return corebeacon::bench::Main(count, arguments);
}
