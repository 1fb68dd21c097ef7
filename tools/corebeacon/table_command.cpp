#include "table_command.h"

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "board/board.h"
#include "board/board_writer.h"
#include "engine_session.h"
#include "json_document.h"
#include "qos_json.h"
#include "run_command.h"
#include "sim/eas_example.h"
#include "text_table.h"

namespace corebeacon::tool {

namespace {

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

/// Null, and said so, when the engine does not start.
std::unique_ptr<EngineSession> StartOn(unsigned chip, std::ostream& diagnostics) {
    SessionOptions options;
    options.chip = chip;
    return EngineSession::StartOrTell(options, diagnostics);
}

/// What is not told is null.
template <typename Value>
Json OrNull(const std::optional<Value>& value) {
    return value ? Json(*value) : Json();
}

Json MachineJson(const board::Machine& machine) {
    Json facts;
    facts["chip"] = OrNull(machine.chip);
    facts["cpu_boost"] = OrNull(machine.cpuBoost);
    facts["board_ipa"] = OrNull(machine.boardIpa);
    facts["absent"] = machine.absent;
    return facts;
}

}  // namespace

int PrintQosTable(unsigned chip, std::ostream& out, std::ostream& diagnostics) {
    const std::unique_ptr<EngineSession> session = StartOn(chip, diagnostics);
    if (session == nullptr) {
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

int PrintJsonTable(unsigned chip, std::ostream& out, std::ostream& diagnostics) {
    const std::unique_ptr<EngineSession> session = StartOn(chip, diagnostics);
    if (session == nullptr) {
        return kExitFailed;
    }
    Json document = JsonDocument("table");
    document["chip"] = chip;
    document["qos"] = TableJson(session->Table());
    document["unsupported"] = UnsupportedJson(session->Unsupported());
    PrintJson(document, out);
    return kExitDone;
}

int PrintBoard(unsigned chip, std::ostream& out, std::ostream& diagnostics) {
    // The session's device answers what the tables ask the nodes.
    const std::unique_ptr<EngineSession> session = StartOn(chip, diagnostics);
    if (session == nullptr) {
        return kExitFailed;
    }
    board::Board board = board::BuiltinBoard(chip);
    board.qos.emplace(PERF_QOS_EAS, board::AsLoaded(sim::MakeEasConfig()));
    board.probe = session->Probe();
    out << board::BoardText(board);
    return kExitDone;
}

void PrintBoardFacts(board::Board& board, std::ostream& out) {
    Json document = JsonDocument("board init");
    document["name"] = board.name;
    document["machine"] = MachineJson(board.machine);
    document["qos"] = TableJson(board.QosMap());
    PrintJson(document, out);
}

}  // namespace corebeacon::tool
