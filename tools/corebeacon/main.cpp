// The program `corebeacon`: its command line.
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "board/board_writer.h"
#include "board/machine_scan.h"
#include "board_file.h"
#include "check_command.h"
#include "corebeacon/version.h"
#include "run_command.h"
#include "table_command.h"
#include "text_table.h"
#include "verb_table.h"

namespace {

using namespace corebeacon::tool;

std::string ScriptHelp() {
    TextTable verbs;
    for (const VerbRow& row : VerbTable()) {
        verbs.AddRow({std::string(row.name) + " " + std::string(row.usage)});
        verbs.AddRow({"    " + std::string(row.summary)});
    }
    return "A script holds one statement a line; '#' begins a comment.\n" + verbs.Text("  ") +
           "QOS is a name or an id, CPU_B or 2; QOS.GROUP names a group other than 0, EAS.7.\n"
           "TIME is a number with its unit, 500ms or 2s.\n"
           "For example:\n"
           "  request pid=1001 for=500ms CPU_B.boost=2000000 GPU.limit=500000000 as h1\n";
}

template <typename Number>
void AddChip(CLI::App& command, Number& chip, const std::string& unlessGiven) {
    command.add_option("--chip", chip, "chip variant, 0 to 2; " + unlessGiven)
        ->check(CLI::Range(0U, kChipCount - 1).description(""))
        ->type_name("N");
}

/// What the commands that play something have in common.
void AddSessionOptions(CLI::App& command, SessionOptions& options, std::string& device,
                       std::string& board) {
    command
        .add_option("--board", board,
                    "the description of a board; without it, the tables of the library")
        ->type_name("FILE");
    command.add_option("--device", device, "sim, the simulated device (the default), or kernel")
        ->check(CLI::IsMember({"sim", "kernel"}).description(""))
        ->type_name("DEVICE");
    AddChip(command, options.chip, "unless given, what the board or the device tree tells, else 0");
    command
        .add_option("--log", options.logSwitch,
                    "log switch: 1 information, 2 debug, 3 both; log lines go to standard error")
        ->check(CLI::Range(0U, FindVerb("log")->maxNumber).description(""))
        ->type_name("N");
    command.footer(ScriptHelp());
}

const CLI::App* AddCheck(CLI::App& app, std::string& file, std::string& device) {
    CLI::App* const check =
        app.add_subcommand("check", "look for mistakes in the description of a board");
    check->add_option("BOARD", file, "the file")->required();
    check
        ->add_option("--device", device,
                     "look for the nodes too: sim, on the chip's simulated device, or kernel")
        ->check(CLI::IsMember({"sim", "kernel"}).description(""))
        ->type_name("DEVICE");
    return check;
}

const CLI::App* AddBoardInit(CLI::App& app) {
    CLI::App* const board = app.add_subcommand("board", "make the description of a board");
    board->require_subcommand(1);
    return board->add_subcommand(
        "init", "print one of this machine, from its cpufreq, devfreq and thermal nodes");
}

/// `device` is empty where the nodes are of no interest.
int Check(const std::string& file, const std::string& device) {
    const auto kind = device == "kernel" ? DeviceKind::KERNEL : DeviceKind::SIM;
    return CheckBoardFile(file, device.empty() ? std::nullopt : std::optional(kind), std::cout,
                          std::cerr);
}

/// Whether all that was printed has gone out.
int Flushed(int result) {
    if (!std::cout.flush()) {
        std::cerr << "corebeacon: standard output cannot be written\n";
        return kExitFailed;
    }
    return result;
}

int Run(int argc, char** argv) {
    CLI::App app("Plays requests on the performance QoS engine and shows what it writes.",
                 "corebeacon");
    app.set_version_flag("--version", "corebeacon " COREBEACON_VERSION);
    app.require_subcommand(1);
    app.failure_message([](const CLI::App*, const CLI::Error& error) {
        return std::string("corebeacon: ") + error.what() + "\nRun with --help for the usage.\n";
    });

    CLI::App* const demo = app.add_subcommand("demo", "play a short story on the simulated device");

    SessionOptions options;
    std::string device = "sim";
    std::string boardFile;
    CLI::App* const run = app.add_subcommand("run", "play a script");
    std::string script;
    run->add_option("SCRIPT", script, "file, or - for standard input")->required();
    AddSessionOptions(*run, options, device, boardFile);

    CLI::App* const act = app.add_subcommand("do", "play the statements of the command line");
    std::vector<std::string> statements;
    act->add_option("STATEMENT", statements, "each in quotes, as a line of a script")->required();
    AddSessionOptions(*act, options, device, boardFile);

    CLI::App* const table = app.add_subcommand("table", "print the QoS table of a chip");
    unsigned chip = 0;
    AddChip(*table, chip, "0 unless given");
    bool isXml = false;
    table->add_flag("--xml", isXml, "as the description of a board, to start one's own from");
    std::string boardToCheck;
    std::string checkedDevice;
    const CLI::App* const check = AddCheck(app, boardToCheck, checkedDevice);
    const CLI::App* const init = AddBoardInit(app);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kExitDone : kExitBadInput;
    }
    options.device = device == "kernel" ? DeviceKind::KERNEL : DeviceKind::SIM;
    if (!boardFile.empty() && !(options.board = LoadBoard(boardFile, std::cerr))) {
        return kExitBadInput;
    }
    int result = kExitDone;
    if (demo->parsed()) {
        result = PlayDemo(std::cout, std::cerr);
    } else if (run->parsed()) {
        result = RunScript(script, options, std::cin, std::cout, std::cerr);
    } else if (act->parsed()) {
        result = RunStatements(statements, options, std::cout, std::cerr);
    } else if (table->parsed()) {
        result = isXml ? PrintBoard(chip, std::cout, std::cerr)
                       : PrintQosTable(chip, std::cout, std::cerr);
    } else if (init->parsed()) {
        std::cout << corebeacon::board::BoardText(corebeacon::board::ScanMachine("/"));
    } else if (check->parsed()) {
        result = Check(boardToCheck, checkedDevice);
    }
    return Flushed(result);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (...) {
        // Memory ran out, or the words of the command line are set up wrongly.
        std::fputs("corebeacon: given up, for want of memory most likely\n", stderr);
        return kExitFailed;
    }
}
