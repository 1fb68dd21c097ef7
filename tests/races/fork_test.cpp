// A host forks while workers write: its children may exec or exit, and no descriptor of the engine
// goes with them.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "corebeacon/trace.h"
#include "sim/forwarding_node_io.h"
#include "soak/busy_engine.h"
#include "soak/random_caller.h"

namespace corebeacon::test {
namespace {

namespace fs = std::filesystem;

constexpr int kPid = 1;
constexpr int kForks = 20;

/// An engine on files of a folder of its own, through the kernel itself.
class ForkTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = "/tmp/corebeacon-fork-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        mFolder = pattern;
        for (const char* name : {"node", "probe", "trace_marker"}) {
            std::ofstream(mFolder / name) << "";
        }
        ASSERT_EQ(BindSysTrace(mFolder / "trace_marker"), 0);
        mRow.groups.emplace_back(0U, "FILE", 0, 1000, 0, 1000,
                                 std::vector<std::string>{mFolder / "node"}, CHIP_TYPE_COMMON);
        PerfDefaultConfig config;
        config.qosConfigMap.emplace(PERF_QOS_LATENCY_CPU, mRow);
        const ProbeEvent probe{.nodePath = mFolder / "probe",
                               .bindText = "bind",
                               .unbindText = "unbind",
                               .startDelayMs = 0,
                               .spanMs = 60000,
                               .cpuM = 0,
                               .cpuB = 0,
                               .gpu = 0};
        ASSERT_EQ(mFront.Init(config, {}, {}, probe), 0);
        ASSERT_EQ(mFront.StartProbe(4711), 0);
        mCaller = std::thread([this] { KeepBusy(); });
        ASSERT_TRUE(Eventually([this] { return HeldHere() == 3; })) << "node, probe, trace_marker";
    }

    void TearDown() override {
        mIsOver = true;
        if (mCaller.joinable()) {
            mCaller.join();
        }
        UnbindSysTrace();
        fs::remove_all(mFolder);
    }

    /// How many of the folder's files this process has open.
    std::size_t HeldHere() const {
        std::size_t held = 0;
        for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/fd")) {
            std::error_code error;  // the iterator's own descriptor comes and goes
            held += fs::read_symlink(entry.path(), error).parent_path() == mFolder ? 1U : 0U;
        }
        return held;
    }

    /// A shell's script that fails if a descriptor of the shell leads into the folder.
    std::string LookForDescriptors() const {
        return "for fd in /proc/$$/fd/*; do case $(readlink $fd) in " + mFolder.string() +
               "/*) exit 1;; esac; done; exit 0";
    }

    /// Forks and has the child run `program`, all set up beforehand: between fork and exec a child
    /// of many threads may call next to nothing.
    static int StatusOf(const std::vector<const char*>& program) {
        const pid_t child = ::fork();
        if (child == 0) {
            if (program.size() > 1) {
                ::execv(program.front(), const_cast<char* const*>(program.data()));
                ::_exit(127);
            }
            ::_exit(0);
        }
        int status = -1;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        return status;
    }

    ConfigManager mFront;
    fs::path mFolder;

private:
    void KeepBusy() {
        int value = 0;
        while (!mIsOver) {
            unsigned long handle = 0;
            value = (value + 1) % 1000;
            EXPECT_EQ(
                mFront.PerfRequest(
                    kPid, 0, {Ask(PERF_QOS_LATENCY_CPU, PERF_OPERATION_BOOST, value)}, handle),
                0);
            EXPECT_EQ(mFront.PerfRelease(kPid, handle), 0);
            std::this_thread::yield();
        }
    }

    PerfQosConfig mRow{"FILE", {}};
    std::atomic<bool> mIsOver{false};
    std::thread mCaller;
};

TEST_F(ForkTest, AChildThatExecsHasNoDescriptorOfTheEngine) {
    const std::string script = "for fd in /proc/$$/fd/*; do case $(readlink $fd) in " +
                               mFolder.string() + "/*) exit 1;; esac; done; exit 0";
    const std::vector<const char*> shell = {"/bin/sh", "-c", script.c_str(), nullptr};
    for (int i = 0; i < kForks; ++i) {
        EXPECT_EQ(StatusOf(shell), 0);
    }
}

TEST_F(ForkTest, TheLookForDescriptorsSeesOneThatIsLeftOpen) {
    const int leak = ::open((mFolder / "node").c_str(), O_RDONLY);
    ASSERT_GE(leak, 0);
    const std::string script = "for fd in /proc/$$/fd/*; do case $(readlink $fd) in " +
                               mFolder.string() + "/*) exit 1;; esac; done; exit 0";
    EXPECT_EQ(WEXITSTATUS(StatusOf({"/bin/sh", "-c", script.c_str(), nullptr})), 1);
    ::close(leak);
}

TEST_F(ForkTest, AChildMayExitAtOnceAndTheParentGoesOn) {
    for (int i = 0; i < kForks; ++i) {
        EXPECT_EQ(StatusOf({nullptr}), 0);
    }
    unsigned long handle = 0;
    EXPECT_EQ(
        mFront.PerfRequest(2, 0, {Ask(PERF_QOS_LATENCY_CPU, PERF_OPERATION_BOOST, 7)}, handle), 0);
    EXPECT_EQ(mFront.PerfRelease(2, handle), 0);
}

/// Looks at the flags of every open.
class FlagWatch : public sim::ForwardingNodeIo {
public:
    using ForwardingNodeIo::ForwardingNodeIo;

    int Open(const char* path, int flags) override {
        ++((flags & O_CLOEXEC) != 0 ? mClosedOnExec : mLeftOpen);
        return ForwardingNodeIo::Open(path, flags);
    }
    long ClosedOnExec() const { return mClosedOnExec; }
    long LeftOpen() const { return mLeftOpen; }

private:
    std::atomic<long> mClosedOnExec{0};
    std::atomic<long> mLeftOpen{0};
};

class OpenFlagsTest : public BusyEngineFixture {
protected:
    FlagWatch mFlags{*mDevice};

private:
    const ScopedNodeIo mWatched{mFlags};
};

TEST_F(OpenFlagsTest, EveryOpenOfEveryKindIsToBeClosedOnExec) {
    // By now the frequency lists were read and every resource was at each of its levels.
    RandomCaller caller(*mFront, mConfig, 0, 20, 60);
    for (int step = 0; step < 200; ++step) {
        caller.Step();
    }
    RandomCaller::CalmDown(*mFront);
    Settle(*mFront);
    EXPECT_GT(mFlags.ClosedOnExec(), 100);
    EXPECT_EQ(mFlags.LeftOpen(), 0);
}

}  // namespace
}  // namespace corebeacon::test
