/// One frequency range of the chip: a floor node and a ceiling node, and for the GPU a switch that
/// tells whether a limit is in force. Remembers the limits that were in force lately. Owned by its
/// FrequencyResource, whose worker thread alone calls it; only the limit history may be dumped from
/// any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <sstream>
#include <string>
#include <vector>

#include "engine/node_record.h"
#include "engine/perf_group.h"
#include "platform/clock.h"
#include "platform/mutex.h"
#include "platform/thread_annotations.h"

namespace corebeacon {

/// One limit of the past, or the one in force.
struct LimitHistoryRecord {
    /// The end of a limit that was not lifted, by now or before the next one took its place.
    static constexpr WallTimePoint kInForce = WallTimePoint::min();

    WallTimePoint startTime;
    WallTimePoint endTime = kInForce;
    std::uint32_t limit = 0;  ///< in the unit of the group's nodes
};

class FrequencyGroup : public PerfGroup {
public:
    /// `config` must have passed GroupParametersValidate. An empty `gpuTopFreqPath`: no switch.
    FrequencyGroup(const PerfGroupConfig& config, PerfWorkMode mode, std::string gpuTopFreqPath);
    /// Closes the nodes.
    ~FrequencyGroup() override;

    /// Whether `config` has exactly a floor and a ceiling node and sensible values; logs if not.
    static bool GroupParametersValidate(const PerfGroupConfig& config);

    /// Appends the base values and the two nodes: what is configured is what is written.
    void DumpBaseValueAfterMapping(std::vector<SpecifiedGroupDumpInfo>& info) const override;
    /// Appends the limit history, oldest first. Any thread.
    int DumpLimitHistoryLog(std::ostringstream& out) override EXCLUDES(mHistoryMutex);
    /// Writes both nodes and the switch. Always 0: the next change writes all of them afresh.
    int DoConfig(int boost, int limit) override;
    void CloseAllFds() override;
    void DescribeKind(GroupState& state) const override;

    // The steps of DoConfig.

    /// Logs when a limit comes into force, changes or ends. A pinned frequency (boost equal to
    /// limit) is no limit worth telling.
    void RecordLimitCmd(int boost, int limit);
    void UpdateLimitHistoryQue(int limit) EXCLUDES(mHistoryMutex);
    /// Marks the write for the system tracer, if there is one.
    void AddSysTraceName(const std::string& boost, const std::string& limit) const;
    /// Writes the switch if `limit` is another than the one it was last written for.
    void WriteGpuTopFreq(int limit);

private:
    // Fixed after construction.
    const std::string mMinNodePath;
    const std::string mMaxNodePath;

    // Worker thread only. -1 while closed.
    int mMinFd = -1;
    int mMaxFd = -1;
    int mGpuTopFd = -1;
    NodeRecord mMinRecord;
    NodeRecord mMaxRecord;
    NodeRecord mGpuTopRecord;

    Mutex mHistoryMutex;
    std::deque<LimitHistoryRecord> mLimitHistory GUARDED_BY(mHistoryMutex);

    // Fixed after construction.
    const std::uint64_t mLimitHistoryCapacity = 50;

    // Worker thread only.
    int mRecordedLimit = 0;  // the limit last logged; 0: none

    // Fixed after construction.
    const std::string mGpuTopFreqPath;

    // Worker thread only.
    int mLastGpuTopLimit;  // the limit for which the switch was last written
};

}  // namespace corebeacon
