#include "check_command.h"

#include <memory>

#include "board/board_check.h"
#include "board_file.h"
#include "run_command.h"
#include "sim/eas_example.h"

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

}  // namespace

int CheckBoardFile(const std::string& path, std::optional<DeviceKind> device, std::ostream& out,
                   std::ostream& diagnostics) {
    const std::optional<board::ReadBoard> read = ReadBoardFile(path, diagnostics);
    if (!read || !read->errors.empty()) {
        for (const board::BoardError& error :
             read ? read->errors : std::vector<board::BoardError>()) {
            PrintBoardError(path, error, diagnostics);
        }
        return kExitBadInput;
    }
    std::unique_ptr<sim::SimulatedDevice> simulated;
    NodeIo& former = GetNodeIo();
    if (device == DeviceKind::SIM) {
        simulated = DeviceOf(read->board);
        SetNodeIo(simulated.get());
    }
    const std::vector<board::BoardError> findings = board::CheckBoard(*read, device.has_value());
    SetNodeIo(&former);
    for (const board::BoardError& finding : findings) {
        PrintBoardError(path, finding, out);
    }
    if (findings.empty()) {
        out << path << ": " << read->board.qos.size() << " QoS, " << read->board.scenarios.size()
            << " scenarios, " << read->board.events.size() << " events; nothing found\n";
    }
    return findings.empty() ? kExitDone : kExitFailed;
}

}  // namespace corebeacon::tool
