// The program `corebeacon`: its command line.
#include <csignal>
#include <cstdio>
#include <iostream>
#include <string>

#include <CLI/CLI.hpp>

#include "commands/commands.h"
#include "commands/session_arguments.h"
#include "corebeacon/version.h"
#include "run_command.h"

namespace {

using namespace corebeacon::tool;

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

    app.footer(
        "Exit codes: 0 done, 1 failed, 2 usage or bad input, 3 a write was not borne out.\n"
        "Data goes to standard output, diagnostics to standard error. With NO_COLOR set, and "
        "where\n"
        "no terminal listens, nothing is coloured.\n" +
        Example("demo"));

    CommandSet commands(app);
    AddPlayCommands(commands);
    AddExplainCommand(commands);
    AddWatchCommand(commands);
    AddTableCommand(commands);
    AddCheckCommand(commands);
    AddBoardCommand(commands);
    AddCompleteCommand(commands);
    AddPlanCommand(commands);
    AddSnapshotCommand(commands);
    AddReplayCommand(commands);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return Flushed(app.exit(error) == 0 ? kExitDone : kExitBadInput);  // the help, perhaps
    }
    return Flushed(commands.Run());
}

}  // namespace

int main(int argc, char** argv) {
    // Whoever reads no further, as head does, ends the program without a word.
    std::signal(SIGPIPE, SIG_DFL);
    try {
        return Run(argc, argv);
    } catch (...) {
        // Memory ran out, or the words of the command line are set up wrongly.
        std::fputs("corebeacon: given up, for want of memory most likely\n", stderr);
        return kExitFailed;
    }
}
