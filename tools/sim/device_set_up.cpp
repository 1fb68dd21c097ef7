// How the simulated device gets its nodes, and what happens to them from outside.
#include <limits>
#include <utility>

#include "sim/cpufreq_nodes.h"
#include "sim/cpufreq_policy.h"
#include "sim/devfreq_device.h"
#include "sim/device_nodes.h"
#include "sim/node_slot.h"
#include "sim/simulated_device.h"
#include "sim/text_nodes.h"

namespace corebeacon::sim {

void SimulatedDevice::AddText(const std::string& path, const std::string& value, Access access) {
    Add(path, std::make_shared<TextNode>(value, access));
}

void SimulatedDevice::AddContent(const std::string& path, const std::string& bytes) {
    Add(path, std::make_shared<ContentNode>(bytes));
}

void SimulatedDevice::AddChoice(const std::string& path, std::vector<std::string> choices,
                                const std::string& value) {
    Add(path, std::make_shared<ChoiceNode>(std::move(choices), value));
}

void SimulatedDevice::AddNumber(const std::string& path, std::int64_t value, std::int64_t min,
                                std::int64_t max) {
    Add(path, std::make_shared<NumberNode>(value, min, max));
}

void SimulatedDevice::AddBinary(const std::string& path, Aggregate aggregate,
                                std::int32_t idleValue, bool hexText) {
    Add(path, std::make_shared<BinaryNode>(aggregate, idleValue, hexText));
}

void SimulatedDevice::AddIoctl(const std::string& path, std::vector<unsigned long> requests) {
    Add(path, std::make_shared<IoctlNode>(std::move(requests)));
}

void SimulatedDevice::AddCpufreqPolicy(const std::string& directory,
                                       std::vector<std::int64_t> frequenciesKhz) {
    const auto policy = std::make_shared<CpufreqPolicy>(std::move(frequenciesKhz));
    {
        const std::lock_guard lock(mTreeMutex);
        policy->SetStyle(mStyle);
        mPolicies[directory] = policy;
    }
    Add(directory + "/scaling_available_frequencies", MakeFrequencyListNode(policy));
    Add(directory + "/scaling_min_freq", MakeBoundNode(policy, Bound::MIN));
    Add(directory + "/scaling_max_freq", MakeBoundNode(policy, Bound::MAX));
    Add(directory + "/scaling_governor", MakeGovernorNode(policy));
    Add(directory + "/scaling_available_governors", MakeGovernorListNode(policy));
}

void SimulatedDevice::AddGovernorNode(const std::string& policyDirectory, const std::string& name,
                                      const std::string& value) {
    const auto slot = Add(policyDirectory + "/" + kSchedutil + "/" + name,
                          std::make_shared<TextNode>(value, Access::READ_WRITE));
    if (const auto policy = Policy(policyDirectory)) {
        policy->AddGovernorSlot(slot);
    }
}

void SimulatedDevice::AddDevfreq(const std::string& directory,
                                 std::vector<std::int64_t> frequenciesHz) {
    const auto device = std::make_shared<DevfreqDevice>(std::move(frequenciesHz));
    Add(directory + "/available_frequencies", MakeDevfreqListNode(device));
    Add(directory + "/min_freq", MakeDevfreqBoundNode(device, Bound::MIN));
    Add(directory + "/max_freq", MakeDevfreqBoundNode(device, Bound::MAX));
}

void SimulatedDevice::AddThermalZone(const std::string& directory, const ThermalZoneSetUp& setUp) {
    const std::vector<std::string> policies{"power_allocator", "step_wise", "user_space"};
    AddText(directory + "/type", setUp.type, Access::READ_ONLY);
    AddChoice(directory + "/mode", {"enabled", "disabled"}, "enabled");
    AddChoice(directory + "/policy", policies, policies.front());
    AddNumber(directory + "/sustainable_power", setUp.sustainablePowerMw, 0,
              std::numeric_limits<std::uint32_t>::max());
    for (std::size_t trip = 0; trip < setUp.tripTempsMilliC.size(); ++trip) {
        AddNumber(directory + "/trip_point_" + std::to_string(trip) + "_temp",
                  setUp.tripTempsMilliC[trip], std::numeric_limits<std::int32_t>::min(),
                  std::numeric_limits<std::int32_t>::max());
    }
}

std::shared_ptr<NodeSlot> SimulatedDevice::Add(const std::string& path,
                                               std::shared_ptr<Node> node) {
    std::shared_ptr<NodeSlot> slot;
    {
        const std::lock_guard lock(mTreeMutex);
        std::shared_ptr<NodeSlot>& place = mSlots[path];
        if (!place) {
            place = std::make_shared<NodeSlot>(path, std::move(node));
            return place;
        }
        slot = place;
    }
    slot->Replace(std::move(node));
    return slot;
}

void SimulatedDevice::SetReadOnly(const std::string& path, bool readOnly) {
    if (const auto slot = Slot(path)) {
        const std::lock_guard lock(slot->mutex);
        slot->node->SetReadOnly(readOnly);
    }
}

void SimulatedDevice::SetKernelStyle(KernelStyle style) {
    {
        const std::lock_guard lock(mTreeMutex);
        mStyle = style;
    }
    for (const auto& policy : Policies()) {
        policy->SetStyle(style);
    }
}

void SimulatedDevice::SetPolicyOnline(const std::string& policyDirectory, bool online) {
    if (const auto policy = Policy(policyDirectory)) {
        policy->SetOnline(online);
    }
}

void SimulatedDevice::SetGovernor(const std::string& policyDirectory, const std::string& governor) {
    if (const auto policy = Policy(policyDirectory)) {
        policy->SetGovernor(governor);
    }
}

void SimulatedDevice::Throttle(const std::string& policyDirectory, std::int64_t ceilingKhz) {
    if (const auto policy = Policy(policyDirectory)) {
        policy->Throttle(ceilingKhz);
    }
}

void SimulatedDevice::Remove(const std::string& path) {
    if (const auto slot = Slot(path)) {
        slot->Remove();
    }
}

void SimulatedDevice::Restore(const std::string& path) {
    if (const auto slot = Slot(path)) {
        slot->Restore();
    }
    HideIdleGovernors();
}

void SimulatedDevice::RemoveTree(const std::string& directory) {
    for (const auto& slot : SlotsBelow(directory)) {
        slot->Remove();
    }
}

void SimulatedDevice::RestoreTree(const std::string& directory) {
    for (const auto& slot : SlotsBelow(directory)) {
        slot->Restore();
    }
    HideIdleGovernors();
}

std::vector<std::shared_ptr<NodeSlot>> SimulatedDevice::SlotsBelow(
    const std::string& directory) const {
    const std::string prefix = directory + "/";
    std::vector<std::shared_ptr<NodeSlot>> slots;
    const std::shared_lock lock(mTreeMutex);
    for (auto place = mSlots.lower_bound(prefix);
         place != mSlots.end() && place->first.starts_with(prefix); ++place) {
        slots.push_back(place->second);
    }
    return slots;
}

std::shared_ptr<CpufreqPolicy> SimulatedDevice::Policy(const std::string& directory) const {
    const std::shared_lock lock(mTreeMutex);
    const auto found = mPolicies.find(directory);
    return found == mPolicies.end() ? nullptr : found->second;
}

std::vector<std::shared_ptr<CpufreqPolicy>> SimulatedDevice::Policies() const {
    std::vector<std::shared_ptr<CpufreqPolicy>> policies;
    const std::shared_lock lock(mTreeMutex);
    for (const auto& [directory, policy] : mPolicies) {
        policies.push_back(policy);
    }
    return policies;
}

/// A restored governor node goes again if its governor is not at work.
void SimulatedDevice::HideIdleGovernors() {
    for (const auto& policy : Policies()) {
        policy->HideIdleGovernor();
    }
}

}  // namespace corebeacon::sim
