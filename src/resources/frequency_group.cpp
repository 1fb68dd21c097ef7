#include "resources/frequency_group.h"

#include <chrono>
#include <ctime>
#include <new>
#include <utility>

#include "platform/logging.h"
#include "platform/plain_format.h"
#include "platform/sys_wrapper.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_FREQ_GRP";

constexpr std::size_t kNodeCount = 2;
constexpr std::size_t kMinNode = 0;
constexpr std::size_t kMaxNode = 1;

/// What the GPU's top-frequency switch takes.
constexpr const char* kGpuTopLimited = "0";
constexpr const char* kGpuTopFree = "5000";

void PutWallTime(std::ostringstream& out, WallTimePoint time) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
    const auto millis = std::chrono::floor<std::chrono::milliseconds>(time - seconds);
    const std::time_t clockTime = seconds.time_since_epoch().count();
    std::tm local{};
    localtime_r(&clockTime, &local);
    out << SysWrapper::PutTime(local) << "." << millis.count();
}

}  // namespace

FrequencyGroup::FrequencyGroup(const PerfGroupConfig& config, PerfWorkMode mode,
                               std::string gpuTopFreqPath)
    : PerfGroup(config, mode),
      mMinNodePath(config.sysNodePaths[kMinNode]),
      mMaxNodePath(config.sysNodePaths[kMaxNode]),
      mGpuTopFreqPath(std::move(gpuTopFreqPath)),
      mLastGpuTopLimit(config.availableMax) {}

FrequencyGroup::~FrequencyGroup() {
    FrequencyGroup::CloseAllFds();
}

bool FrequencyGroup::GroupParametersValidate(const PerfGroupConfig& config) {
    if (config.sysNodePaths.size() != kNodeCount) {
        LOGE("[%s:%d] [%s] SysNodePath num invalid: %zu", config.name.c_str(),
             config.sysNodePaths.size());
        return false;
    }
    return PerfGroup::GroupParametersValidate(config);
}

int FrequencyGroup::DoConfig(int boost, int limit) {
    const std::string boostText = std::to_string(boost);
    const std::string limitText = std::to_string(limit);
    LOGI("[%s:%d] ############ [%s] final write: (%d, %d) \n", mName.c_str(), boost, limit);
    RecordLimitCmd(boost, limit);
    UpdateLimitHistoryQue(limit);
    if (SysWrapper::IsSysTraceEnabled()) {
        AddSysTraceName(boostText, limitText);
    }
    // A kernel refuses a floor above the ceiling in force and a ceiling below the floor in force.
    // The first write makes room for a rising floor; it fails when both fall, and so does not
    // count: the last one then finds the floor lowered.
    const auto writeMax = [this, limit, &limitText] {
        return mMaxRecord.Note(
            SysWrapper::SysOpenAndWriteStr(mName, mMaxNodePath, limitText, mMaxFd), limit);
    };
    writeMax();
    const int minResult = SysWrapper::SysOpenAndWriteStr(mName, mMinNodePath, boostText, mMinFd);
    if (mMinRecord.Note(minResult, boost) != 0 || writeMax() != 0) {
        return 0;
    }
    WriteGpuTopFreq(limit);
    return 0;
}

void FrequencyGroup::AddSysTraceName(const std::string& boost, const std::string& limit) const {
    try {
        SysWrapper::SysTraceName("corebeacon_log:" + mName + " write freq: " + boost + "~" + limit +
                                 ", mode=" + std::to_string(GetWorkMode()) +
                                 ", suspend=" + std::to_string(static_cast<int>(IsSuspended())));
    } catch (const std::bad_alloc&) {
        LOGW("[%s:%d] [%s] out of memory, a trace marker is left out", mName.c_str());
    }
}

void FrequencyGroup::RecordLimitCmd(int boost, int limit) {
    if (boost == limit) {
        return;
    }
    if (limit != mAvailableMax) {
        if (limit != mRecordedLimit) {
            mRecordedLimit = limit;
            LOGI("[%s:%d] [%s] start limit freq %d ~ %d", mName.c_str(), boost, limit);
        }
    } else if (mRecordedLimit > 0) {
        mRecordedLimit = 0;
        LOGI("[%s:%d] [%s] end limit freq %d ~ %d", mName.c_str(), boost, mAvailableMax);
    }
}

void FrequencyGroup::UpdateLimitHistoryQue(int limit) {
    const auto value = static_cast<std::uint32_t>(limit);
    MutexLock lock(mHistoryMutex);
    LimitHistoryRecord* last = mLimitHistory.empty() ? nullptr : &mLimitHistory.back();
    if (last != nullptr && last->endTime != LimitHistoryRecord::kInForce) {
        last = nullptr;
    }
    if (limit == mAvailableMax) {
        if (last != nullptr) {
            last->endTime = GetClock().WallNow();
        }
        return;
    }
    if (last != nullptr && last->limit == value) {
        return;
    }
    if (mLimitHistory.size() >= mLimitHistoryCapacity) {
        mLimitHistory.pop_front();
    }
    // The limit displaced stays without an end: it was never lifted.
    try {
        mLimitHistory.push_back({.startTime = GetClock().WallNow(), .limit = value});
    } catch (const std::bad_alloc&) {
        LOGW("[%s:%d] [%s] out of memory, limit %d is left out of the history", mName.c_str(),
             limit);
    }
}

void FrequencyGroup::WriteGpuTopFreq(int limit) {
    if (mGpuTopFreqPath.empty()) {
        return;
    }
    if (limit == mLastGpuTopLimit) {
        LOGD("[%s:%d] ############ [%s] finalLimit is the same with last! \n", mName.c_str());
        return;
    }
    const char* const text = limit == mAvailableMax ? kGpuTopFree : kGpuTopLimited;
    LOGI("[%s:%d] ############ [%s] final write gpu top: (%s) \n", mName.c_str(), text);
    const int result = SysWrapper::SysOpenAndWriteStr(mName, mGpuTopFreqPath, text, mGpuTopFd);
    if (mGpuTopRecord.Note(result, text) != 0) {
        LOGW("[%s:%d] [%s] write to gpu top frequency failed! \n", mName.c_str());
        return;
    }
    mLastGpuTopLimit = limit;
}

void FrequencyGroup::DumpBaseValueAfterMapping(std::vector<SpecifiedGroupDumpInfo>& info) const {
    info.push_back({.boostValue = std::to_string(GetBoostBaseValue()),
                    .limitValue = std::to_string(GetLimitBaseValue()),
                    .boostNode = mMinNodePath,
                    .limitNode = mMaxNodePath});
}

int FrequencyGroup::DumpLimitHistoryLog(std::ostringstream& out) {
    const PlainFormat format(out);
    MutexLock lock(mHistoryMutex);
    out << "*****" << mName << ": ";
    if (mLimitHistory.empty()) {
        out << "limit history cmd log is empty\n";
    }
    out << "\n";
    for (const LimitHistoryRecord& record : mLimitHistory) {
        out << "freq=" << record.limit << " ";
        PutWallTime(out, record.startTime);
        if (record.endTime != LimitHistoryRecord::kInForce) {
            out << "  ";
            PutWallTime(out, record.endTime);
        }
        out << "\n";
    }
    return 0;
}

void FrequencyGroup::DescribeKind(GroupState& state) const {
    state.kind = GroupKind::FREQUENCY;
    mMinRecord.Describe(mMinNodePath, state);
    mMaxRecord.Describe(mMaxNodePath, state);
    if (!mGpuTopFreqPath.empty()) {
        mGpuTopRecord.Describe(mGpuTopFreqPath, state);
    }
}

void FrequencyGroup::CloseAllFds() {
    SysWrapper::SysClose(mMinFd);
    SysWrapper::SysClose(mMaxFd);
    SysWrapper::SysClose(mGpuTopFd);
}

}  // namespace corebeacon
