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
};

struct CheckArguments {
    std::string file;
    std::string device;  ///< empty where the nodes are of no interest
};

}  // namespace

void AddTableCommand(CommandSet& commands) {
    CLI::App* const table = commands.App().add_subcommand("table", "print the QoS table of a chip");
    auto& arguments = commands.Keep<TableArguments>();
    AddChip(*table, arguments.chip, "0 unless given");
    table->add_flag("--xml", arguments.isXml,
                    "as the description of a board, to start one's own from");
    commands.Add(*table, [&arguments] {
        return arguments.isXml ? PrintBoard(arguments.chip, std::cout, std::cerr)
                               : PrintQosTable(arguments.chip, std::cout, std::cerr);
    });
}

void AddCheckCommand(CommandSet& commands) {
    CLI::App* const check =
        commands.App().add_subcommand("check", "look for mistakes in the description of a board");
    auto& arguments = commands.Keep<CheckArguments>();
    check->add_option("BOARD", arguments.file, "the file")->required();
    check
        ->add_option("--device", arguments.device,
                     "look for the nodes too: sim, on the chip's simulated device, or kernel")
        ->check(CLI::IsMember({"sim", "kernel"}).description(""))
        ->type_name("DEVICE");
    commands.Add(*check, [&arguments] {
        return CheckBoardFile(
            arguments.file,
            arguments.device.empty() ? std::nullopt : std::optional(DeviceOf(arguments.device)),
            std::cout, std::cerr);
    });
}

void AddBoardCommand(CommandSet& commands) {
    CLI::App* const board =
        commands.App().add_subcommand("board", "make the description of a board");
    board->require_subcommand(1);
    const CLI::App* const init = board->add_subcommand(
        "init", "print one of this machine, from its cpufreq, devfreq and thermal nodes");
    commands.Add(*init, [] {
        std::cout << board::BoardText(board::ScanMachine("/"));
        return kExitDone;
    });
}

}  // namespace corebeacon::tool
