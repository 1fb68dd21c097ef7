#include "sim/cpufreq_policy.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <utility>

namespace corebeacon::sim {

namespace {

constexpr std::int64_t kNoMaximum = std::numeric_limits<std::int32_t>::max();

}  // namespace

CpufreqPolicy::CpufreqPolicy(std::vector<std::int64_t> frequenciesKhz)
    : mTable(SortedTable(std::move(frequenciesKhz))),
      mAskedMin(0),
      mAskedMax(kNoMaximum),
      mGovernor(kSchedutil) {}

int CpufreqPolicy::Ask(Bound bound, std::int64_t khz) {
    const std::lock_guard lock(mMutex);
    if (khz < 0 || khz > kNoMaximum) {
        return EINVAL;
    }
    (bound == Bound::MIN ? mAskedMin : mAskedMax) = khz;
    return 0;
}

std::int64_t CpufreqPolicy::Read(Bound bound) const {
    const std::lock_guard lock(mMutex);
    const Range range = EffectiveRange();
    return bound == Bound::MIN ? range.min : range.max;
}

int CpufreqPolicy::ReadError() const {
    const std::lock_guard lock(mMutex);
    return !mOnline && mStyle == KernelStyle::CURRENT ? EBUSY : 0;
}

int CpufreqPolicy::WriteError() const {
    const std::lock_guard lock(mMutex);
    if (mOnline) {
        return 0;
    }
    return mStyle == KernelStyle::OLD ? EINVAL : EBUSY;
}

int CpufreqPolicy::AskGovernor(const std::string& governor) {
    if (std::find(kGovernorNames.begin(), kGovernorNames.end(), governor) == kGovernorNames.end()) {
        return EINVAL;
    }
    SetGovernor(governor);
    return 0;
}

void CpufreqPolicy::SetStyle(KernelStyle style) {
    const std::lock_guard lock(mMutex);
    mStyle = style;
}

void CpufreqPolicy::SetOnline(bool online) {
    const std::lock_guard lock(mMutex);
    mOnline = online;
    ShowGovernorNodes();
}

void CpufreqPolicy::SetGovernor(const std::string& governor) {
    const std::lock_guard lock(mMutex);
    mGovernor = governor;
    ShowGovernorNodes();
}

std::string CpufreqPolicy::Governor() const {
    const std::lock_guard lock(mMutex);
    return mGovernor;
}

void CpufreqPolicy::Throttle(std::int64_t ceilingKhz) {
    const std::lock_guard lock(mMutex);
    mCeiling = ceilingKhz;
}

void CpufreqPolicy::ResetBound(Bound bound) {
    const std::lock_guard lock(mMutex);
    if (bound == Bound::MIN) {
        mAskedMin = 0;
    } else {
        mAskedMax = kNoMaximum;
    }
}

void CpufreqPolicy::AddGovernorSlot(const std::shared_ptr<NodeSlot>& slot) {
    const std::lock_guard lock(mMutex);
    if (std::find(mGovernorSlots.begin(), mGovernorSlots.end(), slot) == mGovernorSlots.end()) {
        mGovernorSlots.push_back(slot);
    }
    HideIdleGovernorNodes();
}

void CpufreqPolicy::HideIdleGovernor() {
    const std::lock_guard lock(mMutex);
    HideIdleGovernorNodes();
}

CpufreqPolicy::Range CpufreqPolicy::EffectiveRange() const {
    Range range{mAskedMin, mCeiling > 0 ? std::min(mAskedMax, mCeiling) : mAskedMax};
    if (mTable.empty()) {
        range.min = std::min(range.min, range.max);
        return range;
    }
    Confine(range);
    // A range between two entries is widened upwards until it holds one.
    const std::int64_t firstAbove = RoundUp(range.min);
    if (firstAbove > range.max) {
        range.max = firstAbove;
        Confine(range);
    }
    if (mStyle == KernelStyle::CURRENT) {
        range = {RoundUp(range.min), RoundDown(range.max)};
    }
    return range;
}

void CpufreqPolicy::Confine(Range& range) const {
    range.max = std::clamp(range.max, mTable.front(), mTable.back());
    range.min = std::min(std::max(range.min, mTable.front()), range.max);
}

std::int64_t CpufreqPolicy::RoundUp(std::int64_t khz) const {
    const auto entry = std::lower_bound(mTable.begin(), mTable.end(), khz);
    return entry == mTable.end() ? mTable.back() : *entry;
}

std::int64_t CpufreqPolicy::RoundDown(std::int64_t khz) const {
    const auto entry = std::upper_bound(mTable.begin(), mTable.end(), khz);
    return entry == mTable.begin() ? mTable.front() : *(entry - 1);
}

bool CpufreqPolicy::GovernorAtWork() const {
    return mOnline && mGovernor == kSchedutil;
}

void CpufreqPolicy::ShowGovernorNodes() {
    if (GovernorAtWork()) {
        for (const std::shared_ptr<NodeSlot>& slot : mGovernorSlots) {
            slot->Restore();
        }
    }
    HideIdleGovernorNodes();
}

void CpufreqPolicy::HideIdleGovernorNodes() {
    if (!GovernorAtWork()) {
        for (const std::shared_ptr<NodeSlot>& slot : mGovernorSlots) {
            slot->Remove();
        }
    }
}

}  // namespace corebeacon::sim
