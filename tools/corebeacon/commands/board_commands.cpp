// The commands about tables and descriptions of boards: `table`, `check`, `board init`.
#include <iostream>
#include <optional>
#include <string>

#include "board/board_writer.h"
#include "board/machine_scan.h"
#include "check_command.h"
#include "commands/commands.h"
#include "commands/session_arguments.h"
#include "run_command.h"
#include "table_command.h"

namespace corebeacon::tool {

namespace {

struct TableArguments {
    unsigned chip = 0;
    bool isXml = false;
    bool isJson = false;
};

struct CheckArguments {
    std::string file;
    std::string device;  ///< empty where the nodes are of no interest
    bool isJson = false;
};

}  // namespace

void AddTableCommand(CommandSet& commands) {
    CLI::App* const table = commands.App().add_subcommand("table", "print the QoS table of a chip");
    auto& arguments = commands.Keep<TableArguments>();
    AddChip(*table, arguments.chip, "0 unless given");
    CLI::Option* const xml = table->add_flag(
        "--xml", arguments.isXml, "as the description of a board, to start one's own from");
    AddJson(*table, arguments.isJson)->excludes(xml);
    table->footer(Example("table --chip 1"));
    commands.Add(*table, [&arguments] {
        const auto print = arguments.isXml    ? PrintBoard
                           : arguments.isJson ? PrintJsonTable
                                              : PrintQosTable;
        return print(arguments.chip, std::cout, std::cerr);
    });
}

void AddCheckCommand(CommandSet& commands) {
    CLI::App* const check =
        commands.App().add_subcommand("check", "look for mistakes in the description of a board");
    auto& arguments = commands.Keep<CheckArguments>();
    check->add_option("BOARD", arguments.file, "the file")->required();
    AddDevice(*check, arguments.device,
              "look for the nodes too: sim, on the chip's simulated device, kernel, or the file of "
              "a snapshot");
    AddJson(*check, arguments.isJson);
    check->footer(Example("check board.xml --device kernel"));
    commands.Add(*check, [&arguments] {
        if (arguments.device.empty()) {
            return CheckBoardFile(arguments.file, std::nullopt, arguments.isJson, std::cout,
                                  std::cerr);
        }
        const std::optional<DeviceChoice> device = DeviceOf(arguments.device, std::cerr);
        return device ? CheckBoardFile(arguments.file, device->kind, arguments.isJson, std::cout,
                                       std::cerr, device->snapshot.get())
                      : kExitBadInput;
    });
}

void AddBoardCommand(CommandSet& commands) {
    CLI::App* const board =
        commands.App().add_subcommand("board", "make the description of a board");
    board->require_subcommand(1);
    CLI::App* const init = board->add_subcommand(
        "init", "print one of this machine, from its cpufreq, devfreq and thermal nodes");
    auto& isJson = commands.Keep<bool>();
    AddJson(*init, isJson);
    init->footer(Example("board init >board.xml"));
    board->footer(Example("board init >board.xml"));
    commands.Add(*init, [&isJson] {
        board::Board scanned = board::ScanMachine("/");
        if (isJson) {
            PrintBoardFacts(scanned, std::cout);
        } else {
            std::cout << board::BoardText(scanned);
        }
        return kExitDone;
    });
}

}  // namespace corebeacon::tool
