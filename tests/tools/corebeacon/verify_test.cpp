// What `--verify` finds on nodes that do not do as they are told, and what `watch` notices.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>

#include "sim/forwarding_node_io.h"
#include "sim/simulated_device.h"
#include "support/scoped_node_io.h"
#include "tool_fixture.h"
#include "verify/verdict.h"
#include "verify/watch_command.h"

namespace corebeacon::tool::test {
namespace {

using sim::Fault;
using sim::OperationKind;
using sim::SimulatedDevice;

const std::string kPolicy = "/sys/devices/system/cpu/cpufreq/policy2";
const std::string kMin = kPolicy + "/scaling_min_freq";
const std::string kMax = kPolicy + "/scaling_max_freq";
const std::string kGpuMin = "/sys/class/devfreq/gpufreq/min_freq";
const std::string kBoost = "request pid=1 CPU_B.boost=1952000 as h\n";

// ---- The judgement by itself ----

NodeReading Held(const std::string& text) {
    return {NodeReading::READ, 0, text};
}

NodeReading Failed(NodeReading::Status status, int error) {
    return {status, error, ""};
}

std::string Judged(const std::string& written, const NodeReading& held, const NodeFacts& facts = {},
                   const std::optional<std::string>& ceiling = {}) {
    return NameOf(Judge(written, held, facts, ceiling));
}

const NodeFacts kFloor{NodeFacts::FLOOR, "/max", {100, 200, 300}};
const NodeFacts kCeiling{NodeFacts::CEILING, "", {100, 200, 300}};

TEST(Verdict, TheSameTextOrNumberIsExact) {
    EXPECT_EQ(Judged("7", Held("7")), "exact");
    EXPECT_EQ(Judged("007", Held("7")), "exact");
    EXPECT_EQ(Judged("0x77359400", Held("2000000000")), "exact");
    EXPECT_EQ(Judged("0x77359400", Held("77359400")), "overwritten");
    EXPECT_EQ(Judged("0x", Held("0")), "overwritten");
    EXPECT_EQ(Judged("off", Held("off")), "exact");
    EXPECT_EQ(Judged("b", Held("a [b] c")), "exact");
}

TEST(Verdict, AStepOfTheTableBesideTheValueIsRounding) {
    EXPECT_EQ(Judged("150", Held("200"), kFloor), "rounded");
    EXPECT_EQ(Judged("150", Held("100"), kCeiling), "rounded");
    EXPECT_EQ(Judged("50", Held("100"), kFloor), "rounded");
    EXPECT_EQ(Judged("400", Held("300"), kCeiling), "rounded");
    // Not from a value that is a step itself, and not over a step in between.
    EXPECT_EQ(Judged("200", Held("300"), kFloor), "limited");
    EXPECT_EQ(Judged("150", Held("300"), kCeiling), "overwritten");
}

TEST(Verdict, SomethingStricterIsALimit) {
    EXPECT_EQ(Judged("300", Held("200"), kCeiling), "limited");
    EXPECT_EQ(Judged("200", Held("300"), kCeiling), "overwritten");
    EXPECT_EQ(Judged("300", Held("200"), kFloor, "200"), "limited");
    EXPECT_EQ(Judged("300", Held("200"), kFloor, "300"), "overwritten");
    EXPECT_EQ(Judged("300", Held("200")), "overwritten");
    EXPECT_EQ(Judged("on", Held("off"), kCeiling), "overwritten");
}

TEST(Verdict, WhatCannotBeReadIsTold) {
    EXPECT_EQ(Judged("1", Failed(NodeReading::NOT_OPENED, EACCES)), "write-only");
    EXPECT_EQ(Judged("1", Failed(NodeReading::NOT_OPENED, EPERM)), "write-only");
    EXPECT_EQ(Judged("1", Failed(NodeReading::NOT_OPENED, ENOENT)), "absent");
    EXPECT_EQ(Judged("1", Failed(NodeReading::NOT_READ, ENODEV)), "absent");
    EXPECT_EQ(Judged("1", Failed(NodeReading::NOT_READ, EIO)), "unreadable");
    EXPECT_EQ(Judged("1", {}), "unreadable");
}

TEST(Verdict, AFailedWriteIsRejectedUnlessThereIsNoNode) {
    EXPECT_EQ(JudgeFailure({.failure = "x", .error = ENOENT, .isOpening = true}), Verdict::ABSENT);
    EXPECT_EQ(JudgeFailure({.failure = "x", .error = EACCES, .isOpening = true}),
              Verdict::REJECTED);
    EXPECT_EQ(JudgeFailure({.failure = "x", .error = ENODEV}), Verdict::REJECTED);
}

TEST(Verdict, OnlyWhatTheKernelDoesToEveryValueIsNoMismatch) {
    for (const Verdict fine : {Verdict::EXACT, Verdict::ROUNDED, Verdict::WRITE_ONLY}) {
        EXPECT_FALSE(IsMismatch(fine)) << NameOf(fine);
    }
    for (const Verdict bad : {Verdict::LIMITED, Verdict::OVERWRITTEN, Verdict::REJECTED,
                              Verdict::ABSENT, Verdict::UNREADABLE}) {
        EXPECT_TRUE(IsMismatch(bad)) << NameOf(bad);
    }
}

// ---- On a device ----

/// Passes all on to a device, and writes to one of its nodes before somebody reads it for the n-th
/// time. Used by one thread at a time.
class Meddler : public sim::ForwardingNodeIo {
public:
    using ForwardingNodeIo::ForwardingNodeIo;

    void WriteBeforeRead(int read, const std::string& path, const std::string& text) {
        mPath = path;
        mText = text;
        mReadsLeft = read;
    }
    /// Reads count from the engine's next write to the node on.
    void AwaitWrite() { mIsWritten = false; }

    int Open(const char* path, int flags) override {
        const bool isIt = path == mPath && (flags & O_PATH) == 0;
        const bool isRead = (flags & O_ACCMODE) == O_RDONLY;
        if (isIt && !isRead) {
            mIsWritten = true;
        }
        if (isIt && isRead && mIsWritten && --mReadsLeft == 0) {
            const int fd = Device().Open(path, O_WRONLY);
            EXPECT_GT(Device().Write(fd, mText.data(), mText.size()), 0);
            Device().Close(fd);
        }
        return Device().Open(path, flags);
    }

private:
    std::string mPath;
    std::string mText;
    std::atomic<bool> mIsWritten{true};
    std::atomic<int> mReadsLeft{0};
};

class VerifiedRun : public ::testing::Test {
protected:
    /// What `act` does and prints on the device as if it were the kernel.
    template <typename Act>
    Outcome OnDevice(Act act) {
        const corebeacon::test::ScopedNodeIo scope(mMeddler);
        const corebeacon::test::LogCapture log(0);
        const DrivenClock clock;
        std::ostringstream out;
        std::ostringstream diagnostics;
        const int exitCode =
            act(SessionOptions{.device = DeviceKind::KERNEL, .chip = 0}, out, diagnostics);
        return {exitCode, out.str(), diagnostics.str()};
    }

    Outcome Play(const std::string& script, bool isJson = false,
                 std::chrono::milliseconds watch = std::chrono::milliseconds(0)) {
        return OnDevice(
            [&](const SessionOptions& session, std::ostream& out, std::ostream& diagnostics) {
                const RunOptions options{
                    .session = session, .isJson = isJson, .isVerifying = true, .watch = watch};
                return PlayScript(script, "story.qos", options, out, diagnostics);
            });
    }

    /// The lines of the summary.
    static std::string Summary(const Outcome& outcome) {
        const std::string head = "\nVerified writes\n";
        const std::size_t at = outcome.out.find(head);
        return at == std::string::npos ? outcome.out : outcome.out.substr(at + head.size());
    }
    static bool Has(const std::string& text, const std::string& part) {
        return text.find(part) != std::string::npos;
    }
    /// The thread that opened the node last is on the device still, which must not go before it.
    void AwaitReaderOf(const std::string& path) {
        pid_t thread = 0;
        for (const sim::Operation& operation : mDevice->Operations(OperationKind::OPEN)) {
            thread = operation.path == path ? operation.thread : thread;
        }
        const std::string task = "/proc/self/task/" + std::to_string(thread);
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (::access(task.c_str(), F_OK) == 0) {
            ASSERT_LT(std::chrono::steady_clock::now(), deadline);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    std::unique_ptr<SimulatedDevice> mDevice = SimulatedDevice::ForChip(0);
    Meddler mMeddler{*mDevice};
};

TEST_F(VerifiedRun, WhatTheNodesTookIsExact) {
    const Outcome outcome = Play(kBoost + "release h\n");
    EXPECT_EQ(outcome.exitCode, kExitDone);
    EXPECT_EQ(Summary(outcome), "  exact  4\n") << outcome.out;
}

TEST_F(VerifiedRun, AValueBesideTheTableIsRounded) {
    const Outcome outcome = Play("request pid=1 CPU_B.boost=1952001\n");
    EXPECT_EQ(outcome.exitCode, kExitDone) << outcome.out;
    EXPECT_TRUE(Has(Summary(outcome), "  rounded  1  " + kMin + "  wrote 1952001, holds "))
        << outcome.out;
}

TEST_F(VerifiedRun, AThermalCeilingIsALimit) {
    mDevice->Throttle(kPolicy, 1952000);
    const Outcome outcome = Play("request pid=1 CPU_B.boost=1417000\n");
    EXPECT_EQ(outcome.exitCode, kExitMismatch);
    EXPECT_TRUE(Has(outcome.out,
                    "    limited: CPU_B  policy2/scaling_max_freq  wrote 2487000, "
                    "holds 1952000\n"))
        << outcome.out;
    EXPECT_TRUE(Has(Summary(outcome), "  limited  1  " + kMax)) << Summary(outcome);
}

TEST_F(VerifiedRun, ANodeThatRefusesIsRejected) {
    mDevice->Inject(kMin, OperationKind::WRITE, Fault::Errno(EINVAL).Forever());
    const Outcome outcome = Play(kBoost);
    EXPECT_EQ(outcome.exitCode, kExitMismatch);
    EXPECT_TRUE(
        Has(Summary(outcome), "  rejected  1  " + kMin + "  wrote 1952000: Invalid argument"))
        << outcome.out;
}

TEST_F(VerifiedRun, ANodeThatIsNotThereIsAbsent) {
    mDevice->Remove(kGpuMin);
    const Outcome outcome = Play("request pid=1 GPU.boost=600000000\n");
    EXPECT_EQ(outcome.exitCode, kExitMismatch);
    EXPECT_TRUE(Has(Summary(outcome), "  absent  1  " + kGpuMin)) << outcome.out;
}

TEST_F(VerifiedRun, ANodeThatCannotBeReadIsNoMismatch) {
    mDevice->AddText(kGpuMin, "0", sim::Access::WRITE_ONLY);
    const Outcome outcome = Play("request pid=1 GPU.boost=600000000\n");
    EXPECT_EQ(outcome.exitCode, kExitDone) << outcome.out;
    EXPECT_TRUE(Has(Summary(outcome), "  write-only  1  " + kGpuMin + "  wrote 600000000"))
        << outcome.out;
}

TEST_F(VerifiedRun, AForeignValueThatComesLaterIsOverwriting) {
    // The first read finds the engine's value, the second somebody else's.
    mMeddler.AwaitWrite();
    mMeddler.WriteBeforeRead(2, kMin, "1417000");
    const Outcome outcome = Play(kBoost + "wait 100ms\nwait 100ms\n");
    EXPECT_EQ(outcome.exitCode, kExitMismatch);
    EXPECT_TRUE(Has(outcome.out,
                    "    overwritten: CPU_B  policy2/scaling_min_freq  wrote 1952000, "
                    "holds 1417000\n"))
        << outcome.out;
    EXPECT_TRUE(Has(Summary(outcome), "  overwritten  1  " + kMin));
    EXPECT_TRUE(Has(Summary(outcome), "  exact        1\n")) << Summary(outcome);
}

TEST_F(VerifiedRun, ANodeThatHangsHoldsNobodyUp) {
    const auto gate = std::make_shared<sim::Gate>();
    mDevice->Inject(kGpuMin, OperationKind::READ, Fault::Hold(gate).Forever());
    const Outcome outcome = Play("request pid=1 GPU.boost=600000000\n");
    EXPECT_EQ(mDevice->OpenDescriptors(kGpuMin), 1U);
    gate->Open();
    AwaitReaderOf(kGpuMin);
    EXPECT_EQ(mDevice->OpenDescriptors(kGpuMin), 0U);  // closed where it had been opened
    EXPECT_EQ(outcome.exitCode, kExitMismatch);
    EXPECT_TRUE(Has(Summary(outcome),
                    "  unreadable  1  " + kGpuMin + "  wrote 600000000: no answer in time"))
        << outcome.out;
    EXPECT_TRUE(Has(outcome.out, "600000000  (as written)")) << outcome.out;
}

TEST_F(VerifiedRun, NodesThatHangAreGivenUpTogetherInTheEnd) {
    constexpr std::chrono::milliseconds kLimit{100};
    const auto gate = std::make_shared<sim::Gate>();
    std::vector<std::string> paths;
    for (int i = 0; i < 12; ++i) {
        paths.push_back("/hanging/" + std::to_string(i));
        mDevice->AddText(paths.back(), "0");
        mDevice->Inject(paths.back(), OperationKind::READ, Fault::Hold(gate).Forever());
    }
    auto reader = std::make_unique<TimedReader>(*mDevice, kLimit);
    for (const std::string& path : paths) {
        EXPECT_EQ(reader->Read(path).status, NodeReading::NO_ANSWER);
    }
    const auto begin = std::chrono::steady_clock::now();
    reader.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, paths.size() * kLimit / 2);
    gate->Open();
    for (const std::string& path : paths) {
        AwaitReaderOf(path);
    }
}

TEST_F(VerifiedRun, TheDocumentTellsTheSame) {
    mDevice->Throttle(kPolicy, 1952000);
    const Outcome outcome = Play("request pid=1 CPU_B.boost=1417000\n", true);
    EXPECT_EQ(outcome.exitCode, kExitMismatch);
    const auto json = nlohmann::json::parse(outcome.out);
    EXPECT_EQ(json["exit_code"], 3);
    EXPECT_EQ(json["verify"]["mismatch"], true);
    EXPECT_EQ(json["verify"]["classes"]["limited"], 1);
    EXPECT_EQ(json["verify"]["classes"]["exact"], 1);
    EXPECT_EQ(json["verify"]["superseded"], 1);
    const auto& nodes = json["verify"]["nodes"];
    ASSERT_EQ(nodes.size(), 2U);
    EXPECT_EQ(nodes[0]["path"], kMax);
    EXPECT_EQ(nodes[0]["class"], "limited");
    EXPECT_EQ(nodes[0]["written"], "2487000");
    EXPECT_EQ(nodes[0]["held"], "1952000");
}

TEST_F(VerifiedRun, WhatOthersWriteAfterwardsIsNoticed) {
    // Read once by the verification, after the statement, for the final values, at the end, to
    // begin the watch and at its first look.
    mMeddler.AwaitWrite();
    mMeddler.WriteBeforeRead(7, kMin, "1417000");
    const Outcome outcome = Play(kBoost, false, std::chrono::milliseconds(1000));
    EXPECT_EQ(outcome.exitCode, kExitMismatch);
    EXPECT_TRUE(Has(outcome.out, "\nWatching 2 nodes\n")) << outcome.out;
    EXPECT_TRUE(Has(outcome.out, "CPU_B  policy2/scaling_min_freq  1952000 -> 1417000\n"))
        << outcome.out;
    const auto json =
        nlohmann::json::parse(Play(kBoost, true, std::chrono::milliseconds(1000)).out);
    EXPECT_EQ(json["watch"], nlohmann::json::array());
    EXPECT_EQ(json["exit_code"], 0);
}

TEST(Verify, TheStoryOfTheDemoIsBorneOut) {
    const corebeacon::test::LogCapture log(0);
    const DrivenClock clock;
    std::ostringstream out;
    std::ostringstream diagnostics;
    EXPECT_EQ(PlayDemo({.isVerifying = true}, out, diagnostics), kExitDone) << out.str();
    EXPECT_NE(out.str().find("\nVerified writes\n  exact"), std::string::npos);
}

// ---- watch ----

class Watched : public VerifiedRun {
protected:
    Outcome WatchFor(const std::vector<std::string>& targets, bool isJson = false) {
        return OnDevice(
            [&](const SessionOptions& session, std::ostream& out, std::ostream& diagnostics) {
                const WatchCommandOptions options{.session = session,
                                                  .targets = targets,
                                                  .watch = {.span = std::chrono::seconds(1)},
                                                  .isJson = isJson};
                return WatchNodes(options, out, diagnostics);
            });
    }
};

TEST_F(Watched, EachChangeIsToldWithItsTime) {
    mMeddler.WriteBeforeRead(4, kMin, "1417000");
    const Outcome outcome = WatchFor({"CPU_B"});
    EXPECT_EQ(outcome.exitCode, kExitDone);
    EXPECT_EQ(outcome.diagnostics, "");
    EXPECT_EQ(outcome.out,
              "Watching 2 nodes\n   0.300  CPU_B  policy2/scaling_min_freq  1239000 -> 1417000\n");
}

TEST_F(Watched, WhatGoesAwayIsToldToo) {
    mDevice->Inject(kMin, OperationKind::OPEN, Fault::Errno(ENOENT).StartingAt(4).Forever());
    const Outcome outcome = WatchFor({"scaling_min_freq"});
    EXPECT_NE(outcome.out.find("1239000 -> (No such file or directory)\n"), std::string::npos)
        << outcome.out;
}

TEST_F(Watched, OneDocumentInTheEnd) {
    mMeddler.WriteBeforeRead(4, kMin, "1417000");
    const auto json = nlohmann::json::parse(WatchFor({kMin, kMax}, true).out);
    EXPECT_EQ(json["command"], "watch");
    EXPECT_EQ(json["watched"], 2);
    ASSERT_EQ(json["changes"].size(), 1U);
    EXPECT_EQ(json["changes"][0]["time_us"], 300000);
    EXPECT_EQ(json["changes"][0]["from"], "1239000");
    EXPECT_EQ(json["changes"][0]["to"], "1417000");
}

TEST_F(Watched, AllNodesOfTheTableUnlessToldOtherwise) {
    const Outcome outcome = WatchFor({});
    EXPECT_EQ(outcome.exitCode, kExitDone);
    EXPECT_GT(std::stoi(outcome.out.substr(std::string("Watching ").size())), 50) << outcome.out;
}

TEST_F(Watched, AQosThatIsNotInServiceIsToldWithTheReason) {
    mDevice->Remove("/sys/class/devfreq/gpufreq/available_frequencies");
    for (const std::string target : {"GPU", "gpu.0"}) {
        const Outcome outcome = WatchFor({target});
        EXPECT_EQ(outcome.exitCode, kExitBadInput);
        EXPECT_EQ(outcome.diagnostics,
                  "corebeacon: GPU is not in service: its frequency list "
                  "/sys/class/devfreq/gpufreq/available_frequencies cannot be used\n");
    }
}

TEST_F(Watched, WhatNamesNoNodeIsBadInput) {
    EXPECT_EQ(WatchFor({"GPV"}).exitCode, kExitBadInput);
    const Outcome outcome = WatchFor({"/no/such/node"});
    EXPECT_EQ(outcome.exitCode, kExitFailed);
    EXPECT_EQ(outcome.diagnostics, "corebeacon: none of these nodes can be read\n");
}

}  // namespace
}  // namespace corebeacon::tool::test
