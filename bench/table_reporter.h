/// Shows what was measured as a table: one line a figure, with the number of every repetition, the
/// median over them and the goal. Owned by main.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace corebeacon::bench {

class TableReporter : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

private:
    struct Line {
        std::vector<double> engine;  // ns; empty for a plain value
        std::vector<double> floor;
        std::vector<double> figures;
        double goal = 0;
    };
    std::vector<std::string> mOrder;
    std::map<std::string, Line> mLines;
};

}  // namespace corebeacon::bench
