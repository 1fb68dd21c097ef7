// The verbs beside requests, as the player carries them out.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "sim/simulated_device.h"
#include "support/scoped_node_io.h"
#include "tool_fixture.h"

namespace corebeacon::tool::test {
namespace {

using Texts = std::vector<std::string>;

/// What was written to a node, in order.
Texts WrittenTo(const Outcome& outcome, const std::string& node) {
    Texts values;
    for (const std::string& line : Lines(outcome.out)) {
        const std::size_t at = line.find("  " + node + " ");
        if (at != std::string::npos && line.starts_with("   ")) {
            values.push_back(line.substr(line.find_last_of(' ') + 1));
        }
    }
    return values;
}

const std::string kFloor = "policy2/scaling_min_freq";
const std::string kProbeNode = "sched/probe_thread";

bool Has(const Outcome& outcome, const std::string& text) {
    return outcome.out.find(text) != std::string::npos;
}

void ExpectFine(const Outcome& outcome) {
    EXPECT_EQ(outcome.exitCode, kExitDone);
    EXPECT_EQ(outcome.diagnostics, "");
}

TEST(PlayerVerbs, AScenarioStandsUntilItIsReleased) {
    const Outcome outcome = PlayText("scenario pid=1 0 as game\nrelease game\n");
    ExpectFine(outcome);
    const Texts written = WrittenTo(outcome, "kernel/sched_init_task_load");
    EXPECT_EQ(written, WrittenTo(PlayText("debug game_mode_enable\ndebug game_mode_disable\n"),
                                 "kernel/sched_init_task_load"));
    EXPECT_GT(Lines(outcome.out).size(), 20U);
    EXPECT_EQ(PlayText("scenario pid=5 0\n").diagnostics,
              "story.qos: scenario 0 (pid 5) was never released, so the nodes keep its values\n");
}

TEST(PlayerVerbs, AScenarioThatTheChipLacksIsRefused) {
    const Outcome outcome = PlayText("scenario pid=1 77 as s\nrelease s\n");
    EXPECT_EQ(outcome.exitCode, kExitFailed);
    EXPECT_EQ(Lines(outcome.diagnostics),
              (Texts{"story.qos:1:1: scenario refused: this chip has none of that number",
                     "story.qos:2:1: nothing to release: s was refused"}));
}

TEST(PlayerVerbs, AWorkModeSettlesAConflictTheOtherWay) {
    const Outcome outcome = PlayText(
        "request pid=1 CPU_B.limit=1417000\n"
        "request pid=2 CPU_B.boost=1952000\n"
        "mode pid=3 1 as boosts\n"
        "dump workMode\n"
        "release boosts\n"
        "release-all pid=1\n"
        "release-all pid=2\n");
    ExpectFine(outcome);
    EXPECT_EQ(WrittenTo(outcome, kFloor),
              (Texts{"1239000", "1417000", "1952000", "1417000", "1952000", "1239000"}));
    EXPECT_TRUE(Has(outcome, "current mode = 1,"));
}

TEST(PlayerVerbs, OfAWorkModeOnlyTheChangesAreShown) {
    const Outcome outcome = PlayText(
        "request pid=1 CPU_B.limit=1417000\n"
        "request pid=2 CPU_B.boost=1952000\n"
        "mode pid=3 1\n"
        "mode pid=3 2\n"
        "release-all pid=3\n"
        "release-all pid=1\n");
    const Texts lines = Lines(outcome.out);
    const auto isSummary = [](const std::string& line) {
        return line.ends_with(" writes of what the nodes held already)");
    };
    EXPECT_EQ(std::ranges::count_if(lines, isSummary), 3);
    EXPECT_EQ(WrittenTo(outcome, kFloor),
              (Texts{"1239000", "1417000", "1952000", "1417000", "1952000", "1417000", "1952000"}));
    // Nodes that cannot be read are shown when they are first written.
    EXPECT_EQ(WrittenTo(outcome, "/dev/acpuddr_link_governor_level").size(), 1U);
    EXPECT_EQ(WrittenTo(outcome, "policy0/scaling_min_freq"), Texts{});
    EXPECT_FALSE(Has(outcome, "policy0/scaling_min_freq"));
}

TEST(PlayerVerbs, ASuspendedQosWritesOnlyWhenItIsResumed) {
    const Outcome outcome = PlayText(
        "suspend CPU_B\n"
        "request pid=1 CPU_B.boost=1952000 as a\n"
        "wait 10ms\n"
        "resume CPU_B\n"
        "release a\n");
    ExpectFine(outcome);
    const std::size_t resume = outcome.out.find("  resume CPU_B\n");
    EXPECT_GT(outcome.out.find(kFloor + "  1952000"), resume);
    EXPECT_TRUE(Has(outcome, kFloor + "  1952000"));
}

TEST(PlayerVerbs, WhatCannotBeSuspendedIsTold) {
    const Outcome outcome = PlayText("suspend MEMLAT_TARGET_RATIO_CPU_B CPU_B\nresume 99\n");
    EXPECT_EQ(outcome.exitCode, kExitFailed);
    EXPECT_EQ(Lines(outcome.diagnostics),
              (Texts{"story.qos:1:1: left out: MEMLAT_TARGET_RATIO_CPU_B writes nodes that have to "
                     "agree",
                     "story.qos:2:1: left out: QoS 99 is not in service: the table does not "
                     "describe it",
                     "story.qos:2:1: resume refused: nothing is left of it"}));
}

TEST(PlayerVerbs, ATimedEventEnds) {
    const Outcome outcome = PlayText("event start 1 for=300ms\nwait 1s\n");
    ExpectFine(outcome);
    EXPECT_EQ(WrittenTo(outcome, kFloor), (Texts{"2138000", "1239000"}));
    EXPECT_TRUE(Has(outcome, "   0.300  (event 1 ends)\n"));
}

TEST(PlayerVerbs, AnEventWithoutATimeRunsForItsOwn) {
    const Outcome outcome = PlayText("event start 1\n");
    ExpectFine(outcome);
    EXPECT_TRUE(Has(outcome, "   2.000  (event 1 ends)\n"));
    EXPECT_EQ(WrittenTo(outcome, kFloor).back(), "1239000");
}

TEST(PlayerVerbs, AStoppedEventIsOverAtOnce) {
    const Outcome outcome = PlayText("event start 1 for=30s\nevent stop 1\nwait 40s\n");
    ExpectFine(outcome);
    EXPECT_EQ(WrittenTo(outcome, kFloor), (Texts{"2138000", "1239000"}));
    EXPECT_FALSE(Has(outcome, "ends"));
}

TEST(PlayerVerbs, AnEventThatTheChipLacksIsRefused) {
    const Outcome outcome = PlayText("event start 7\n");
    EXPECT_EQ(outcome.exitCode, kExitFailed);
    EXPECT_EQ(outcome.diagnostics,
              "story.qos:1:1: event refused: this chip has none of that number\n");
}

TEST(PlayerVerbs, AProbeBindsItsThreadForItsSpan) {
    const Outcome outcome = PlayText("probe start 4242\nprobe start 4242\nwait 2s\n");
    ExpectFine(outcome);
    EXPECT_EQ(WrittenTo(outcome, kProbeNode), (Texts{"bind|4242", "unbind|4242"}));
    EXPECT_EQ(WrittenTo(outcome, kFloor), (Texts{"2138000", "1239000"}));
    EXPECT_TRUE(Has(outcome, "   0.500  (the probe of thread 4242 ends)\n"));
}

TEST(PlayerVerbs, AStoppedProbeUnbindsAtOnce) {
    const Outcome outcome = PlayText("probe start 4242\nprobe stop 4242\nwait 2s\n");
    ExpectFine(outcome);
    EXPECT_EQ(WrittenTo(outcome, kProbeNode), (Texts{"bind|4242", "unbind|4242"}));
    EXPECT_LT(outcome.out.find("unbind|4242"), outcome.out.find("wait 2s"));
    EXPECT_FALSE(Has(outcome, "ends"));
}

TEST(PlayerVerbs, TaskGroupsTakeLevelsAndBaseLevels) {
    const Outcome outcome = PlayText(
        "request pid=1 EAS.7.boost=30 as vip\n"
        "release vip\n"
        "base-set pid=1 EAS.7.boost=10\n"
        "base-set pid=1 EAS.7.boost=0\n");
    ExpectFine(outcome);
    EXPECT_EQ(WrittenTo(outcome, "vip/schedtune.boost"), (Texts{"35", "0", "10", "0"}));
    const Outcome refused = PlayText("base-set pid=1 EAS.7.boost=11\n");
    EXPECT_EQ(refused.exitCode, kExitFailed);
    EXPECT_EQ(refused.diagnostics.find("story.qos:1:1: request refused: "), 0U);
}

TEST(PlayerVerbs, EveryDumpAnswers) {
    const Outcome outcome = PlayText("dump task\n");
    ExpectFine(outcome);
    EXPECT_TRUE(Has(outcome, "CPU_B: "));
    EXPECT_TRUE(Has(PlayText("dump base_info\n"), "    CPU_B id=2\n"));
    for (const char* type : {"workMode", "scenario", "event", "limit_history"}) {
        const Outcome other = PlayText(std::string("dump ") + type + "\n");
        ExpectFine(other);
        EXPECT_GT(Lines(other.out).size(), 5U) << type;
    }
}

TEST(PlayerVerbs, DebugOptionsSwitchScenarios) {
    ExpectFine(PlayText("debug game_mode_enable\ndebug --game_mode_disable\n"));
    const Outcome outcome = PlayText(
        "debug game_mode_enable\ndebug game_mode_enable\ndebug toaster\n"
        "debug game_mode_disable\n");
    EXPECT_EQ(outcome.exitCode, kExitFailed);
    EXPECT_EQ(Lines(outcome.diagnostics),
              (Texts{"story.qos:2:1: debug cmd is in effect, delete it first",
                     "story.qos:3:1: there is no debug option --toaster"}));
}

TEST(PlayerVerbs, TheVersionIsThatOfTheEngine) {
    const Outcome outcome = PlayText("version\n");
    ExpectFine(outcome);
    EXPECT_TRUE(Has(outcome, "    core version: 5.1.0\n"));
}

TEST(PlayerVerbs, OnTheKernelNobodySaysWhatBindsThreads) {
    const std::unique_ptr<sim::SimulatedDevice> kernel = sim::SimulatedDevice::ForChip(0);
    const corebeacon::test::ScopedNodeIo nodeIo(*kernel);
    const Outcome outcome = PlayText("probe start 4242\nbase-set pid=1 EAS.boost=10\n",
                                     {.device = DeviceKind::KERNEL, .chip = 0, .logSwitch = 0});
    EXPECT_EQ(outcome.exitCode, kExitFailed);
    EXPECT_EQ(Lines(outcome.diagnostics),
              (Texts{"story.qos:1:1: probe refused: nothing here binds threads",
                     "story.qos:2:1: left out: EAS_BASE is not in service: the table does not "
                     "describe it",
                     "story.qos:2:1: request refused: nothing is left of it"}));
}

}  // namespace
}  // namespace corebeacon::tool::test
