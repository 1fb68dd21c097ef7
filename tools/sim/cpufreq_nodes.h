/// The files of a cpufreq policy's directory. Owned by their slots; the policy is shared.
#pragma once

#include <memory>

#include "sim/cpufreq_policy.h"
#include "sim/node.h"

namespace corebeacon::sim {

/// scaling_available_frequencies.
std::shared_ptr<Node> MakeFrequencyListNode(std::shared_ptr<CpufreqPolicy> policy);
/// scaling_min_freq and scaling_max_freq.
std::shared_ptr<Node> MakeBoundNode(std::shared_ptr<CpufreqPolicy> policy, Bound bound);
/// scaling_governor.
std::shared_ptr<Node> MakeGovernorNode(std::shared_ptr<CpufreqPolicy> policy);
/// scaling_available_governors.
std::shared_ptr<Node> MakeGovernorListNode(std::shared_ptr<CpufreqPolicy> policy);

}  // namespace corebeacon::sim
