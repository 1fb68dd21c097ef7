// What `explain` tells: as a verb of scripts, and as a command.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "explain/explain_command.h"
#include "tool_fixture.h"

namespace corebeacon::tool::test {
namespace {

using Texts = std::vector<std::string>;

const std::string kMin = "/sys/class/devfreq/gpufreq/min_freq";
const std::string kMax = "/sys/class/devfreq/gpufreq/max_freq";

Outcome ExplainAfter(const Texts& targets, const Texts& statements, bool isJson = false) {
    const corebeacon::test::LogCapture log(0);
    const DrivenClock clock;
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream diagnostics;
    ExplainOptions options;
    options.targets = targets;
    options.statements = statements;
    options.isJson = isJson;
    const int exitCode = Explain(options, in, out, diagnostics);
    return {exitCode, out.str(), diagnostics.str()};
}

/// The lines that begin with `begin`, without it.
Texts LinesFrom(const std::string& text, const std::string& begin) {
    Texts found;
    for (const std::string& line : Lines(text)) {
        if (line.starts_with(begin)) {
            found.push_back(line.substr(begin.size()));
        }
    }
    return found;
}

TEST(Explain, TellsTheBaseValuesWhileNobodyAsks) {
    const Outcome outcome = ExplainAfter({"GPU"}, {});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.diagnostics, "");
    EXPECT_EQ(outcome.out,
              "GPU: 279000000~750000000 in force at 0.000\n"
              "  work mode 0, range 279000000~750000000 (values beyond it are brought into it), "
              "base 279000000~750000000\n"
              "  boost  279000000  the base value    decides the floor\n"
              "  limit  750000000  the base value    decides the ceiling\n"
              "  node " +
                  kMin + "  nothing written\n  node " + kMax + "  nothing written\n");
}

TEST(Explain, TellsWhoWonWhoLostAndWhy) {
    const Outcome outcome =
        ExplainAfter({"GPU"}, {"request pid=11 GPU.limit=400000000 as cool",
                               "request pid=12 GPU.boost=350000000 as floor",
                               "request pid=13 for=2s GPU.boost=600000000", "wait 500ms"});
    EXPECT_EQ(LinesFrom(outcome.out, "GPU: "), Texts{"600000000~750000000 in force at 0.500"});
    const Texts boosts = LinesFrom(outcome.out, "  boost  ");
    ASSERT_EQ(boosts.size(), 3U) << outcome.out;
    EXPECT_EQ(boosts[0],
              "600000000  the request of line 3 (handle 3, pid 13)  until 2.000     "
              "decides floor and ceiling; then 350000000~400000000");
    EXPECT_EQ(boosts[1],
              "350000000  floor (handle 2, pid 12)                  until released  "
              "lower than the floor of the request of line 3");
    EXPECT_EQ(boosts[2].substr(0, 25), "279000000  the base value");
    const Texts limits = LinesFrom(outcome.out, "  limit  ");
    ASSERT_EQ(limits.size(), 2U);
    EXPECT_NE(limits[0].find("escaped by the boost 600000000 of the request of line 3, which is "
                             "timed"),
              std::string::npos)
        << limits[0];
    EXPECT_NE(limits[1].find("higher than the limit 400000000 of cool"), std::string::npos);
    EXPECT_EQ(LinesFrom(outcome.out, "  node " + kMin), Texts{"  600000000"});
}

TEST(Explain, EveryRuleHasItsWords) {
    struct Row {
        Texts statements;
        std::string words;
    };
    const Row rows[] = {
        {{"request pid=1 CPU_B.boost=1952000 as a", "request pid=2 CPU_B.limit=1417000 as b"},
         "the limit 1417000 of b wins over it in work mode 0"},
        {{"mode pid=1 1", "request pid=1 CPU_B.boost=1952000 as a",
          "request pid=2 CPU_B.limit=1417000 as b"},
         "the boost 1952000 of a wins over it in work mode 1"},
        {{"mode pid=1 2", "request pid=2 for=1s CPU_B.limit=1417000 as b"},
         "a timed limit counts for nothing in work mode 2"},
        {{"request pid=2 for=1s CPU_B.limit=1417000 as b"},
         "the limit 1417000 of b counts in its place, being timed"},
        {{"request pid=1 CPU_B.limit=1952000 as a",
          "request pid=2 for=1s CPU_B.limit=1417000 as b"},
         "being timed, it does not tighten the limit 1952000 of a"},
        {{"request pid=1 CPU_B.boost=1952000 as a", "request pid=2 CPU_B.boost=1952000 as b"},
         "no more than a gives, which was there first"},
        {{"request pid=1 CPU_B.boost=9000000 as a"}, "asked for 9000000, brought into the range"},
    };
    for (const Row& row : rows) {
        const Outcome outcome = ExplainAfter({"CPU_B"}, row.statements);
        EXPECT_NE(outcome.out.find(row.words), std::string::npos) << outcome.out;
    }
}

TEST(Explain, AnEventsLaterStepWaits) {
    const Outcome outcome = ExplainAfter({"CPU_L"}, {"event start 0"});
    const Texts boosts = LinesFrom(outcome.out, "  boost  ");
    ASSERT_EQ(boosts.size(), 3U) << outcome.out;
    EXPECT_TRUE(boosts[0].starts_with("1148000  handle 1, event 0  until 0.100 ")) << boosts[0];
    EXPECT_NE(boosts[0].find("then 869000~"), std::string::npos) << boosts[0];
    EXPECT_NE(boosts[2].find("from 0.100 until 0.400  waits for its start"), std::string::npos)
        << boosts[2];
}

TEST(Explain, ASuspendedGroupIsTold) {
    const Outcome outcome =
        ExplainAfter({"GPU"}, {"suspend GPU", "request pid=1 GPU.boost=600000000"});
    EXPECT_EQ(LinesFrom(outcome.out, "GPU: "),
              Texts{"600000000~750000000 in force at 0.000, but suspended: nothing is written"});
}

TEST(Explain, FindsGroupsByIdNameAndNode) {
    EXPECT_EQ(ExplainAfter({"3"}, {}).out, ExplainAfter({"gpu"}, {}).out);
    EXPECT_EQ(ExplainAfter({kMin}, {}).out, ExplainAfter({"GPU"}, {}).out);
    EXPECT_EQ(ExplainAfter({"gpufreq/max_freq"}, {}).out, ExplainAfter({"GPU.0"}, {}).out);
    EXPECT_EQ(ExplainAfter({"GPU", "GPU.GPU", kMax}, {}).out, ExplainAfter({"GPU"}, {}).out);
    const Texts floors = LinesFrom(ExplainAfter({"scaling_min_freq"}, {}).out, "CPU_");
    EXPECT_EQ(floors.size(), 3U);
    const std::string tasks = ExplainAfter({"EAS.7"}, {}).out;
    EXPECT_TRUE(tasks.starts_with("EAS.7 ")) << tasks;
}

TEST(Explain, AWordThatNamesNothingIsBadInput) {
    const Outcome outcome = ExplainAfter({"GPV"}, {});
    EXPECT_EQ(outcome.exitCode, kExitBadInput);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.diagnostics,
              "corebeacon: nothing here is called 'GPV'; did you mean 'GPU'?\n");
    EXPECT_EQ(ExplainAfter({"GPU"}, {"nonsense"}).exitCode, kExitBadInput);
    EXPECT_EQ(ExplainAfter({"GPU"}, {"scenario pid=1 77"}).exitCode, kExitFailed);
}

TEST(Explain, IsAVerbOfScripts) {
    const Outcome outcome = PlayText(
        "request pid=1 GPU.boost=600000000 as h\n"
        "explain GPU CPU_B\nrelease h\n");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.diagnostics, "");
    EXPECT_NE(outcome.out.find("    GPU: 600000000~750000000 in force at 0.000\n"),
              std::string::npos)
        << outcome.out;
    EXPECT_NE(outcome.out.find("    CPU_B: 1239000~2487000 in force"), std::string::npos);
    EXPECT_NE(outcome.out.find("h (handle 1, pid 1)"), std::string::npos);
    const Outcome wrong = PlayText("explain GPV\nexplain\n");
    EXPECT_EQ(wrong.exitCode, kExitBadInput);
    EXPECT_EQ(wrong.diagnostics,
              "story.qos:2:1: explain needs at least one QoS, group or node; usage: explain "
              "QOS|QOS.GROUP|NODE ...\n");
    const Outcome unknown = PlayText("explain GPV\n");
    EXPECT_EQ(unknown.exitCode, kExitFailed);
    EXPECT_EQ(unknown.diagnostics,
              "story.qos:1:1: explain: nothing here is called 'GPV'; did you mean 'GPU'?\n");
}

TEST(Explain, WritesOneDocument) {
    const Outcome outcome =
        ExplainAfter({"GPU"}, {"request pid=13 for=2s GPU.boost=600000000 as frame"}, true);
    const auto json = nlohmann::json::parse(outcome.out);
    EXPECT_EQ(json["schema_version"], 1);
    EXPECT_EQ(json["command"], "explain");
    const auto& group = json["groups"][0];
    EXPECT_EQ(group["qos"], "GPU");
    EXPECT_EQ(group["kind"], "frequency");
    EXPECT_EQ(group["in_force"], (nlohmann::json{{"floor", 600000000}, {"ceiling", 750000000}}));
    EXPECT_EQ(group["next_change_us"], 2000000);
    const auto& winner = group["requests"][0];
    EXPECT_EQ(winner["name"], "frame");
    EXPECT_EQ(winner["pid"], 13);
    EXPECT_EQ(winner["end_us"], 2000000);
    EXPECT_EQ(winner["rule"], "in_force");
    EXPECT_EQ(winner["after_end"]["floor"], 279000000);
    EXPECT_EQ(group["requests"][1]["rule"], "lower_boost");
    EXPECT_EQ(group["requests"][1]["beaten_by"], "frame");
    EXPECT_EQ(group["requests"][1]["origin"], "base");
    EXPECT_EQ(group["requests"][2]["rule"], "escaped");
    EXPECT_EQ(group["nodes"][0]["text"], "600000000");
    EXPECT_EQ(group["nodes"][0]["status"], "written");
}

}  // namespace
}  // namespace corebeacon::tool::test
