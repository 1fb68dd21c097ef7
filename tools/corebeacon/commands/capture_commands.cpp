// The commands that carry a machine elsewhere: `plan`, `snapshot`, `replay`.
#include <cerrno>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>

#include "board_file.h"
#include "commands/commands.h"
#include "commands/session_arguments.h"
#include "plan_command.h"
#include "recording/replay_command.h"
#include "run_command.h"
#include "snapshot/capture.h"
#include "text_file.h"

namespace corebeacon::tool {

namespace {

struct PlanArguments {
    SessionArguments session;
    std::string script;
    bool isJson = false;
};

struct SnapshotArguments {
    std::string boardFile;
    std::string outFile;
};

struct ReplayArguments {
    std::string file;
    bool isJson = false;
};

int Plan(const PlanArguments& arguments) {
    const std::optional<SessionOptions> options = arguments.session.Options(std::cerr);
    if (!options) {
        return kExitBadInput;
    }
    if (options->device == DeviceKind::KERNEL) {
        std::cerr << "corebeacon: plan touches no node of this machine; a snapshot of it can be "
                     "planned for: corebeacon snapshot -o FILE\n";
        return kExitBadInput;
    }
    return PlanScript(arguments.script, *options, arguments.isJson, std::cin, std::cout, std::cerr);
}

int Snapshot(const SnapshotArguments& arguments) {
    std::optional<board::Board> board;
    if (!arguments.boardFile.empty() && !(board = LoadBoard(arguments.boardFile, std::cerr))) {
        return kExitBadInput;
    }
    const std::string text = SnapshotText(CaptureDevice(board, ""));
    if (arguments.outFile.empty()) {
        std::cout << text;
        return kExitDone;
    }
    errno = 0;
    std::ofstream file(arguments.outFile);
    if (!(file << text).flush()) {
        TellUnwritable(arguments.outFile, errno, std::cerr);
        return kExitFailed;
    }
    return kExitDone;
}

}  // namespace

void AddPlanCommand(CommandSet& commands) {
    CLI::App* const plan = commands.App().add_subcommand(
        "plan", "print what a script would write, without touching a node of this machine");
    auto& arguments = commands.Keep<PlanArguments>();
    plan->add_option("SCRIPT", arguments.script, "file, or - for standard input")->required();
    arguments.session.AddTo(*plan);
    AddJson(*plan, arguments.isJson);
    plan->footer(Example("plan story.qos --device device.json"));
    commands.Add(*plan, [&arguments] { return Plan(arguments); });
}

void AddSnapshotCommand(CommandSet& commands) {
    CLI::App* const snapshot = commands.App().add_subcommand(
        "snapshot", "capture the nodes of this machine, for --device elsewhere");
    auto& arguments = commands.Keep<SnapshotArguments>();
    snapshot
        ->add_option("--board", arguments.boardFile,
                     "the description of a board; without it, the tables of the library")
        ->type_name("FILE");
    snapshot->add_option("-o,--output", arguments.outFile, "where to; unless given, to stdout")
        ->type_name("FILE");
    snapshot->footer(Example("snapshot -o device.json"));
    commands.Add(*snapshot, [&arguments] { return Snapshot(arguments); });
}

void AddReplayCommand(CommandSet& commands) {
    CLI::App* const replay = commands.App().add_subcommand(
        "replay", "play a recording again and compare what the engine writes");
    auto& arguments = commands.Keep<ReplayArguments>();
    replay->add_option("RECORDING", arguments.file, "what --record wrote")->required();
    AddJson(*replay, arguments.isJson);
    replay->footer(Example("replay run.rec"));
    commands.Add(*replay, [&arguments] {
        return ReplayFile(arguments.file, arguments.isJson, std::cout, std::cerr);
    });
}

}  // namespace corebeacon::tool
