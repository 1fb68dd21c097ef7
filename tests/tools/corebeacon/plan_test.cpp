// What a script would write, planned without a node of the machine.
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "plan_command.h"
#include "run_command.h"
#include "support/log_capture.h"
#include "support/scoped_node_io.h"
#include "tool_fixture.h"

namespace corebeacon::tool::test {
namespace {

/// The machine, which is not to be touched.
class Untouchable : public NodeIo {
public:
    int Open(const char*, int) override { return Touched(); }
    ssize_t Read(int, void*, std::size_t) override { return Touched(); }
    ssize_t Write(int, const void*, std::size_t) override { return Touched(); }
    int Close(int) override { return Touched(); }
    int Ioctl(int, unsigned long, void*) override { return Touched(); }

    int Touches() const { return mTouches; }

private:
    int Touched() {
        ++mTouches;
        errno = EIO;
        return -1;
    }
    std::atomic<int> mTouches{0};
};

Outcome Plan(const std::string& script, bool isJson = false, const SessionOptions& options = {}) {
    const corebeacon::test::LogCapture log(0);
    std::istringstream in(script);
    std::ostringstream out;
    std::ostringstream diagnostics;
    const int exitCode = PlanScript("-", options, isJson, in, out, diagnostics);
    return {exitCode, out.str(), diagnostics.str()};
}

/// "TIME QOS.GROUP FILE=VALUE CAUSE" of each write.
std::vector<std::string> Writes(const std::string& script) {
    std::vector<std::string> lines;
    const auto document = nlohmann::json::parse(Plan(script, true).out);
    for (const auto& write : document.at("writes")) {
        const std::string node = write.at("node");
        const bool isNamed = !write.at("qos").is_null();
        lines.push_back(std::to_string(write.at("time_us").get<long>() / 1000) + " " +
                        (isNamed ? write.at("qos").get<std::string>() : "-") + " " +
                        node.substr(node.rfind('/') + 1) + "=" +
                        write.at("value").get<std::string>() + " " + write.at("line").dump() +
                        ": " + write.at("cause").get<std::string>());
    }
    return lines;
}

bool Contains(const std::vector<std::string>& lines, const std::string& line) {
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

TEST(Plan, TouchesNoNodeOfTheMachine) {
    Untouchable machine;
    const corebeacon::test::ScopedNodeIo nodeIo(machine);
    for (const char* const statement :
         {"request pid=1 for=50ms CPU_B.boost=2000000", "mode pid=1 2 as m\nrelease m",
          "scenario pid=1 0 as s\nrelease s", "event start 1", "probe start 42",
          "suspend GPU\nresume GPU", "dump task", "base-set pid=1 EAS.7.boost=10",
          "request pid=1 NPU_SC_PRIO.boost=110", "release-all pid=1"}) {
        Plan(statement);
    }
    EXPECT_NE(Plan("request pid=1 for=50ms CPU_B.boost=2000000").out.find("scaling_min_freq"),
              std::string::npos);
    EXPECT_EQ(machine.Touches(), 0);
    // The proof holds: an engine on the machine itself would be seen.
    SessionOptions kernel;
    kernel.device = DeviceKind::KERNEL;
    Plan("request pid=1 for=50ms CPU_B.boost=2000000", false, kernel);
    EXPECT_GT(machine.Touches(), 0);
}

TEST(Plan, TellsTimeQosNodeValueAndCause) {
    const Outcome outcome = Plan("wait 20ms\nrequest pid=1 for=50ms CPU_B.boost=2000000 as h\n");
    EXPECT_EQ(outcome.exitCode, kExitDone);
    EXPECT_EQ(outcome.diagnostics, "");
    const std::vector<std::string> lines = Lines(outcome.out);
    ASSERT_EQ(lines.size(), 7U);
    EXPECT_EQ(lines[0].find("TIME"), 0U);
    EXPECT_EQ(lines[2],
              "   0.020  CPU_B.0    /sys/devices/system/cpu/cpufreq/policy2/scaling_min_freq  "
              "2000000  2     request pid=1 for=50ms CPU_B.boost=2000000 as h");
    EXPECT_EQ(lines[5],
              "   0.070  CPU_B.0    /sys/devices/system/cpu/cpufreq/policy2/scaling_min_freq  "
              "1239000  2     h ends");
}

TEST(Plan, NamesEachRequestThatEndsAtOnce) {
    const std::vector<std::string> writes = Writes(
        "request pid=1 for=50ms CPU_B.boost=2000000 as a\n"
        "request pid=1 for=50ms CPU_B.boost=2130000 as b\n");
    EXPECT_TRUE(Contains(writes, "50 CPU_B.0 scaling_min_freq=1239000 1: a ends, b ends"));
}

TEST(Plan, TellsAStatementFromAnEndAtTheSameMoment) {
    const std::vector<std::string> writes = Writes(
        "request pid=1 for=50ms CPU_B.boost=2000000 as a\n"
        "wait 50ms\n"
        "request pid=1 for=50ms CPU_B.boost=2130000 as b\n");
    EXPECT_TRUE(Contains(writes, "50 CPU_B.0 scaling_min_freq=1239000 1: a ends"));
    EXPECT_TRUE(Contains(writes,
                         "50 CPU_B.0 scaling_min_freq=2130000 3: "
                         "request pid=1 for=50ms CPU_B.boost=2130000 as b"));
}

TEST(Plan, AnEventGoesOnByItself) {
    bool goesOn = false;
    for (const std::string& write : Writes("event start 1\n")) {
        goesOn = goesOn || write.ends_with(" 1: event 1 goes on");
        EXPECT_TRUE(write.ends_with("1: event start 1") || write.ends_with("1: event 1 goes on") ||
                    write.ends_with("1: event 1 ends"))
            << write;
    }
    EXPECT_TRUE(goesOn);
}

TEST(Plan, BindsAndLetsGoOfAProbedThread) {
    const std::vector<std::string> writes = Writes("probe start 42\n");
    EXPECT_TRUE(Contains(writes, "0 - probe_thread=bind|42 1: probe start 42"));
    EXPECT_TRUE(Contains(writes, "500 - probe_thread=unbind|42 1: the probe of thread 42 ends"));
}

TEST(Plan, AnHourTakesNoTimeAndIsTheSameEachTime) {
    std::string script;
    for (int i = 0; i < 30; ++i) {
        script +=
            "request pid=1 for=60s CPU_B.boost=2000000 GPU.limit=500000000\n"
            "event start 1\nprobe start 42\nwait 120s\n";
    }
    const auto begin = std::chrono::steady_clock::now();
    const Outcome first = Plan(script);
    EXPECT_EQ(first.out, Plan(script).out);
    // Both together shorter than either by the clock, however slow the machine.
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::hours(1));
    EXPECT_NE(first.out.find("\n3480.000  "), std::string::npos);
}

TEST(Plan, OneDocumentOfJson) {
    const Outcome outcome = Plan("request pid=1 for=50ms CPU_B.boost=2000000\n", true);
    const auto document = nlohmann::json::parse(outcome.out);
    EXPECT_EQ(document.at("schema_version"), 1);
    EXPECT_EQ(document.at("command"), "plan");
    EXPECT_EQ(document.at("script"), "<stdin>");
    ASSERT_EQ(document.at("writes").size(), 6U);
    const auto& write = document.at("writes")[1];
    EXPECT_EQ(write.at("time_us"), 0);
    EXPECT_EQ(write.at("qos"), "CPU_B.0");
    EXPECT_EQ(write.at("node"), "/sys/devices/system/cpu/cpufreq/policy2/scaling_min_freq");
    EXPECT_EQ(write.at("value"), "2000000");
    EXPECT_EQ(write.at("line"), 1);
    EXPECT_EQ(write.at("cause"), "request pid=1 for=50ms CPU_B.boost=2000000");
}

TEST(Plan, OfNothingIsNothing) {
    EXPECT_EQ(Plan("wait 5ms\n").out, "No node would be written.\n");
    EXPECT_EQ(nlohmann::json::parse(Plan("wait 5ms\n", true).out).at("writes").size(), 0U);
}

TEST(Plan, TellsWhatIsWrongWithAScript) {
    const Outcome outcome = Plan("reqest pid=1\n");
    EXPECT_EQ(outcome.exitCode, kExitBadInput);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.diagnostics.find("<stdin>:1:1: "), 0U);
    EXPECT_EQ(Plan("scenario pid=1 77\n").exitCode, kExitFailed);
}

}  // namespace
}  // namespace corebeacon::tool::test
