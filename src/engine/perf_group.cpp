#include "engine/perf_group.h"

#include <algorithm>
#include <optional>

#include "engine/arbitration.h"
#include "platform/logging.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_GROUP";

constexpr arbitration::NoWitness kNobodyLooks;

/// The item that stands behind all requests, so that a base queue never runs empty.
PerfGroupQueItem DefaultItem(PerfOperationType operation, int value) {
    return {kNoHandle, operation, value, TimePoint{}, TimePoint{}};
}

/// The messages show configured values as unsigned numbers.
unsigned int AsUnsigned(int value) {
    return static_cast<unsigned int>(value);
}

}  // namespace

PerfGroup::PerfGroup(const PerfGroupConfig& config, PerfWorkMode workMode)
    : mGroupId(config.groupId),
      mName(config.name),
      mAvailableMin(config.availableMin),
      mAvailableMax(config.availableMax),
      mClampOutOfRange(config.rangeFlag),
      mFinalBoost(config.baseMin),
      mFinalLimit(config.baseMax),
      mEffectiveBoost(config.baseMin),
      mEffectiveLimit(config.baseMax),
      mEffectiveBaseBoost(config.baseMin),
      mEffectiveBaseLimit(config.baseMax),
      mBoostQue(BoostQueCompare, PerfGroupQueue::ItemLife::TIMED),
      mLimitQue(LimitQueCompare, PerfGroupQueue::ItemLife::TIMED),
      mBoostBaseQue(BoostQueCompare, PerfGroupQueue::ItemLife::UNTIMED,
                    DefaultItem(PERF_OPERATION_BOOST, config.baseMin)),
      mLimitBaseQue(LimitQueCompare, PerfGroupQueue::ItemLife::UNTIMED,
                    DefaultItem(PERF_OPERATION_LIMIT, config.baseMax)),
      mWaitingQue(WaitingQueCompare, PerfGroupQueue::ItemLife::TIMED),
      mWorkMode(workMode) {}

PerfGroup::PerfGroup(const PerfGroup& other, const std::string& name)
    : mGroupId(other.mGroupId),
      mName(name),
      mAvailableMin(other.mAvailableMin),
      mAvailableMax(other.mAvailableMax),
      mClampOutOfRange(other.mClampOutOfRange),
      mCurrTimePoint(other.mCurrTimePoint),
      mFinalBoost(other.mFinalBoost),
      mFinalLimit(other.mFinalLimit),
      mEffectiveBoost(other.mEffectiveBoost),
      mEffectiveLimit(other.mEffectiveLimit),
      mEffectiveBaseBoost(other.mEffectiveBaseBoost),
      mEffectiveBaseLimit(other.mEffectiveBaseLimit),
      mBoostQue(other.mBoostQue),
      mLimitQue(other.mLimitQue),
      mBoostBaseQue(other.mBoostBaseQue),
      mLimitBaseQue(other.mLimitBaseQue),
      mWaitingQue(other.mWaitingQue),
      mBaseLimitWasAlone(other.mBaseLimitWasAlone),
      mSuspended(other.mSuspended),
      mWorkMode(other.mWorkMode) {}

PerfGroup::~PerfGroup() = default;

int PerfGroup::RelatedGroupDoConfig(int /*level*/) {
    return 0;
}

int PerfGroup::DumpLimitHistoryLog(std::ostringstream& /*out*/) {
    return 0;
}

void PerfGroup::CloseAllFds() {}

void PerfGroup::DescribeKind(GroupState& /*state*/) const {}

bool PerfGroup::GroupParametersValidate(const PerfGroupConfig& config) {
    const char* name = config.name.c_str();
    for (const std::string& path : config.sysNodePaths) {
        if (path.empty()) {
            LOGE("[%s:%d] [%s] node path is empty!", name);
            return false;
        }
    }
    if (config.availableMin > config.availableMax) {
        LOGE("[%s:%d] [%s] available min(%u) larger than max(%u)", name,
             AsUnsigned(config.availableMin), AsUnsigned(config.availableMax));
        return false;
    }
    if (config.baseMin > config.baseMax) {
        LOGE("[%s:%d] [%s] boost base(%u) larger than limit base(%u)", name,
             AsUnsigned(config.baseMin), AsUnsigned(config.baseMax));
        return false;
    }
    if (config.baseMin < config.availableMin || config.baseMax > config.availableMax) {
        LOGE("[%s:%d] [%s] base range(%u, %u) out of available range(%u, %u)", name,
             AsUnsigned(config.baseMin), AsUnsigned(config.baseMax),
             AsUnsigned(config.availableMin), AsUnsigned(config.availableMax));
        return false;
    }
    return true;
}

bool PerfGroup::IsValidOperation(PerfOperationType operation) const {
    if (operation > PERF_OPERATION_LIMIT) {
        LOGE("[%s:%d] [%s] invalid operation type: %u", mName.c_str(), operation);
        return false;
    }
    return true;
}

int PerfGroup::CheckOperationType(PerfCommandType type, PerfOperationType operation) const {
    if (!IsValidOperation(operation)) {
        return -1;
    }
    switch (type) {
        case PERF_COMMAND_SHORT_START:
        case PERF_COMMAND_SHORT_STOP:
        case PERF_COMMAND_LONG_START:
        case PERF_COMMAND_LONG_STOP:
            return 0;
        case PERF_COMMAND_BASE_SET:
            if (operation == PERF_OPERATION_LIMIT) {
                LOGE("[%s:%d] [%s] PERF_COMMAND_BASE_SET long term limit not allowed ",
                     mName.c_str());
                return -1;
            }
            return 0;
        default:
            LOGE("[%s:%d] [%s] invalid command type: %u", mName.c_str(), type);
            return -1;
    }
}

int PerfGroup::OperationValueValidate(int& value) const {
    if (value < mAvailableMin) {
        LOGD("[%s:%d] [%s] operation value(%d) less than avl min(%d)", mName.c_str(), value,
             mAvailableMin);
    } else if (value > mAvailableMax) {
        LOGD("[%s:%d] [%s] operation value(%d) larger than avl max(%d)", mName.c_str(), value,
             mAvailableMax);
    } else {
        return 0;
    }
    if (!mClampOutOfRange) {
        return -1;
    }
    value = value < mAvailableMin ? mAvailableMin : mAvailableMax;
    return 0;
}

int PerfGroup::GroupValueValidate(PerfCommandType type, OperationValueMap& values) const {
    for (auto& [operation, value] : values) {
        if (CheckOperationType(type, operation) != 0) {
            LOGE("[%s:%d] [%s] CheckOperationType failed ", mName.c_str());
            return -1;
        }
        if (OperationValueValidate(value) != 0) {
            LOGE("[%s:%d] [%s] invalid operation value: %d", mName.c_str(), value);
            return -1;
        }
    }
    const auto boost = values.find(PERF_OPERATION_BOOST);
    const auto limit = values.find(PERF_OPERATION_LIMIT);
    if (boost != values.end() && limit != values.end() && boost->second > limit->second) {
        LOGE("[%s:%d] [%s] boost value %u larger than limit value %u", mName.c_str(),
             AsUnsigned(boost->second), AsUnsigned(limit->second));
        return -1;
    }
    return 0;
}

int PerfGroup::UpdateEffectiveLongTermCommand() {
    arbitration::Sides<int> standing{GetBoostBaseValue(), GetLimitBaseValue()};
    if (!arbitration::SettleStanding(mWorkMode, standing, kNobodyLooks)) {
        LOGE("[%s:%d] [%s] invalid work mode: %u", mName.c_str(), mWorkMode);
        return -1;
    }
    if (standing.boost == mEffectiveBaseBoost && standing.limit == mEffectiveBaseLimit) {
        return 0;
    }
    mEffectiveBaseBoost = standing.boost;
    mEffectiveBaseLimit = standing.limit;
    return 1;
}

void PerfGroup::UpdateEffectiveShortTermCommand() {
    const bool hasShortTermBoost = mBoostQue.HasHead();
    mEffectiveBoost = arbitration::SettleTimedBoost(
        mEffectiveBaseBoost, hasShortTermBoost ? &mBoostQue.Head().value : nullptr, kNobodyLooks);
    UpdateEffectiveLimit(hasShortTermBoost);
}

void PerfGroup::UpdateEffectiveLimit(bool hasShortTermBoost) {
    mBaseLimitWasAlone = mLimitBaseQue.Queued().empty();
    const arbitration::TimedHeads<int> timed{
        .boost = hasShortTermBoost ? &mBoostQue.Head().value : nullptr,
        .limit = mLimitQue.HasHead() ? &mLimitQue.Head().value : nullptr};
    arbitration::Sides<int> effective{mEffectiveBoost, mEffectiveBaseLimit};
    arbitration::SettleTimedLimit(mWorkMode, timed, mAvailableMax, mBaseLimitWasAlone, effective,
                                  kNobodyLooks);
    mEffectiveBoost = effective.boost;
    mEffectiveLimit = effective.limit;
}

int PerfGroup::GenerateFinalValue(int& boost, int& limit) const {
    arbitration::Sides<int> pair{mEffectiveBoost, mEffectiveLimit};
    if (!arbitration::SettleFinal(mWorkMode, pair, kNobodyLooks)) {
        LOGE("[%s:%d] [%s] invalid work mode: %u", mName.c_str(), mWorkMode);
        return -1;
    }
    boost = pair.boost;
    limit = pair.limit;
    return 0;
}

int PerfGroup::UpdateShortTermCommandAndWriteValue() {
    UpdateEffectiveShortTermCommand();
    if (GenerateFinalValue(mFinalBoost, mFinalLimit) != 0) {
        LOGE("[%s:%d] [%s] GenerateFinalValue failed", mName.c_str());
        return -1;
    }
    if (!mSuspended) {
        DoConfig(mFinalBoost, mFinalLimit);
    }
    return 0;
}

int PerfGroup::GenerateAndWriteFinalValue() {
    const int changed = UpdateEffectiveLongTermCommand();
    if (changed < 0) {
        LOGE("[%s:%d] [%s] UpdateEffectiveLongTermCommand failed", mName.c_str());
        return -1;
    }
    if (changed == 0) {
        LOGD("[%s:%d] [%s] no curr effective base value changed", mName.c_str());
        return 0;
    }
    return UpdateShortTermCommandAndWriteValue();
}

int PerfGroup::SetWorkMode(PerfWorkMode workMode) {
    mWorkMode = workMode;
    if (UpdateEffectiveLongTermCommand() < 0) {
        LOGE("[%s:%d] [%s] UpdateEffectiveLongTermCommand failed", mName.c_str());
        return -1;
    }
    return UpdateShortTermCommandAndWriteValue();
}

int PerfGroup::SetSuspend(bool suspend) {
    LOGI("[%s:%d] [%s] suspend old = %d, new = %d", mName.c_str(), mSuspended, suspend);
    mSuspended = suspend;
    if (suspend) {
        CloseAllFds();
    } else {
        DoConfig(mFinalBoost, mFinalLimit);
    }
    return 0;
}

TimePoint PerfGroup::GetNextWakeUpTimePoint() const {
    // No time point can stand for "none" here: even the greatest is one at which something may end.
    std::optional<TimePoint> earliest;
    const auto consider = [&earliest](const TimePoint& time) {
        earliest = std::min(earliest.value_or(time), time);
    };
    if (mBoostQue.HasHead()) {
        consider(mBoostQue.Head().endTime);
    }
    if (mLimitQue.HasHead()) {
        consider(mLimitQue.Head().endTime);
    }
    if (mWaitingQue.HasHead()) {
        consider(mWaitingQue.Head().startTime);
    }
    return earliest.value_or(TimePoint{});
}

}  // namespace corebeacon
