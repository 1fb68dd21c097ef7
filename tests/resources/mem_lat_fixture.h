/// A memory-latency resource with one ratio node and one switch on a simulated device, on a clock
/// that a test moves. The test does the worker's steps.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "resources/mem_lat_target_ratio_resource.h"
#include "sim/simulated_device.h"
#include "support/log_capture.h"
#include "support/manual_clock.h"
#include "support/scoped_node_io.h"

namespace corebeacon::test::memlat {

using std::chrono::milliseconds;
using Texts = std::vector<std::string>;

inline constexpr const char* kRatioNode = "/memlat/ratio";
inline constexpr const char* kEnableNode = "/memlat/enable";
inline constexpr unsigned int kRatio = 0;
inline constexpr unsigned int kMonitor = 1;
inline constexpr PerfOperationType kBoost = PERF_OPERATION_BOOST;
inline constexpr PerfOperationType kLimit = PERF_OPERATION_LIMIT;

inline const Texts kTwoAtOnce{"[MEMLAT] only support one group command at a time",
                              "[MEMLAT] CommandPostProcess failed",
                              "[MEMLAT] CommandProcess failed", "[MEMLAT] CommandDispath failed",
                              "[MEMLAT] HandleNewCommand failed"};

inline PerfGroupConfig RatioRow(int baseLevel, unsigned int groupId = kRatio) {
    const Level2ValueMap levels{
        {0, {"closed"}}, {80, {"800"}}, {90, {"900"}}, {100, {"1000"}}, {120, {"1200"}}};
    return PerfGroupConfig(groupId, "RATIO", baseLevel, {kRatioNode}, levels, CHIP_TYPE_COMMON);
}

inline PerfGroupConfig MonitorRow(unsigned int groupId = kMonitor) {
    const Level2ValueMap levels{{0, {"off"}}, {1, {"on"}}};
    return PerfGroupConfig(groupId, "MONITOR", 0, {kEnableNode}, levels, CHIP_TYPE_COMMON);
}

/// Shows its state, so that tests can put it where no step leads.
class OpenResource : public MemLatTargetRatioResource {
public:
    using MemLatTargetRatioResource::MemLatTargetRatioResource;
    ~OpenResource() override { StopThread(); }

    using MemLatTargetRatioResource::mLastMonitorEnable;
    using MemLatTargetRatioResource::mLastTargetRatio;
    using MemLatTargetRatioResource::mMonitorPending;
    using MemLatTargetRatioResource::mNewMonitorEnable;
    using MemLatTargetRatioResource::mNewTargetRatio;
    using MemLatTargetRatioResource::mRatioPending;
};

class MemLatFixture : public testing::Test {
protected:
    MemLatFixture() {
        mDevice.AddText(kRatioNode, "-");
        mDevice.AddText(kEnableNode, "-");
    }

    OpenResource& Make(const PerfQosConfig& config) {
        mResource = std::make_unique<OpenResource>(
            ResConstructParam{config, PERF_WORK_MODE_0, PERF_QOS_MEMLAT_TARGET_RATIO_CPU_L});
        return *mResource;
    }

    /// A resource whose ratio rests at `baseLevel`.
    OpenResource& Build(int baseLevel = 0) {
        PerfQosTargetRatioConfig config("MEMLAT", {RatioRow(baseLevel), MonitorRow()});
        EXPECT_EQ(Make(config).InitResource(config, false), 0);
        return *mResource;
    }

    void Step(PerfCommandType type, unsigned long handle, const GroupValueMap& groups,
              milliseconds span = milliseconds(0)) {
        auto item = std::make_shared<PerfCommandItem>();
        item->handle = handle;
        item->startTime = mClock.SteadyNow();
        item->endTime = item->startTime + span;
        item->groups = groups;
        mResource->SendCommandToFifoQ({type, item});
        mResource->HandleCommand(WorkStatus::NEW_COMMAND);
    }

    void Start(unsigned long handle, unsigned int groupId, int level) {
        Step(PERF_COMMAND_LONG_START, handle, {{groupId, {{kBoost, level}}}});
    }
    void Stop(unsigned long handle, unsigned int groupId, int level) {
        Step(PERF_COMMAND_LONG_STOP, handle, {{groupId, {{kBoost, level}}}});
    }
    void SetMode(PerfWorkMode mode) {
        auto item = std::make_shared<PerfCommandItem>();
        item->workMode = mode;
        mResource->SendCommandToFifoQ({PERF_COMMAND_MODE_START, item});
        mResource->HandleCommand(WorkStatus::NEW_COMMAND);
    }
    void TimeOut() { mResource->HandleCommand(WorkStatus::TIME_OUT); }

    /// The writes since the last call, as "node=text".
    Texts TakeWrites() {
        Texts writes;
        for (const sim::Operation& write : mDevice.Writes()) {
            writes.push_back(write.path.substr(write.path.rfind('/') + 1) + "=" + write.bytes);
        }
        mDevice.ClearRecord();
        return writes;
    }

    /// The lines of the resource itself since the last call.
    Texts TakeOwnLines() {
        Texts lines;
        for (const LogLine& line : mLog.Lines()) {
            if (line.tag == "PF_MEM_LAT_TARGET_RATIO_RES") {
                lines.push_back(std::to_string(line.level) + " " + line.text);
            }
        }
        mLog.Clear();
        return lines;
    }

    ManualClock mClock;
    sim::SimulatedDevice mDevice;
    ScopedNodeIo mNodeIo{mDevice};
    LogCapture mLog;
    std::unique_ptr<OpenResource> mResource;
};

inline const Texts kSameAsLast{"3 [MEMLAT] same as last command"};
inline const Texts kNeedsClosing{"3 [MEMLAT] need to be closed"};
inline const Texts kAlreadyClosed{"3 [MEMLAT] already closed"};
inline const Texts kNothingNew{"3 [MEMLAT] no new command to process"};

}  // namespace corebeacon::test::memlat
