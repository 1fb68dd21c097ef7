#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include "corebeacon/log.h"
#include "sim/simulated_device.h"
#include "support/scoped_node_io.h"
#include "tool_fixture.h"

namespace corebeacon::tool::test {
namespace {

using Texts = std::vector<std::string>;

const std::string kPolicy0 = "/sys/devices/system/cpu/cpufreq/policy0";
const std::string kPolicy2 = "/sys/devices/system/cpu/cpufreq/policy2";

/// The three writes by which CPU_B comes to a floor and a ceiling.
Texts CpuB(const std::string& floor, const std::string& ceiling) {
    const std::string max = "T     CPU_B  policy2/scaling_max_freq  " + ceiling;
    return {max, "T     CPU_B  policy2/scaling_min_freq  " + floor, max};
}

Texts FinalCpuB(const std::string& floor, const std::string& ceiling) {
    return {"Final values", "  CPU_B  " + kPolicy2 + "/scaling_max_freq  " + ceiling,
            "  CPU_B  " + kPolicy2 + "/scaling_min_freq  " + floor};
}

/// Lines and groups of lines in one list.
Texts Join(const std::vector<Texts>& parts) {
    Texts joined;
    for (const Texts& part : parts) {
        joined.insert(joined.end(), part.begin(), part.end());
    }
    return joined;
}

/// The events without the first line, which tells the device.
Texts EventsOf(const Outcome& outcome) {
    Texts events = Events(outcome.out);
    events.erase(events.begin());
    return events;
}

TEST(ScriptPlayer, TheWritesOfAStatementStandBelowIt) {
    const Outcome outcome = PlayText(
        "# Up.\n"
        "request pid=1 CPU_B.boost=1952000 as a\n"
        "request pid=2 CPU_B.limit=1774000 as b   # and down\n"
        "release a\n"
        "release-all pid=2\n");
    EXPECT_EQ(outcome.exitCode, kExitDone);
    EXPECT_EQ(outcome.diagnostics, "");
    EXPECT_EQ(EventsOf(outcome), Join({{"# Up.", "T request pid=1 CPU_B.boost=1952000 as a"},
                                       CpuB("1952000", "2487000"),
                                       {"T request pid=2 CPU_B.limit=1774000 as b"},
                                       CpuB("1774000", "1774000"),
                                       {"T release a"},
                                       CpuB("1239000", "1774000"),
                                       {"T release-all pid=2"},
                                       CpuB("1239000", "2487000"),
                                       FinalCpuB("1239000", "2487000")}));
}

TEST(ScriptPlayer, ATimedRequestEndsWhileTimePasses) {
    const Outcome outcome = PlayText(
        "request pid=1 for=60ms CPU_B.boost=1952000 as a\n"
        "request pid=1 for=20ms CPU_B.limit=1774000\n"
        "wait 100ms\n"
        "release a\n");
    EXPECT_EQ(outcome.exitCode, kExitDone);
    EXPECT_EQ(EventsOf(outcome), Join({{"T request pid=1 for=60ms CPU_B.boost=1952000 as a"},
                                       CpuB("1952000", "2487000"),
                                       {"T request pid=1 for=20ms CPU_B.limit=1774000"},
                                       CpuB("1774000", "1774000"),
                                       {"T wait 100ms", "T (the request of line 2 ends)"},
                                       CpuB("1952000", "2487000"),
                                       {"T (a ends)"},
                                       CpuB("1239000", "2487000"),
                                       {"T release a"},
                                       FinalCpuB("1239000", "2487000")}));
}

TEST(ScriptPlayer, EventsTellTheirTime) {
    const Outcome outcome = PlayText(
        "request pid=1 for=1500ms CPU_B.boost=1952000 as a\n"
        "wait 2s\n"
        "request pid=1 for=20ms CPU_B.boost=1952000 as b\n");
    EXPECT_EQ(Times(outcome.out), (std::vector<int>{0, 0, 0, 0, 0, 1500, 1500, 1500, 1500, 2000,
                                                    2000, 2000, 2000, 2020, 2020, 2020, 2020}));
}

TEST(ScriptPlayer, RequestsThatEndTogetherAreToldInTheirOrder) {
    const Outcome outcome = PlayText(
        "request pid=1 for=40ms CPU_B.boost=1952000 as a\n"
        "request pid=1 for=40ms CPU_L.boost=1052000 as b\n"
        "request pid=1 for=30ms CPU_B.boost=1417000 as unseen\n");
    const std::size_t unseen = outcome.out.find("(unseen ends)");
    const std::size_t a = outcome.out.find("(a ends)");
    const std::size_t b = outcome.out.find("(b ends)");
    EXPECT_LT(unseen, a);
    EXPECT_LT(a, b);
    EXPECT_NE(b, std::string::npos);
}

TEST(ScriptPlayer, ThePlayEndsWhenTheLastTimedRequestHas) {
    const Outcome outcome = PlayText("request pid=1 for=30ms CPU_B.boost=1952000 as a\n");
    EXPECT_EQ(outcome.exitCode, kExitDone);
    EXPECT_EQ(EventsOf(outcome), Join({{"T request pid=1 for=30ms CPU_B.boost=1952000 as a"},
                                       CpuB("1952000", "2487000"),
                                       {"T (a ends)"},
                                       CpuB("1239000", "2487000"),
                                       FinalCpuB("1239000", "2487000")}));
}

TEST(ScriptPlayer, AReleasedRequestDoesNotEndASecondTime) {
    const Outcome outcome = PlayText(
        "request pid=1 for=20ms CPU_B.boost=1952000 as a\n"
        "release a\n"
        "request pid=2 for=20ms CPU_B.boost=1952000 as b\n"
        "release-all pid=2\n"
        "wait 40ms\n");
    EXPECT_EQ(outcome.out.find("ends"), std::string::npos);
}

TEST(ScriptPlayer, WhatIsNeverReleasedIsTold) {
    const Outcome outcome = PlayText(
        "request pid=1 CPU_B.boost=1952000 as a\n"
        "request pid=2 CPU_B.boost=1595000\n");
    EXPECT_EQ(outcome.exitCode, kExitDone);
    EXPECT_EQ(Lines(outcome.diagnostics),
              (Texts{"story.qos: a (pid 1) was never released, so the nodes keep its values",
                     "story.qos: the request of line 2 (pid 2) was never released, so the nodes "
                     "keep its values"}));
}

TEST(ScriptPlayer, ARefusalIsExplainedAndThePlayGoesOn) {
    const Outcome outcome = PlayText(
        "  request pid=1 for=5ms CPU_B.boost=1952000 as short\n"
        "request pid=1 CPU_B.3.boost=1\n"
        "request pid=1 CPU_B.boost=1952000 CPU_IDLE_LP_MODE.boost=105\n"
        "release short\n"
        "request pid=1 for=20ms CPU_B.boost=1952000\n");
    EXPECT_EQ(outcome.exitCode, kExitFailed);
    EXPECT_EQ(Lines(outcome.diagnostics),
              (Texts{"story.qos:1:3: request refused: a timed request lasts from 20ms to 60s",
                     "story.qos:2:1: request refused: CPU_B has no group 3",
                     "story.qos:3:1: request refused: CPU_IDLE_LP_MODE takes the levels 100, 110, "
                     "not 105",
                     "story.qos:4:1: nothing to release: short was refused"}));
    EXPECT_NE(outcome.out.find("(the request of line 5 ends)"), std::string::npos);
}

TEST(ScriptPlayer, AnUnknownRefusalPointsAtTheLog) {
    std::string script;
    for (int i = 0; i < 1025; ++i) {
        script += "request pid=1 CPU_L.boost=576000\n";
    }
    const Outcome outcome = PlayText(script + "release-all pid=1\n");
    EXPECT_EQ(outcome.exitCode, kExitFailed);
    EXPECT_EQ(outcome.diagnostics,
              "story.qos:1025:1: request refused: the engine's log above tells why\n");
}

TEST(ScriptPlayer, AQosWithoutAResourceIsLeftOut) {
    const Outcome outcome = PlayText(
        "request pid=1 for=20ms CPU_B.boost=1952000 99.boost=1\n"
        "request pid=1 99.boost=1\n");
    EXPECT_EQ(outcome.exitCode, kExitFailed);
    EXPECT_EQ(Lines(outcome.diagnostics),
              (Texts{"story.qos:1:1: left out: QoS 99 is not in service: the table does not "
                     "describe it",
                     "story.qos:2:1: left out: QoS 99 is not in service: the table does not "
                     "describe it",
                     "story.qos:2:1: request refused: nothing is left of it"}));
}

TEST(ScriptPlayer, ABadScriptAppliesNothing) {
    const Outcome outcome = PlayText("request pid=1 CPU_B.boost=1952000\nwiat 1s\nwait 1\n");
    EXPECT_EQ(outcome.exitCode, kExitBadInput);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(Lines(outcome.diagnostics),
              (Texts{"story.qos:2:1: there is no verb 'wiat'; did you mean 'wait'?",
                     "story.qos:3:6: wait takes a time such as 500ms or 2s, at most 3600s, not "
                     "'1'"}));
}

TEST(ScriptPlayer, TheLogVerbSetsTheSwitchForTheRun) {
    const corebeacon::test::LogCapture log(0);
    const DrivenClock clock;
    std::ostringstream out;
    EXPECT_EQ(PlayScript("log 1\nrequest pid=1 for=20ms CPU_B.boost=1952000\n", "s", {}, out, out),
              kExitDone);
    EXPECT_EQ(log.Count(LOG_LEVEL_INFO, "############ [CPU_B] final write: (1952000, 2487000) \n"),
              1U);
    EXPECT_EQ(PfLogonNamespace::PfLogonGet()->load(), 0U);
}

TEST(ScriptPlayer, EachChipHasItsOwnValues) {
    const Outcome outcome = PlayText("request pid=1 for=20ms CPU_B.boost=1",
                                     {.device = DeviceKind::SIM, .chip = 2, .logSwitch = 0});
    EXPECT_EQ(Events(outcome.out).front().find("Simulated device, chip 2: "), 0U);
    EXPECT_NE(outcome.out.find("1120000"), std::string::npos);
}

/// A simulated device plays the kernel, as the one that is in force when the session begins.
class ScriptPlayerOnKernel : public ::testing::Test {
protected:
    ScriptPlayerOnKernel() : mKernel(sim::SimulatedDevice::ForChip(1)), mNodeIo(*mKernel) {}

    static Outcome Play(const std::string& script, std::optional<unsigned> chip = std::nullopt) {
        return PlayText(script, {.device = DeviceKind::KERNEL, .chip = chip, .logSwitch = 0});
    }

    const std::unique_ptr<sim::SimulatedDevice> mKernel;
    const corebeacon::test::ScopedNodeIo mNodeIo;
};

TEST_F(ScriptPlayerOnKernel, TheChipIsWhatTheDeviceTreeTells) {
    const std::string node = "/proc/device-tree/vexa,chiptype";
    mKernel->AddContent(node, std::string("vexa,variant-1\0", 15));
    EXPECT_EQ(Play("").out.find("The kernel's own nodes, chip 1: "), 0U);
    EXPECT_EQ(Play("", 2).out.find("The kernel's own nodes, chip 2: "), 0U);
    for (const char* unknown : {"variant-3", "variant-12", "variant", ""}) {
        mKernel->AddContent(node, unknown);
        EXPECT_EQ(Play("").out.find("The kernel's own nodes, chip 0: "), 0U) << unknown;
    }
    mKernel->Remove(node);
    EXPECT_EQ(Play("").out.find("The kernel's own nodes, chip 0: "), 0U);
}

TEST_F(ScriptPlayerOnKernel, WhatTheKernelLacksIsToldWithTheReason) {
    mKernel->Remove(kPolicy0 + "/scaling_available_frequencies");
    mKernel->Remove("/sys/devices/system/cpu/cpuidle/lp_mode");
    const Texts events = Events(Play("", 1).out);
    EXPECT_NE(std::ranges::find(events, "Unsupported here"), events.end());
    const auto tells = [&events](const std::string& name, const std::string& reason) {
        return std::ranges::any_of(events, [&](const std::string& line) {
            return line.find(" " + name + " ") != std::string::npos && line.ends_with(reason);
        });
    };
    EXPECT_TRUE(tells("CPU_L", "its frequency list " + kPolicy0 +
                                   "/scaling_available_frequencies cannot be used"));
    EXPECT_TRUE(tells("CPU_IDLE_LP_MODE", "there is no /sys/devices/system/cpu/cpuidle/lp_mode"));
    EXPECT_FALSE(tells("CPU_B", ""));
}

TEST_F(ScriptPlayerOnKernel, WritesReachTheNodesAndAreShown) {
    const Outcome outcome = Play("request pid=1 CPU_B.boost=2070000\n", 1);
    EXPECT_EQ(outcome.exitCode, kExitDone);
    EXPECT_EQ(mKernel->Value(kPolicy2 + "/scaling_min_freq"), "2070000");
    const Texts events = Events(outcome.out);
    const Texts expected = Join({CpuB("2070000", "2669000"), FinalCpuB("2070000", "2669000")});
    ASSERT_GE(events.size(), expected.size());
    EXPECT_EQ(Texts(events.end() - static_cast<std::ptrdiff_t>(expected.size()), events.end()),
              expected);
}

TEST_F(ScriptPlayerOnKernel, FailedWritesAreShownAsSuch) {
    for (const char* node : {"/scaling_min_freq", "/scaling_max_freq"}) {
        mKernel->Inject(kPolicy2 + node, sim::OperationKind::WRITE,
                        sim::Fault::Errno(EBUSY).Forever());
    }
    const Outcome outcome = Play("request pid=1 for=20ms CPU_B.boost=2070000\n", 1);
    EXPECT_EQ(outcome.exitCode, kExitDone);
    EXPECT_NE(outcome.out.find(
                  "CPU_B  policy2/scaling_min_freq  2070000  FAILED: Device or resource busy\n"),
              std::string::npos);
    EXPECT_TRUE(outcome.out.ends_with("\nNo node was written.\n"));
}

TEST_F(ScriptPlayerOnKernel, AValueThatCannotBeReadIsTheOneWritten) {
    const Outcome outcome = Play("request pid=1 for=20ms NPU_SC_PRIO.boost=110\n", 1);
    EXPECT_EQ(outcome.exitCode, kExitDone);
    const std::string last = Lines(outcome.out).back();
    EXPECT_TRUE(last.starts_with("  NPU_SC_PRIO  /dev/vexa_perf_ctrl  ioctl 0x")) << last;
    EXPECT_TRUE(last.ends_with("  (as written)")) << last;
}

}  // namespace
}  // namespace corebeacon::tool::test
