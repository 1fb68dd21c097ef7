#include "qos_json.h"

#include <string_view>
#include <utility>

#include <nlohmann/json.hpp>

#include "board/board.h"

namespace corebeacon::tool {

namespace {

constexpr const char* kMemoryLatency = "memory latency";
constexpr const char* kTaskGroups = "task groups";
constexpr const char* kFrequency = "frequency";

std::string PlainKind(const PerfGroupConfig& row) {
    return row.level2ValueMap.empty() ? "value" : "levels";
}

Json LevelsJson(const Level2ValueMap& levels) {
    Json list = Json::array();
    for (const auto& [level, texts] : levels) {
        list.push_back({{"level", level}, {"texts", texts}});
    }
    return list;
}

Json RowJson(const PerfQosConfig& config, const PerfGroupConfig& row) {
    Json entry;
    entry["group"] = row.groupId;
    entry["name"] = row.name;
    entry["kind"] = KindOf(config, row);
    entry["min"] = row.availableMin;
    entry["max"] = row.availableMax;
    entry["clamp"] = row.rangeFlag;
    entry["base_min"] = row.baseMin;
    entry["base_max"] = row.baseMax;
    entry["nodes"] = row.sysNodePaths;
    entry["levels"] = LevelsJson(row.level2ValueMap);
    return entry;
}

std::string KindOfLoaded(const PerfQosXmlLoadConfig& config, const PerfGroupConfig& row) {
    constexpr std::pair<std::string_view, const char*> kKinds[] = {
        {board::kTypeMemLat, kMemoryLatency},
        {board::kTypeEas, kTaskGroups},
        {board::kTypeFreq, kFrequency}};
    for (const auto& [type, kind] : kKinds) {
        if (config.type == type) {
            return kind;
        }
    }
    return PlainKind(row);
}

}  // namespace

std::string KindOf(const PerfQosConfig& config, const PerfGroupConfig& row) {
    // A loaded description has the parameters of all kinds; its type alone tells.
    if (const auto* loaded = dynamic_cast<const PerfQosXmlLoadConfig*>(&config)) {
        return KindOfLoaded(*loaded, row);
    }
    if (dynamic_cast<const PerfQosTargetRatioConfig*>(&config) != nullptr) {
        return kMemoryLatency;
    }
    if (dynamic_cast<const IpaPowerParameters*>(&config) != nullptr) {
        return "power budget";
    }
    if (dynamic_cast<const EasParameters*>(&config) != nullptr) {
        return kTaskGroups;
    }
    if (dynamic_cast<const DdrParameters*>(&config) != nullptr) {
        return "memory bandwidth";
    }
    if (dynamic_cast<const FreqParameters*>(&config) != nullptr) {
        return kFrequency;
    }
    return PlainKind(row);
}

Json TableJson(const PerfQosConfigMap& table) {
    Json list = Json::array();
    for (const auto& [qosId, config] : table) {
        Json rows = Json::array();
        for (const PerfGroupConfig& row : config.get().groups) {
            rows.push_back(RowJson(config, row));
        }
        list.push_back({{"id", static_cast<unsigned>(qosId)},
                        {"name", config.get().name},
                        {"rows", std::move(rows)}});
    }
    return list;
}

Json UnsupportedJson(const std::vector<UnsupportedQos>& unsupported) {
    Json list = Json::array();
    for (const UnsupportedQos& qos : unsupported) {
        list.push_back(
            {{"id", static_cast<unsigned>(qos.id)}, {"name", qos.name}, {"reason", qos.reason}});
    }
    return list;
}

}  // namespace corebeacon::tool
