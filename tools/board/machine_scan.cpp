#include "board/machine_scan.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <fstream>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "board/xml_element.h"
#include "corebeacon/builtin_config.h"

namespace corebeacon::board {

namespace {

namespace fs = std::filesystem;

/// A range of frequencies with its three nodes.
struct Range {
    std::string name;
    std::int64_t min = 0;
    std::int64_t max = 0;
    std::string list;  // "" where the driver gives none
    std::string minNode;
    std::string maxNode;
};

/// The first line, "" when there is none.
std::string Line(const fs::path& file) {
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    return line;
}

std::optional<std::int64_t> NumberIn(const fs::path& file) {
    return WholeNumber(Line(file));
}

/// The folders in `folder`, by name; none where there is no such folder.
std::vector<fs::path> FoldersIn(const fs::path& folder) {
    std::vector<fs::path> folders;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
        if (entry.is_directory(error)) {
            folders.push_back(entry.path());
        }
    }
    std::ranges::sort(folders);
    return folders;
}

std::string QosNameOf(std::string text) {
    for (char& letter : text) {
        const auto byte = static_cast<unsigned char>(letter);
        letter = std::isalnum(byte) != 0 ? static_cast<char>(std::toupper(byte)) : '_';
    }
    return text;
}

class Scan {
public:
    explicit Scan(fs::path root) : mRoot(std::move(root)) {}

    Board Run() {
        mBoard.name = Line(mRoot / "proc/device-tree/model");
        mBoard.name = mBoard.name.substr(0, mBoard.name.find('\0'));
        AddPolicies();
        AddDevfreqs();
        AddThermalZones();
        return std::move(mBoard);
    }

private:
    std::string EnginePath(const fs::path& path) const {
        return "/" + path.lexically_relative(mRoot).generic_string();
    }

    /// An id that neither the engine nor this board has given to a QoS; none when all are taken.
    std::optional<PerfQosId> FreeId() const {
        for (unsigned id = 0; id < PERF_QOS_INVALID; ++id) {
            const auto qosId = static_cast<PerfQosId>(id);
            if (PerfQosName(qosId) == nullptr && !mBoard.qos.contains(qosId)) {
                return qosId;
            }
        }
        return std::nullopt;
    }

    void AddRange(std::optional<PerfQosId> wanted, const Range& range) {
        const auto id = wanted && !mBoard.qos.contains(*wanted) ? wanted : FreeId();
        if (!id || range.min > range.max) {
            return;
        }
        const char* const known = PerfQosName(*id);
        const auto value = [](std::int64_t number) {
            return static_cast<int>(
                std::clamp<std::int64_t>(number, 0, std::numeric_limits<int>::max()));
        };
        PerfQosXmlLoadConfig config(known != nullptr ? known : range.name,
                                    range.list.empty() ? kTypePlain : kTypeFreq, {});
        config.availableFreqsPath = range.list;
        config.groups.emplace_back(config.name, true, value(range.min), value(range.max),
                                   value(range.min), value(range.max),
                                   std::vector<std::string>{range.minNode, range.maxNode},
                                   CHIP_TYPE_COMMON);
        mBoard.qos.emplace(*id, std::move(config));
    }

    std::optional<Range> PolicyIn(const fs::path& folder) const {
        const auto min = NumberIn(folder / "cpuinfo_min_freq");
        const auto max = NumberIn(folder / "cpuinfo_max_freq");
        if (!min || !max) {
            return std::nullopt;
        }
        const std::string path = EnginePath(folder);
        const bool hasList = !Line(folder / "scaling_available_frequencies").empty();
        return Range{QosNameOf("CPU_" + folder.filename().string()),
                     *min,
                     *max,
                     hasList ? path + "/scaling_available_frequencies" : "",
                     path + "/scaling_min_freq",
                     path + "/scaling_max_freq"};
    }

    /// The slowest cluster is the little one, the fastest the big one.
    void AddPolicies() {
        std::vector<Range> policies;
        for (const fs::path& folder : FoldersIn(mRoot / "sys/devices/system/cpu/cpufreq")) {
            if (folder.filename().string().starts_with("policy")) {
                if (const auto policy = PolicyIn(folder)) {
                    policies.push_back(*policy);
                }
            }
        }
        std::ranges::stable_sort(policies, {}, &Range::max);
        for (std::size_t i = 0; i < policies.size(); ++i) {
            std::optional<PerfQosId> id;
            if (i == 0) {
                id = PERF_QOS_CPU_L;
            } else if (i + 1 == policies.size()) {
                id = PERF_QOS_CPU_B;
            } else if (i == 1) {
                id = PERF_QOS_CPU_M;
            }
            AddRange(id, policies[i]);
        }
    }

    void AddDevfreqs() {
        for (const fs::path& folder : FoldersIn(mRoot / "sys/class/devfreq")) {
            const std::string name = folder.filename().string();
            std::ifstream list(folder / "available_frequencies");
            std::vector<std::int64_t> frequencies;
            for (std::int64_t frequency = 0; list >> frequency;) {
                frequencies.push_back(frequency);
            }
            if (frequencies.empty()) {
                continue;
            }
            const bool isGpu =
                name.find("gpu") != std::string::npos || name.find("mali") != std::string::npos;
            const std::string path = EnginePath(folder);
            AddRange(isGpu ? std::optional(PERF_QOS_GPU) : std::nullopt,
                     {QosNameOf(name), std::ranges::min(frequencies), std::ranges::max(frequencies),
                      path + "/available_frequencies", path + "/min_freq", path + "/max_freq"});
        }
    }

    /// A budget that may be lowered from what the machine came with.
    void AddThermalZones() {
        for (const fs::path& folder : FoldersIn(mRoot / "sys/class/thermal")) {
            const auto power = NumberIn(folder / "sustainable_power");
            const auto id = FreeId();
            if (!power || *power <= 0 || *power > std::numeric_limits<int>::max() || !id) {
                continue;
            }
            const int milliwatt = static_cast<int>(*power);
            const std::string name = QosNameOf("POWER_" + folder.filename().string());
            PerfQosXmlLoadConfig config(name, kTypePlain, {});
            config.groups.emplace_back(
                name, true, 0, milliwatt, milliwatt, milliwatt,
                std::vector<std::string>{EnginePath(folder) + "/sustainable_power"},
                CHIP_TYPE_COMMON);
            mBoard.qos.emplace(*id, std::move(config));
        }
    }

    const fs::path mRoot;
    Board mBoard;
};

}  // namespace

Board ScanMachine(const fs::path& root) {
    return Scan(root).Run();
}

}  // namespace corebeacon::board
