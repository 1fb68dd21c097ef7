#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "demo_story.h"
#include "script_parser.h"
#include "tool_fixture.h"

namespace corebeacon::tool::test {
namespace {

/// All tests look at the same demo.
class Demo : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        const DrivenClock clock;
        std::ostringstream out;
        std::ostringstream diagnostics;
        sOutcome.exitCode = PlayDemo({}, out, diagnostics);
        sOutcome.out = out.str();
        sOutcome.diagnostics = diagnostics.str();
    }

    /// The values written to a node, in order, between two lines of the output.
    static std::vector<std::string> Written(const std::string& node, const std::string& from,
                                            const std::string& to) {
        const std::size_t begin = sOutcome.out.find("  " + from + "\n");
        const std::size_t end = sOutcome.out.find("  " + to + "\n");
        EXPECT_LT(begin, end);
        EXPECT_NE(end, std::string::npos);
        std::vector<std::string> values;
        for (const std::string& line : Lines(sOutcome.out.substr(begin, end - begin))) {
            const std::size_t at = line.find("  " + node + " ");
            if (at != std::string::npos) {
                values.push_back(line.substr(line.rfind(' ') + 1));
            }
        }
        return values;
    }

    static inline Outcome sOutcome;
};

using Values = std::vector<std::string>;

TEST_F(Demo, EndsWellAndInTime) {
    EXPECT_EQ(sOutcome.exitCode, kExitDone);
    EXPECT_EQ(sOutcome.diagnostics, "");
    const std::vector<int> times = Times(sOutcome.out);
    ASSERT_FALSE(times.empty());
    EXPECT_TRUE(std::is_sorted(times.begin(), times.end()));
    EXPECT_GT(times.back(), 2000);
    EXPECT_LT(times.back(), 10000);
}

TEST_F(Demo, ShowsEachStatementOnceAndInOrder) {
    std::size_t from = 0;
    for (const Statement& statement : ParseScript(kDemoStory).statements) {
        const std::size_t at = sOutcome.out.find(statement.text + "\n", from);
        ASSERT_NE(at, std::string::npos) << statement.text;
        from = at + statement.text.size();
    }
}

TEST_F(Demo, ACompetingCeilingInterruptsTheBoost) {
    const std::string launch =
        "request pid=1001 for=900ms CPU_M.boost=1655000 CPU_B.boost=2309000 GPU.boost=603000000 "
        "as launch";
    const std::string cooling = "request pid=1002 for=400ms CPU_B.limit=1774000 as cooling";
    EXPECT_EQ(Written("policy2/scaling_min_freq", launch, cooling), Values{"2309000"});
    EXPECT_EQ(Written("gpufreq/min_freq", launch, cooling), Values{"603000000"});
    EXPECT_EQ(Written("policy1/scaling_min_freq", launch, cooling), Values{"1655000"});
    EXPECT_EQ(Written("policy2/scaling_min_freq", cooling, "(cooling ends)"), Values{"1774000"});
    EXPECT_EQ(Written("policy2/scaling_min_freq", "(cooling ends)", "(launch ends)"),
              Values{"2309000"});
    const std::string game = "scenario pid=2002 0 as game";
    EXPECT_EQ(Written("policy2/scaling_min_freq", "(launch ends)", game), Values{"1239000"});
    EXPECT_EQ(Written("gpufreq/min_freq", "(launch ends)", game), Values{"279000000"});
}

TEST_F(Demo, AShortBoostEscapesTheStandingCeilingExceptInWorkMode2) {
    const std::string frames = "request pid=2002 CPU_B.boost=1952000 as frames";
    const std::string saver = "request pid=3001 CPU_B.limit=1417000 as saver";
    const std::string touch = "request pid=1001 for=250ms CPU_B.boost=2130000 as touch";
    const std::string strict = "mode pid=3001 2 as strict";
    const std::string tap = "request pid=1001 for=250ms CPU_B.boost=2130000 as tap";
    EXPECT_EQ(Written("policy2/scaling_min_freq", frames, saver), Values{"1952000"});
    EXPECT_EQ(Written("policy2/scaling_min_freq", saver, touch), Values{"1417000"});
    EXPECT_EQ(Written("policy2/scaling_min_freq", touch, "(touch ends)"), Values{"2130000"});
    EXPECT_EQ(Written("policy2/scaling_min_freq", "(touch ends)", strict), Values{"1417000"});
    for (const std::string& floor : Written("policy2/scaling_min_freq", tap, "release strict")) {
        EXPECT_EQ(floor, "1417000");
    }
    EXPECT_EQ(Written("policy2/scaling_min_freq", "release saver", "event start 1 for=300ms"),
              Values{"1952000"});
}

TEST_F(Demo, TheEventTheSuspensionAndTheProbeShowTheirEffect) {
    EXPECT_EQ(Written("policy2/scaling_min_freq", "event start 1 for=300ms", "(event 1 ends)"),
              Values{"2138000"});
    EXPECT_EQ(Written("policy2/scaling_min_freq", "(event 1 ends)", "suspend GPU"),
              Values{"1952000"});
    EXPECT_EQ(Written("gpufreq/min_freq", "request pid=2002 GPU.boost=500000000 as shaders",
                      "resume GPU"),
              Values{});
    EXPECT_EQ(Written("gpufreq/min_freq", "resume GPU", "probe start 4242").size(), 1U);
    const std::string end = "(the probe of thread 4242 ends)";
    EXPECT_EQ(Written("sched/probe_thread", "probe start 4242", end), Values{"bind|4242"});
    EXPECT_EQ(Written("sched/probe_thread", end, "release-all pid=2002"), Values{"unbind|4242"});
}

TEST_F(Demo, EndsWithTheFrequenciesAtTheirBase) {
    const std::size_t begin = sOutcome.out.find("Final values\n");
    ASSERT_NE(begin, std::string::npos);
    const std::string end = sOutcome.out.substr(begin);
    for (const char* line :
         {"/sys/class/devfreq/gpufreq/max_freq 750000000\n",
          "/sys/class/devfreq/gpufreq/min_freq 279000000\n",
          "/sys/devices/system/cpu/cpufreq/policy1/scaling_max_freq 2150000\n",
          "/sys/devices/system/cpu/cpufreq/policy1/scaling_min_freq 418000\n",
          "/sys/devices/system/cpu/cpufreq/policy2/scaling_max_freq 2487000\n",
          "/sys/devices/system/cpu/cpufreq/policy2/scaling_min_freq 1239000\n"}) {
        EXPECT_NE(std::regex_replace(end, std::regex(" +"), " ").find(line), std::string::npos)
            << line;
    }
}

}  // namespace
}  // namespace corebeacon::tool::test
