/// An engine that has only CPU_L, CPU_M, CPU_B and GPU, with scenarios, events and a probe of the
/// test's own, so that everything it does can be told exactly. Owned by a test.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "support/deadline.h"
#include "support/engine_fixture.h"
#include "support/log_capture.h"
#include "support/manual_clock.h"

namespace corebeacon::test {

using Names = std::vector<std::string>;
using std::chrono::milliseconds;

inline constexpr int kPid = 1001;
inline constexpr int kOtherPid = 1002;

inline const std::string kMinL = "/sys/devices/system/cpu/cpufreq/policy0/scaling_min_freq";
inline const std::string kMaxL = "/sys/devices/system/cpu/cpufreq/policy0/scaling_max_freq";
inline const std::string kMinM = "/sys/devices/system/cpu/cpufreq/policy1/scaling_min_freq";
inline const std::string kMaxM = "/sys/devices/system/cpu/cpufreq/policy1/scaling_max_freq";
inline const std::string kMinB = "/sys/devices/system/cpu/cpufreq/policy2/scaling_min_freq";
inline const std::string kMinGpu = "/sys/class/devfreq/gpufreq/min_freq";
inline const std::string kMaxGpu = "/sys/class/devfreq/gpufreq/max_freq";
inline const std::string kBindNode = "/dev/thread_bind";

/// What the nodes hold while nobody asks for anything.
inline const std::string kBaseMinL = "418000";
inline const std::string kBaseMinM = "418000";
inline const std::string kBaseMinB = "1239000";
inline const std::string kBaseMinGpu = "279000000";

class FrontFixture : public EngineFixture {
protected:
    static constexpr unsigned int kScenario = 3;
    static constexpr PerfEventId kEvent = 4;
    static constexpr PerfEventId kOtherEvent = 5;

    FrontFixture() { mDevice->AddText(kBindNode, "none"); }

    PerfDefaultConfig FrequencyConfig() const {
        PerfDefaultConfig config = BuiltinConfig();
        std::erase_if(config.qosConfigMap,
                      [](const auto& entry) { return entry.first > PERF_QOS_GPU; });
        return config;
    }

    int InitFront(PerfDefaultConfig config, const HandleLimits& limits = HandleLimits()) {
        mFront = std::make_unique<ConfigManager>(limits);
        const int result = mFront->Init(config, mEvents, mScenarios, mProbe);
        // The binder greets from its own thread: a late line must not land in a test's record.
        EXPECT_TRUE(result != 0 || Eventually([this] {
                        return mLog.Count(LOG_LEVEL_DEBUG, "Perf Thread Binder WorkThread") != 0;
                    }));
        mDevice->ClearRecord();
        mLog.Clear();
        return result;
    }

    void Start(const HandleLimits& limits = HandleLimits()) {
        ASSERT_EQ(InitFront(FrequencyConfig(), limits), 0);
    }

    /// Takes every resource away behind the front's back, as only a broken engine could.
    void DropResources() { const_cast<ResourceManager&>(mFront->Resources()).Clear(); }

    /// What the node holds once everything asked for so far is done.
    std::string Value(const std::string& node) const {
        Settle(*mFront);
        return mDevice->Value(node);
    }

    /// Moves the clock on and lets the workers follow: true once `node` holds `expected`.
    bool BecomesAfter(milliseconds step, const std::string& node, const std::string& expected) {
        mClock.Advance(step);
        return Eventually([&] { return mDevice->Value(node) == expected; });
    }

    /// The writes to one node since the last call, in order, once everything is done.
    Names NewWrites(const std::string& node) {
        Settle(*mFront);
        const Names all = mDevice->WritesTo(node);
        std::size_t& seen = mSeen[node];
        Names fresh(all.begin() + static_cast<std::ptrdiff_t>(seen), all.end());
        seen = all.size();
        return fresh;
    }

    std::size_t WriteCount() const {
        Settle(*mFront);
        return mDevice->Writes().size();
    }

    /// The binder writes in its own time.
    bool BinderWrote(const Names& texts) const {
        return Eventually([&] { return mDevice->WritesTo(kBindNode).size() >= texts.size(); }) &&
               mDevice->WritesTo(kBindNode) == texts;
    }

    static SequenceCommand Step(unsigned int duration, int boost) {
        return {duration, {{0, {{PERF_OPERATION_BOOST, boost}}}}};
    }

    ManualClock mClock;
    LogCapture mLog;
    std::vector<ConfigurableScenario> mScenarios = {
        {kScenario,
         {Ask(PERF_QOS_GPU, PERF_OPERATION_LIMIT, 495000000),
          Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 893000)}}};
    std::vector<ConfigurableEvent> mEvents = {
        {kEvent,
         {{PERF_QOS_CPU_M, {Step(100, 1407000), Step(200, 1160000)}},
          {PERF_QOS_CPU_L, {Step(150, 1211000)}}}},
        {kOtherEvent, {{PERF_QOS_CPU_B, {Step(60000, 1952000)}}}}};
    ProbeEvent mProbe = {.nodePath = kBindNode,
                         .bindText = "bind",
                         .unbindText = "unbind",
                         .startDelayMs = 10,
                         .spanMs = 100,
                         .cpuM = 1407000,
                         .cpuB = 1952000,
                         .gpu = 400000000};
    unsigned long mHandle = 0;

private:
    std::map<std::string, std::size_t> mSeen;
};

}  // namespace corebeacon::test
