#include "check_command.h"

#include <memory>
#include <vector>

#include <nlohmann/json.hpp>

#include "board/board_check.h"
#include "board_file.h"
#include "json_document.h"
#include "run_command.h"
#include "sim/eas_example.h"
#include "snapshot/snapshot_device.h"

namespace corebeacon::tool {

namespace {

std::unique_ptr<sim::SimulatedDevice> DeviceOf(const board::Board& board) {
    auto device = sim::SimulatedDevice::ForChip(board.machine.chip.value_or(CHIP_TYPE_COMMON));
    if (device == nullptr) {
        device = sim::SimulatedDevice::ForChip(CHIP_TYPE_COMMON);
    }
    sim::AddEasNodes(*device);
    return device;
}

std::vector<board::BoardError> Findings(const board::ReadBoard& read,
                                        std::optional<DeviceKind> device,
                                        const DeviceSnapshot* snapshot) {
    std::unique_ptr<sim::SimulatedDevice> simulated;
    NodeIo& former = GetNodeIo();
    if (device && device != DeviceKind::KERNEL) {
        simulated = snapshot != nullptr ? SimulateSnapshot(*snapshot) : DeviceOf(read.board);
        SetNodeIo(simulated.get());
    }
    std::vector<board::BoardError> findings = board::CheckBoard(read, device.has_value());
    SetNodeIo(&former);
    return findings;
}

/// `level` of an error: the file is no board.
void AddFindings(Json& list, const std::vector<board::BoardError>& findings, const char* level) {
    for (const board::BoardError& finding : findings) {
        list.push_back({{"line", finding.place.line},
                        {"column", finding.place.column},
                        {"level", level},
                        {"message", finding.message}});
    }
}

void PrintFindings(const std::string& path, const board::ReadBoard& read,
                   const std::vector<board::BoardError>& findings, std::ostream& out,
                   std::ostream& diagnostics) {
    for (const board::BoardError& error : read.errors) {
        PrintBoardError(path, error, diagnostics);
    }
    for (const board::BoardError& finding : findings) {
        PrintBoardError(path, finding, out);
    }
    if (read.errors.empty() && findings.empty()) {
        out << path << ": " << read.board.qos.size() << " QoS, " << read.board.scenarios.size()
            << " scenarios, " << read.board.events.size() << " events; nothing found\n";
    }
}

void PrintJsonFindings(const std::string& path, const board::ReadBoard& read,
                       const std::vector<board::BoardError>& findings, std::ostream& out) {
    Json document = JsonDocument("check");
    document["file"] = path;
    document["qos"] = read.board.qos.size();
    document["scenarios"] = read.board.scenarios.size();
    document["events"] = read.board.events.size();
    Json& list = document["findings"] = Json::array();
    AddFindings(list, read.errors, "error");
    AddFindings(list, findings, "warning");
    PrintJson(document, out);
}

}  // namespace

int CheckBoardFile(const std::string& path, std::optional<DeviceKind> device, bool isJson,
                   std::ostream& out, std::ostream& diagnostics, const DeviceSnapshot* snapshot) {
    const std::optional<board::ReadBoard> read = ReadBoardFile(path, diagnostics);
    if (!read) {
        return kExitBadInput;
    }
    std::vector<board::BoardError> findings;
    if (read->errors.empty()) {
        findings = Findings(*read, device, snapshot);
    }
    if (isJson) {
        PrintJsonFindings(path, *read, findings, out);
    } else {
        PrintFindings(path, *read, findings, out, diagnostics);
    }
    if (!read->errors.empty()) {
        return kExitBadInput;
    }
    return findings.empty() ? kExitDone : kExitFailed;
}

}  // namespace corebeacon::tool
