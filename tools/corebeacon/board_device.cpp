#include "board_device.h"

#include <algorithm>
#include <cstdint>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "sim/device_nodes.h"

namespace corebeacon::tool {

namespace {

using Frequencies = std::set<std::int64_t>;

constexpr std::int64_t kSteps = 10;
/// From here on a row is in Hz; below it, one whose maximum comes from the kernel has its list in
/// Hz all the same, as the engine expects it.
constexpr std::int64_t kLowestHz = 10000000;
constexpr std::int64_t kHzPerKhz = 1000;

/// What scenarios and events ask of a QoS.
Frequencies AskedFor(const board::Board& board, PerfQosId qosId) {
    Frequencies values;
    const auto add = [&values](const std::vector<GroupInfo>& groups) {
        for (const GroupInfo& group : groups) {
            for (const auto& [operation, value] : group.values) {
                values.insert(value);
            }
        }
    };
    for (const ConfigurableScenario& scenario : board.scenarios) {
        for (const PerfRequestInfo& request : scenario.requests) {
            add(request.qosId == qosId ? request.groups : std::vector<GroupInfo>());
        }
    }
    for (const ConfigurableEvent& event : board.events) {
        for (const QosCommand& command : event.qosCommands) {
            for (const SequenceCommand& step : command.sequence) {
                add(command.qosId == qosId ? step.groups : std::vector<GroupInfo>());
            }
        }
    }
    return values;
}

/// The frequencies of a row, in the unit of its list.
std::vector<std::int64_t> ListFor(const PerfGroupConfig& row, const Frequencies& askedFor,
                                  bool overwritesMax) {
    std::int64_t max = row.availableMax;
    if (overwritesMax) {
        max = std::max<std::int64_t>(max, askedFor.empty() ? 0 : *askedFor.rbegin());
        max = std::max<std::int64_t>(max, row.availableMin);
    }
    Frequencies list = {row.availableMin, max, row.baseMin};
    for (const std::int64_t value : askedFor) {
        list.insert(std::clamp<std::int64_t>(value, row.availableMin,
                                             std::max<std::int64_t>(max, row.availableMin)));
    }
    for (std::int64_t step = 1; step < kSteps; ++step) {
        list.insert(row.availableMin + (max - row.availableMin) * step / kSteps);
    }
    const bool isListInHz = overwritesMax && row.availableMin < kLowestHz;
    std::vector<std::int64_t> frequencies;
    for (const std::int64_t value : list) {
        frequencies.push_back(isListInHz ? value * kHzPerKhz : value);
    }
    return frequencies;
}

/// Whether the device lists both ends of the row already.
bool Lists(const sim::SimulatedDevice& device, const std::string& path,
           const PerfGroupConfig& row) {
    std::istringstream words(device.Value(path));
    bool hasMin = false;
    bool hasMax = false;
    for (std::int64_t value = 0; words >> value;) {
        hasMin = hasMin || value == row.availableMin || value == row.availableMin * kHzPerKhz;
        hasMax = hasMax || value == row.availableMax || row.availableMax == 0;
    }
    return hasMin && hasMax;
}

bool AreNodesIn(const std::string& directory, const PerfGroupConfig& row, const char* min,
                const char* max) {
    return row.sysNodePaths ==
           std::vector<std::string>{directory + "/" + min, directory + "/" + max};
}

void AddFrequencies(const std::string& path, const std::vector<std::int64_t>& list,
                    const PerfGroupConfig& row, sim::SimulatedDevice& device) {
    const std::size_t slash = path.rfind('/');
    const std::string directory = path.substr(0, slash);
    const std::string file = slash == std::string::npos ? "" : path.substr(slash + 1);
    if (file == "scaling_available_frequencies" &&
        AreNodesIn(directory, row, "scaling_min_freq", "scaling_max_freq")) {
        device.AddCpufreqPolicy(directory, list);
    } else if (file == "available_frequencies" &&
               AreNodesIn(directory, row, "min_freq", "max_freq")) {
        device.AddDevfreq(directory, list);
    } else {
        std::string text;
        for (const std::int64_t frequency : list) {
            text += (text.empty() ? "" : " ") + std::to_string(frequency);
        }
        device.AddText(path, text, sim::Access::READ_ONLY);
    }
}

std::string IdleText(const PerfGroupConfig& row, std::size_t node) {
    const auto level = row.level2ValueMap.find(row.baseMin);
    return level != row.level2ValueMap.end() && node < level->second.size()
               ? level->second[node]
               : std::to_string(row.baseMin);
}

void AddMissing(const std::string& path, const std::string& text, sim::SimulatedDevice& device) {
    if (!path.empty() && !device.Exists(path)) {
        device.AddText(path, text);
    }
}

void AddRow(PerfQosId qosId, const PerfGroupConfig& row, sim::SimulatedDevice& device) {
    for (std::size_t node = 0; node < row.sysNodePaths.size(); ++node) {
        const std::string& path = row.sysNodePaths[node];
        if (qosId == PERF_QOS_NPU_SC_PRIO && !device.Exists(path)) {
            device.AddIoctl(path, {sim::IoctlNode::kSetPriority, sim::IoctlNode::kResetPriority});
        }
        AddMissing(path, IdleText(row, node), device);
    }
}

}  // namespace

void AddNodesOf(const board::Board& board, sim::SimulatedDevice& device) {
    for (const auto& [qosId, config] : board.qos) {
        const std::string& list = config.availableFreqsPath;
        for (const PerfGroupConfig& row : config.groups) {
            if (!list.empty() && !Lists(device, list, row)) {
                AddFrequencies(list, ListFor(row, AskedFor(board, qosId), config.overwriteMaxFreq),
                               row, device);
            }
            AddRow(qosId, row, device);
        }
        AddMissing(config.gpuTopFreqPath.loaded, "5000", device);
        AddMissing(config.globalBoost.loaded.nodePath, "0", device);
    }
    AddMissing(board.probe.nodePath, "", device);
}

}  // namespace corebeacon::tool
