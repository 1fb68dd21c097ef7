/// One cpufreq policy: the bounds that were asked for, the bounds that follow from them, the
/// governor and whether its CPUs are there. Shared by the policy's nodes and the device; any thread
/// may call it. Its lock may be taken with the lock of one of the pair's slots held, and it takes
/// the locks of the governor's slots itself.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "sim/frequency_table.h"
#include "sim/node_slot.h"
#include "sim/node_traits.h"

namespace corebeacon::sim {

inline constexpr const char* kSchedutil = "schedutil";
inline constexpr std::array<const char*, 4> kGovernorNames{"performance", "powersave", "userspace",
                                                           kSchedutil};

class CpufreqPolicy {
public:
    /// `frequenciesKhz` may come in any order; an empty table bounds nothing.
    explicit CpufreqPolicy(std::vector<std::int64_t> frequenciesKhz);

    const std::vector<std::int64_t>& Frequencies() const { return mTable; }

    // For the nodes: 0 or a positive errno. They ask for the general errors first.
    int Ask(Bound bound, std::int64_t khz);
    std::int64_t Read(Bound bound) const;
    int AskGovernor(const std::string& governor);
    /// What a read of any of the policy's files fails with at the moment, else 0.
    int ReadError() const;
    /// The same for a write, whatever its text.
    int WriteError() const;

    // For the device.
    void SetStyle(KernelStyle style);
    void SetOnline(bool online);
    void SetGovernor(const std::string& governor);
    std::string Governor() const;
    void Throttle(std::int64_t ceilingKhz);
    void ResetBound(Bound bound);
    void AddGovernorSlot(const std::shared_ptr<NodeSlot>& slot);
    /// Removes the governor's nodes if the governor is not at work.
    void HideIdleGovernor();

private:
    struct Range {
        std::int64_t min;
        std::int64_t max;
    };
    // With mMutex held:
    Range EffectiveRange() const;
    void Confine(Range& range) const;
    std::int64_t RoundUp(std::int64_t khz) const;
    std::int64_t RoundDown(std::int64_t khz) const;
    bool GovernorAtWork() const;
    void ShowGovernorNodes();
    void HideIdleGovernorNodes();

    const std::vector<std::int64_t> mTable;  // ascending

    mutable std::mutex mMutex;
    // guarded by mMutex
    std::int64_t mAskedMin;
    std::int64_t mAskedMax;
    std::int64_t mCeiling = 0;  // 0: none
    KernelStyle mStyle = KernelStyle::CURRENT;
    bool mOnline = true;
    std::string mGovernor;
    std::vector<std::shared_ptr<NodeSlot>> mGovernorSlots;
};

}  // namespace corebeacon::sim
