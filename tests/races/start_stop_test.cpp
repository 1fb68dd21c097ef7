// Engines come and go while another one works, each going with requests queued, a node that hangs
// and a dump under way.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <filesystem>
#include <memory>
#include <sstream>
#include <thread>
#include <vector>

#include "corebeacon/log.h"
#include "support/deadline.h"
#include "support/engine_fixture.h"
#include "support/sizes.h"

namespace corebeacon::test {
namespace {

constexpr int kPid = 1;
constexpr unsigned int kLongMs = 60000;

/// Counts the dumps that are past their first resource.
class DumpWatch : public LogSink {
public:
    DumpWatch() {
        SetLogSink(this);
        PfLogonNamespace::PfLogonSet(2);
    }
    ~DumpWatch() override {
        PfLogonNamespace::PfLogonSet(0);
        SetLogSink(nullptr);
    }
    DumpWatch(const DumpWatch&) = delete;
    DumpWatch& operator=(const DumpWatch&) = delete;

    void Write(int, const char*, const char* message) noexcept override {
        if (std::strstr(message, "res 0 log finish") != nullptr) {
            ++mSeen;
        }
    }
    long Seen() const { return mSeen; }

private:
    std::atomic<long> mSeen{0};
};

class StartStopTest : public EngineFixture {
protected:
    PerfDefaultConfig Only(std::initializer_list<PerfQosId> ids) const {
        PerfDefaultConfig config = BuiltinConfig();
        std::erase_if(config.qosConfigMap, [&ids](const auto& entry) {
            return std::find(ids.begin(), ids.end(), entry.first) == ids.end();
        });
        return config;
    }

    /// As a caller of an engine of its own would be, all the while.
    void KeepBusy(ConfigManager& engine, const std::atomic<bool>& isOver, int pid) const {
        while (!isOver) {
            unsigned long handle = 0;
            EXPECT_EQ(engine.PerfRequest(
                          pid, 0, {Ask(PERF_QOS_GPU, PERF_OPERATION_BOOST, 500000000)}, handle),
                      0);
            EXPECT_EQ(engine.PerfRequest(
                          pid, 20, {Ask(PERF_QOS_GPU, PERF_OPERATION_LIMIT, 600000000)}, handle),
                      0);
            EXPECT_EQ(engine.PerfReleaseAll(pid), 0);
            std::this_thread::yield();
        }
    }

    static std::size_t ThreadCount() {
        const std::filesystem::directory_iterator tasks("/proc/self/task");
        return static_cast<std::size_t>(std::distance(begin(tasks), end(tasks)));
    }

    /// One life of an engine with two QoS. Its dump is answered by the first of them and waits for
    /// the second, whose node hangs until, or shortly after, the engine is told to go.
    void LiveAndDie(bool isOpenedBefore) {
        auto front = std::make_unique<ConfigManager>();
        ASSERT_EQ(front->Init(mConfig, {}, {}, ProbeEvent()), 0);
        auto gate = std::make_shared<sim::Gate>();
        mDevice->Inject(kMinM, sim::OperationKind::WRITE, sim::Fault::Hold(gate));
        unsigned long handle = 0;
        EXPECT_EQ(front->PerfRequest(kPid, kLongMs,
                                     {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 1000000),
                                      Ask(PERF_QOS_CPU_M, PERF_OPERATION_BOOST, 1160000)},
                                     handle),
                  0);
        ASSERT_TRUE(gate->AwaitWaiting(1));
        const long seenBefore = mWatch.Seen();
        std::thread dumper([&front] {
            std::ostringstream out;
            EXPECT_EQ(front->TaskDump(false, out), 0);
        });
        EXPECT_TRUE(Eventually([&] { return mWatch.Seen() > seenBefore; }));
        std::thread opener([&gate] { gate->Open(); });
        if (isOpenedBefore) {
            opener.join();
        }
        delete front.release();  // the dumper still has the address, which reset() would clear
        if (!isOpenedBefore) {
            opener.join();
        }
        dumper.join();
    }

    static constexpr const char* kMinM = "/sys/devices/system/cpu/cpufreq/policy1/scaling_min_freq";

    const DumpWatch mWatch;
    PerfDefaultConfig mConfig;  // of those that come and go
};

TEST_F(StartStopTest, EnginesComeAndGoBesideOneThatWorks) {
    mDevice->SetRecordLimit(0);
    ConfigManager working;
    PerfDefaultConfig config = Only({PERF_QOS_GPU});
    ASSERT_EQ(working.Init(config, {}, {}, ProbeEvent()), 0);
    std::atomic<bool> isOver{false};
    std::vector<std::thread> callers;
    for (int pid = 1; pid <= 2; ++pid) {
        callers.emplace_back([&, pid] { KeepBusy(working, isOver, pid); });
    }
    mConfig = Only({PERF_QOS_CPU_L, PERF_QOS_CPU_M});
    const std::size_t threads = ThreadCount();
    const long lives = SizeFromEnvironment("COREBEACON_START_STOPS", 50);
    for (long life = 0; life < lives && !HasFatalFailure(); ++life) {
        LiveAndDie(life % 2 == 0);
    }
    EXPECT_TRUE(Eventually([&] { return ThreadCount() == threads; }));
    isOver = true;
    for (std::thread& caller : callers) {
        caller.join();
    }
    Settle(working);
    // Nothing of the engines that went is still open, and nothing of this one is lost.
    EXPECT_LE(mDevice->OpenDescriptors(), 3U);
    unsigned long handle = 0;
    EXPECT_EQ(
        working.PerfRequest(kPid, 0, {Ask(PERF_QOS_GPU, PERF_OPERATION_BOOST, 500000000)}, handle),
        0);
    EXPECT_EQ(working.PerfRelease(kPid, handle), 0);
}

}  // namespace
}  // namespace corebeacon::test
