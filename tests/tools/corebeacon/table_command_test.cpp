#include "table_command.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "corebeacon/builtin_config.h"
#include "tool_fixture.h"

namespace corebeacon::tool::test {
namespace {

class TableCommand : public ::testing::TestWithParam<unsigned> {
protected:
    TableCommand() {
        const corebeacon::test::LogCapture log(0);
        std::ostringstream out;
        std::ostringstream diagnostics;
        mExitCode = PrintQosTable(GetParam(), out, diagnostics);
        mText = out.str();
        EXPECT_EQ(diagnostics.str(), "");
    }

    int mExitCode = -1;
    std::string mText;
};

TEST_P(TableCommand, ShowsEveryQosByIdAndName) {
    EXPECT_EQ(mExitCode, kExitDone);
    for (const auto& [qosId, config] : GetPerfQosConfigMap()) {
        const std::regex row("(^|\n)" + std::to_string(qosId) + " +" + PerfQosName(qosId) + " ");
        EXPECT_TRUE(std::regex_search(mText, row)) << PerfQosName(qosId);
    }
}

TEST_P(TableCommand, AlignsItsNodes) {
    const std::vector<std::string> lines = Lines(mText);
    const std::size_t column = lines.at(0).find("NODES");
    ASSERT_NE(column, std::string::npos);
    std::size_t rows = 0;
    for (std::size_t i = 1; i < lines.size() && !lines[i].empty(); ++i, ++rows) {
        ASSERT_GT(lines[i].size(), column);
        EXPECT_EQ(lines[i].substr(column - 2, 3), "  /") << lines[i];
    }
    EXPECT_GE(rows, 49U);
}

INSTANTIATE_TEST_SUITE_P(OfChip, TableCommand, ::testing::Values(0U, 1U, 2U));

std::vector<std::string> CellsOf(const std::string& name, unsigned chip) {
    const corebeacon::test::LogCapture log(0);
    std::ostringstream out;
    PrintQosTable(chip, out, out);
    for (const std::string& line : Lines(out.str())) {
        std::istringstream words(line);
        std::vector<std::string> cells;
        for (std::string word; words >> word;) {
            cells.push_back(word);
        }
        if (cells.size() > 1 && cells[1] == name) {
            return cells;
        }
    }
    return {};
}

using Cells = std::vector<std::string>;

TEST(TableCommandRow, IsNarrowedToTheChip) {
    const std::string node = "/sys/devices/system/cpu/cpufreq/policy2/scaling_min_freq";
    EXPECT_EQ(CellsOf("CPU_B", 0), (Cells{"2", "CPU_B", "frequency", "0", "1239000..2487000",
                                          "1239000..2487000", "-", "-", node}));
    EXPECT_EQ(CellsOf("CPU_B", 1), (Cells{"2", "CPU_B", "frequency", "0", "1632000..2669000",
                                          "1632000..2669000", "-", "-", node}));
}

TEST(TableCommandRow, CountsLevelsAndTellsTheBase) {
    EXPECT_EQ(CellsOf("CPU_IDLE_LP_MODE", 0),
              (Cells{"47", "CPU_IDLE_LP_MODE", "levels", "0", "100..110", "100..110", "2", "100",
                     "/sys/devices/system/cpu/cpuidle/lp_mode"}));
}

TEST(TableCommandRow, TellsTheKind) {
    EXPECT_EQ(CellsOf("DDR", 0).at(2), "memory");
    EXPECT_EQ(CellsOf("DDR", 0).at(3), "bandwidth");
    EXPECT_EQ(CellsOf("IPA_POWER", 0).at(2), "power");
    EXPECT_EQ(CellsOf("IPA_SWITCH_TEMP", 0).at(2), "value");
    EXPECT_EQ(CellsOf("MEMLAT_TARGET_RATIO_CPU_L", 0).at(3), "latency");
}

}  // namespace
}  // namespace corebeacon::tool::test
