#include "board/board_check.h"

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <set>
#include <sstream>
#include <string_view>
#include <utility>

#include "corebeacon/node_io.h"
#include "platform/node_reader.h"
#include "printable.h"

namespace corebeacon::board {

namespace {

/// Rows with a minimum of that many digits are in Hz, those with fewer in kHz.
constexpr std::int64_t kLowestHz = 10000000;
constexpr std::int64_t kHzPerKhz = 1000;

/// Take binary numbers; four bytes are one, whatever they mean as text.
constexpr std::array<std::string_view, 4> kBinaryNodes = {
    "/dev/cpu_dma_latency", "/dev/memory_bandwidth", "/dev/network_latency",
    "/dev/network_throughput"};
constexpr std::size_t kBinaryBytes = 4;

bool IsBinary(const std::string& path) {
    return std::ranges::find(kBinaryNodes, path) != kBinaryNodes.end();
}

bool IsMissing(const std::string& path) {
    // Nothing is opened for writing: that alone makes some devices act.
    const int fd = GetNodeIo().Open(path.c_str(), O_PATH | O_CLOEXEC);
    if (fd >= 0) {
        GetNodeIo().Close(fd);
        return false;
    }
    return errno == ENOENT || errno == ENOTDIR;
}

class Check {
public:
    Check(const ReadBoard& read, bool asksNodes) : mRead(read), mAsksNodes(asksNodes) {}

    std::vector<BoardError> Run() {
        CheckNames();
        for (const auto& [qosId, config] : mRead.board.qos) {
            const QosPlaces& places = mRead.places.qos.at(qosId);
            for (std::size_t i = 0; i < config.groups.size(); ++i) {
                CheckRow(config, config.groups[i], places.rows[i]);
            }
            CheckGroups(config, places);
            CheckList(config, places.qos);
        }
        for (const PlacedValue& value : mRead.places.values) {
            CheckValue(value);
        }
        std::ranges::stable_sort(mFindings, {}, [](const BoardError& finding) {
            return std::pair(finding.place.line, finding.place.column);
        });
        return std::move(mFindings);
    }

private:
    void Find(const Place& place, std::string message) {
        mFindings.push_back({place, std::move(message)});
    }

    void CheckNames() {
        std::set<std::string> names;
        for (const auto& [qosId, config] : mRead.board.qos) {
            if (!names.insert(config.name).second) {
                Find(mRead.places.qos.at(qosId).qos,
                     "another QoS has the name " + Quoted(config.name));
            }
        }
    }

    /// One row a group and chip: of several only one is ever used.
    void CheckGroups(const PerfQosXmlLoadConfig& config, const QosPlaces& places) {
        std::set<std::pair<unsigned, unsigned>> seen;
        for (std::size_t i = 0; i < config.groups.size(); ++i) {
            const PerfGroupConfig& row = config.groups[i];
            if (!seen.emplace(row.groupId, row.chipType).second) {
                Find(places.rows[i].row, "group " + std::to_string(row.groupId) +
                                             " has another row for chip " +
                                             std::to_string(row.chipType));
            }
        }
    }

    void CheckRow(const PerfQosXmlLoadConfig& config, const PerfGroupConfig& row,
                  const RowPlaces& places) {
        const bool isMaxListed = config.type == kTypeFreq && config.overwriteMaxFreq;
        const auto checkOrder = [&](int min, int max, const char* names) {
            if (min > max && !isMaxListed) {
                Find(places.row, std::string(names) + ": " + std::to_string(min) + " is above " +
                                     std::to_string(max));
            }
        };
        if (row.level2ValueMap.empty() && config.type != kTypeEas) {
            checkOrder(row.availableMin, row.availableMax, "'min' and 'max'");
            // Left out, the base is the range again.
            if (row.baseMin != row.availableMin || row.baseMax != row.availableMax) {
                checkOrder(row.baseMin, row.baseMax, "'base-min' and 'base-max'");
            }
        }
        CheckBaseLevel(config, row, places);
        for (const auto& [level, texts] : row.level2ValueMap) {
            CheckTexts(row, level, texts, places.levels.at(level));
        }
        if (config.type == kTypeFreq) {
            CheckUnit(config, row, places);
        }
        if (mAsksNodes) {
            CheckNodes(row, places);
        }
    }

    void CheckBaseLevel(const PerfQosXmlLoadConfig& config, const PerfGroupConfig& row,
                        const RowPlaces& places) {
        const bool isEas = config.type == kTypeEas;
        const bool hasLevels = isEas || !row.level2ValueMap.empty();
        const bool isLevel = isEas ? config.levelToValueMap.contains(row.baseMin)
                                   : row.level2ValueMap.contains(row.baseMin);
        if (hasLevels && !isLevel) {
            Find(places.row, "'base-min' is no level: " + std::to_string(row.baseMin));
        }
    }

    void CheckTexts(const PerfGroupConfig& row, int level, const std::vector<std::string>& texts,
                    const Place& place) {
        const std::string name = "level " + std::to_string(level);
        if (texts.size() != row.sysNodePaths.size()) {
            Find(place, name + " has " + std::to_string(texts.size()) + " texts for " +
                            std::to_string(row.sysNodePaths.size()) + " nodes");
        }
        for (std::size_t i = 0; i < std::min(texts.size(), row.sysNodePaths.size()); ++i) {
            if (IsBinary(row.sysNodePaths[i]) && texts[i].size() == kBinaryBytes) {
                Find(place, name + " writes the four bytes " + Quoted(texts[i]) + " to " +
                                tool::Printable(row.sysNodePaths[i]) +
                                ", which takes four bytes for a binary number");
            }
        }
    }

    /// Told by the digits of the minimum and by whose list it is.
    void CheckUnit(const PerfQosXmlLoadConfig& config, const PerfGroupConfig& row,
                   const RowPlaces& places) {
        const bool isCpufreq = config.availableFreqsPath.find("/cpufreq/") != std::string::npos;
        const bool isDevfreq = config.availableFreqsPath.find("/devfreq/") != std::string::npos;
        if (isCpufreq && row.availableMin >= kLowestHz) {
            Find(places.row, "'min' has the digits of Hz, but cpufreq counts in kHz: " +
                                 std::to_string(row.availableMin));
        } else if (isDevfreq && !config.overwriteMaxFreq && row.availableMin > 0 &&
                   row.availableMin < kLowestHz) {
            Find(places.row, "'min' has the digits of kHz, but devfreq counts in Hz: " +
                                 std::to_string(row.availableMin));
        }
    }

    void CheckNodes(const PerfGroupConfig& row, const RowPlaces& places) {
        for (std::size_t i = 0; i < row.sysNodePaths.size(); ++i) {
            if (IsMissing(row.sysNodePaths[i])) {
                Find(places.nodes[i], "there is no " + tool::Printable(row.sysNodePaths[i]));
            }
        }
    }

    void CheckList(const PerfQosXmlLoadConfig& config, const Place& place) {
        const std::string& path = config.availableFreqsPath;
        if (mAsksNodes && !path.empty() && IsMissing(path)) {
            Find(place, "there is no " + tool::Printable(path));
        }
    }

    void CheckValue(const PlacedValue& value) {
        const PerfQosId target = value.qosId == PERF_QOS_EAS_BASE ? PERF_QOS_EAS : value.qosId;
        const auto found = mRead.board.qos.find(target);
        if (found == mRead.board.qos.end()) {
            return;  // the engine leaves it out
        }
        const PerfQosXmlLoadConfig& config = found->second;
        std::string why = "the QoS has no group " + std::to_string(value.groupId);
        for (const PerfGroupConfig& row : config.groups) {
            if (row.groupId != value.groupId) {
                continue;
            }
            why = WhyNot(config, row, value.value);
            if (why.empty()) {
                break;  // a row of one chip takes it
            }
        }
        if (!why.empty()) {
            Find(value.place, why);
        }
    }

    std::string WhyNot(const PerfQosXmlLoadConfig& config, const PerfGroupConfig& row, int value) {
        const std::string text = std::to_string(value);
        if (config.type == kTypeEas) {
            return config.levelToValueMap.contains(value) ? "" : text + " is no level of the QoS";
        }
        if (!row.level2ValueMap.empty()) {
            return row.level2ValueMap.contains(value) ? "" : text + " is no level of the QoS";
        }
        const bool isMaxListed = config.type == kTypeFreq && config.overwriteMaxFreq;
        if (value < row.availableMin || (value > row.availableMax && !isMaxListed)) {
            return text + " is outside " + std::to_string(row.availableMin) + " to " +
                   std::to_string(row.availableMax) + UnitHint(row, value);
        }
        if (mAsksNodes && config.type == kTypeFreq) {
            return WhyNotListed(config.availableFreqsPath, value);
        }
        return "";
    }

    static std::string UnitHint(const PerfGroupConfig& row, std::int64_t value) {
        if (row.availableMax < kHzPerKhz) {
            return "";  // no frequencies
        }
        const auto isInside = [&row](std::int64_t number) {
            return number >= row.availableMin && number <= row.availableMax;
        };
        if (isInside(value * kHzPerKhz)) {
            return "; that looks like kHz, the row is in Hz";
        }
        return isInside(value / kHzPerKhz) ? "; that looks like Hz, the row is in kHz" : "";
    }

    /// A value may be listed in the row's unit or, a row in kHz, in Hz.
    static std::string WhyNotListed(const std::string& path, std::int64_t value) {
        std::string list;
        if (ReadNode(path, list) != NodeStatus::READ) {
            return "";  // a missing list is a finding of its own
        }
        std::istringstream words(list);
        for (std::int64_t listed = 0; words >> listed;) {
            if (listed == value || listed == value * kHzPerKhz) {
                return "";
            }
        }
        return std::to_string(value) + " is not among the frequencies of " + tool::Printable(path);
    }

    const ReadBoard& mRead;
    const bool mAsksNodes;
    std::vector<BoardError> mFindings;
};

}  // namespace

std::vector<BoardError> CheckBoard(const ReadBoard& read, bool asksNodes) {
    return Check(read, asksNodes).Run();
}

}  // namespace corebeacon::board
