#include "commands/session_arguments.h"

#include <memory>
#include <utility>

#include "board_file.h"
#include "verb_table.h"

namespace corebeacon::tool {

void SessionArguments::AddTo(CLI::App& command) {
    command
        .add_option("--board", boardFile,
                    "the description of a board; without it, the tables of the library")
        ->type_name("FILE");
    AddDevice(command, device,
              "sim, the simulated device (the default), kernel, or the file of a snapshot");
    AddChip(command, chip, "unless given, what the board or the device tree tells, else 0");
    command
        .add_option("--log", logSwitch,
                    "log switch: 1 information, 2 debug, 3 both; log lines go to standard error")
        ->check(CLI::Range(0U, FindVerb("log")->maxNumber).description(""))
        ->type_name("N");
}

std::optional<SessionOptions> SessionArguments::Options(std::ostream& diagnostics) const {
    const std::optional<DeviceChoice> choice = DeviceOf(device, diagnostics);
    if (!choice) {
        return std::nullopt;
    }
    SessionOptions options{.device = choice->kind, .chip = chip, .logSwitch = logSwitch};
    options.snapshot = choice->snapshot;
    if (!boardFile.empty() && !(options.board = LoadBoard(boardFile, diagnostics))) {
        return std::nullopt;
    }
    return options;
}

CLI::Option* AddJson(CLI::App& command, bool& isJson) {
    return command.add_flag("--json", isJson, "print one JSON document instead");
}

std::string Example(const std::string& words) {
    return "Example:\n  corebeacon " + words + "\n";
}

void AddDevice(CLI::App& command, std::string& word, const std::string& help) {
    command.add_option("--device", word, help)->type_name("DEVICE");
}

std::optional<DeviceChoice> DeviceOf(const std::string& word, std::ostream& diagnostics) {
    if (word == "sim" || word == "kernel") {
        return DeviceChoice{word == "sim" ? DeviceKind::SIM : DeviceKind::KERNEL, nullptr};
    }
    std::optional<DeviceSnapshot> snapshot = LoadSnapshot(word, diagnostics);
    if (!snapshot) {
        return std::nullopt;
    }
    return DeviceChoice{DeviceKind::SNAPSHOT,
                        std::make_shared<const DeviceSnapshot>(std::move(*snapshot))};
}

}  // namespace corebeacon::tool
