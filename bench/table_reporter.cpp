#include "table_reporter.h"

#include <algorithm>
#include <cstdio>

#include "sampling.h"

namespace corebeacon::bench {

namespace {

void PrintMicroseconds(const std::vector<double>& nanoseconds) {
    constexpr double kNanosecondsPerMicrosecond = 1e3;
    if (nanoseconds.empty()) {
        std::printf(" %10s", "");
    } else {
        std::printf(" %10.2f", Median(nanoseconds) / kNanosecondsPerMicrosecond);
    }
}

}  // namespace

bool TableReporter::ReportContext(const Context&) {
    return true;
}

void TableReporter::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        if (run.run_type != Run::RT_Iteration) {
            continue;
        }
        for (const auto& [counter, value] : run.counters) {
            const std::size_t slash = counter.rfind('/');
            const std::string part = counter.substr(slash + 1);
            const std::string name = run.run_name.function_name + " " + counter.substr(0, slash);
            if (!mLines.contains(name)) {
                mOrder.push_back(name);
            }
            Line& line = mLines[name];
            if (part == "engine") {
                line.engine.push_back(value);
            } else if (part == "floor") {
                line.floor.push_back(value);
            } else if (part == "goal") {
                line.goal = value;
            } else {
                line.figures.push_back(value);
            }
        }
    }
}

void TableReporter::Finalize() {
    std::printf("%-52s %10s %10s %8s %7s   %s\n", "", "engine us", "floor us", "reached", "goal",
                "run by run");
    for (const std::string& name : mOrder) {
        const Line& line = mLines[name];
        std::printf("%-52s", name.c_str());
        PrintMicroseconds(line.engine);
        PrintMicroseconds(line.floor);
        std::printf(" %8.2f", Median(line.figures));
        if (line.goal == kNoGoal) {
            std::printf(" %7s  ", "");
        } else {
            std::printf(" %7.2f  ", line.goal);
        }
        for (const double figure : line.figures) {
            std::printf(" %.2f", figure);
        }
        std::printf("\n");
    }
}

}  // namespace corebeacon::bench
