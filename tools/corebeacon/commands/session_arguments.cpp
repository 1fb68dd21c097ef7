#include "commands/session_arguments.h"

#include "board_file.h"
#include "verb_table.h"

namespace corebeacon::tool {

void SessionArguments::AddTo(CLI::App& command) {
    command
        .add_option("--board", boardFile,
                    "the description of a board; without it, the tables of the library")
        ->type_name("FILE");
    command.add_option("--device", device, "sim, the simulated device (the default), or kernel")
        ->check(CLI::IsMember({"sim", "kernel"}).description(""))
        ->type_name("DEVICE");
    AddChip(command, chip, "unless given, what the board or the device tree tells, else 0");
    command
        .add_option("--log", logSwitch,
                    "log switch: 1 information, 2 debug, 3 both; log lines go to standard error")
        ->check(CLI::Range(0U, FindVerb("log")->maxNumber).description(""))
        ->type_name("N");
}

std::optional<SessionOptions> SessionArguments::Options(std::ostream& diagnostics) const {
    SessionOptions options{.device = DeviceOf(device), .chip = chip, .logSwitch = logSwitch};
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

DeviceKind DeviceOf(const std::string& word) {
    return word == "kernel" ? DeviceKind::KERNEL : DeviceKind::SIM;
}

}  // namespace corebeacon::tool
