#include "table_command.h"

#include <string>
#include <vector>

#include "engine_session.h"
#include "run_command.h"
#include "text_table.h"

namespace corebeacon::tool {

namespace {

std::string KindOf(const PerfQosConfig& config, const PerfGroupConfig& row) {
    if (dynamic_cast<const PerfQosTargetRatioConfig*>(&config) != nullptr) {
        return "memory latency";
    }
    if (dynamic_cast<const IpaPowerParameters*>(&config) != nullptr) {
        return "power budget";
    }
    if (dynamic_cast<const EasParameters*>(&config) != nullptr) {
        return "task groups";
    }
    if (dynamic_cast<const DdrParameters*>(&config) != nullptr) {
        return "memory bandwidth";
    }
    if (dynamic_cast<const FreqParameters*>(&config) != nullptr) {
        return "frequency";
    }
    return row.level2ValueMap.empty() ? "value" : "levels";
}

std::string Range(int min, int max) {
    return std::to_string(min) + ".." + std::to_string(max);
}

void AddRows(TextTable& table, PerfQosId qosId, const PerfQosConfig& config) {
    for (const PerfGroupConfig& row : config.groups) {
        const bool hasLevels = !row.level2ValueMap.empty();
        std::vector<std::string> cells = {
            std::to_string(qosId),
            config.name,
            KindOf(config, row),
            std::to_string(row.groupId),
            Range(row.availableMin, row.availableMax),
            Range(row.baseMin, row.baseMax),
            hasLevels ? std::to_string(row.level2ValueMap.size()) : "-",
            hasLevels ? std::to_string(row.baseMin) : "-",
        };
        for (const std::string& node : row.sysNodePaths) {
            cells.push_back(node);
            table.AddRow(std::move(cells));
            cells.assign(8, "");
        }
    }
}

}  // namespace

int PrintQosTable(unsigned chip, std::ostream& out, std::ostream& diagnostics) {
    SessionOptions options;
    options.chip = chip;
    const std::unique_ptr<EngineSession> session = EngineSession::Start(options);
    if (session == nullptr) {
        diagnostics << "corebeacon: the engine does not start; its log above tells why\n";
        return kExitFailed;
    }
    TextTable table;
    table.AddRow(
        {"ID", "NAME", "KIND", "GROUP", "AVAILABLE", "BASE", "LEVELS", "BASE LEVEL", "NODES"});
    for (const auto& [qosId, config] : session->Table()) {
        AddRows(table, qosId, config);
    }
    out << table.Text("");

    TextTable missing;
    for (const UnsupportedQos& qos : session->Unsupported()) {
        missing.AddRow({std::to_string(qos.id), qos.name, qos.reason});
    }
    const std::string text = missing.Text("  ");
    out << "\n" << (text.empty() ? "Every QoS has a resource.\n" : "Without a resource\n") << text;
    return kExitDone;
}

}  // namespace corebeacon::tool
