#include "node_names.h"

#include <algorithm>

namespace corebeacon::tool {

namespace {

/// The last `count` parts of a path; the whole path when it has no more.
std::string Ending(const std::string& path, unsigned count) {
    std::size_t slash = path.size();
    for (unsigned i = 0; i < count && slash != std::string::npos && slash != 0; ++i) {
        slash = path.rfind('/', slash - 1);
    }
    return slash == std::string::npos || slash == 0 ? path : path.substr(slash + 1);
}

constexpr unsigned kUsualParts = 2;
constexpr unsigned kMostParts = 8;

}  // namespace

NodeNames::NodeNames(const PerfQosConfigMap& table) {
    for (const auto& [qosId, config] : table) {
        for (const PerfGroupConfig& row : config.get().groups) {
            for (const std::string& path : row.sysNodePaths) {
                // Of several QoS on one node the first names it.
                mByPath.try_emplace(path, Entry{qosId, {config.get().name, "", row.groupId}});
            }
        }
    }
    std::map<std::string, unsigned> uses;
    for (unsigned parts = kUsualParts; parts <= kMostParts; ++parts) {
        for (const auto& [path, entry] : mByPath) {
            ++uses[Ending(path, parts)];
        }
    }
    for (auto& [path, entry] : mByPath) {
        unsigned parts = kUsualParts;
        while (parts < kMostParts && uses[Ending(path, parts)] > 1 && Ending(path, parts) != path) {
            ++parts;
        }
        entry.name.brief = Ending(path, parts);
    }
}

NodeName NodeNames::Of(const std::string& path) const {
    const auto found = mByPath.find(path);
    return found != mByPath.end() ? found->second.name : NodeName{"", Ending(path, kUsualParts)};
}

std::vector<std::string> NodeNames::Paths() const {
    std::vector<std::string> paths;
    for (const auto& [path, entry] : mByPath) {
        paths.push_back(path);
    }
    return paths;
}

NodeNameWidths NodeNames::Widths(const std::set<PerfQosId>& qosIds) const {
    NodeNameWidths widths;
    for (const auto& [path, entry] : mByPath) {
        if (qosIds.contains(entry.qosId)) {
            widths.qos = std::max(widths.qos, entry.name.qos.size());
            widths.brief = std::max(widths.brief, entry.name.brief.size());
        }
    }
    return widths;
}

}  // namespace corebeacon::tool
