// The commands that play statements: `run` those of a script, `do` those of its command line,
// `shell` those that are entered, `demo` its own story.
#include <unistd.h>

#include <chrono>
#include <iostream>
#include <string>
#include <vector>

#include "commands/commands.h"
#include "commands/session_arguments.h"
#include "commands/time_argument.h"
#include "run_command.h"
#include "script_help.h"
#include "shell_command.h"
#include "timeline_file.h"

namespace corebeacon::tool {

namespace {

struct PlayArguments {
    SessionArguments session;
    bool isJson = false;
    std::string script;
    std::vector<std::string> statements;
    std::string timeline;
    bool isVerifying = false;
    std::chrono::milliseconds watch{0};
    std::string recordFile;
};

void AddTimeline(CLI::App& command, std::string& file) {
    command
        .add_option("--timeline", file,
                    "write the run over time there: a page if the name ends in .html, "
                    "a trace for trace viewers if in .json")
        ->check(CLI::Validator(
            [](const std::string& name) {
                return TimelineFormOf(name) ? "" : "the name ends neither in .json nor in .html";
            },
            ""))
        ->type_name("FILE");
}

void AddVerification(CLI::App& command, PlayArguments& arguments) {
    command.add_flag("--verify", arguments.isVerifying,
                     "read back what is written, and tell where a node holds something else");
    AddTime(command, "--watch", arguments.watch,
            "after the run, tell for so long what others write to the nodes");
}

void AddRecord(CLI::App& command, PlayArguments& arguments) {
    command
        .add_option("--record", arguments.recordFile,
                    "keep all that happens in a file for 'corebeacon replay'")
        ->type_name("FILE");
}

/// `play` gets the options as far as they are good.
template <typename Play>
int Played(const CLI::App& command, const PlayArguments& arguments, Play play) {
    const std::optional<SessionOptions> session = arguments.session.Options(std::cerr);
    return session ? play(RunOptions{.session = *session,
                                     .command = command.get_name(),
                                     .isJson = arguments.isJson,
                                     .palette = PaletteFor(STDOUT_FILENO),
                                     .timeline = arguments.timeline,
                                     .isVerifying = arguments.isVerifying,
                                     .watch = arguments.watch,
                                     .recordFile = arguments.recordFile})
                   : kExitBadInput;
}

void AddRun(CommandSet& commands) {
    CLI::App* const run = commands.App().add_subcommand("run", "play a script");
    auto& arguments = commands.Keep<PlayArguments>();
    run->add_option("SCRIPT", arguments.script, "file, or - for standard input")->required();
    AddVerification(*run, arguments);
    arguments.session.AddTo(*run);
    AddRecord(*run, arguments);
    AddJson(*run, arguments.isJson);
    AddTimeline(*run, arguments.timeline);
    run->footer(ScriptHelp() + Example("run story.qos --chip 1"));
    commands.Add(*run, [run, &arguments] {
        return Played(*run, arguments, [&arguments](const RunOptions& options) {
            return RunScript(arguments.script, options, std::cin, std::cout, std::cerr);
        });
    });
}

void AddDo(CommandSet& commands) {
    CLI::App* const act =
        commands.App().add_subcommand("do", "play the statements of the command line");
    auto& arguments = commands.Keep<PlayArguments>();
    act->add_option("STATEMENT", arguments.statements, "each in quotes, as a line of a script")
        ->required();
    AddVerification(*act, arguments);
    arguments.session.AddTo(*act);
    AddRecord(*act, arguments);
    AddJson(*act, arguments.isJson);
    AddTimeline(*act, arguments.timeline);
    act->footer(ScriptHelp() +
                Example("do 'request pid=1001 for=500ms CPU_B.boost=2000000' 'wait 1s'"));
    commands.Add(*act, [act, &arguments] {
        return Played(*act, arguments, [&arguments](const RunOptions& options) {
            return RunStatements(arguments.statements, options, std::cout, std::cerr);
        });
    });
}

void AddDemo(CommandSet& commands) {
    CLI::App* const demo =
        commands.App().add_subcommand("demo", "play a short story on the simulated device");
    auto& arguments = commands.Keep<PlayArguments>();
    AddRecord(*demo, arguments);
    AddJson(*demo, arguments.isJson);
    AddTimeline(*demo, arguments.timeline);
    AddVerification(*demo, arguments);
    demo->footer(Example("demo"));
    commands.Add(*demo, [demo, &arguments] {
        return Played(*demo, arguments, [](const RunOptions& options) {
            return PlayDemo(options, std::cout, std::cerr);
        });
    });
}

void AddShell(CommandSet& commands) {
    CLI::App* const shell =
        commands.App().add_subcommand("shell", "carry out statements as they are entered");
    auto& arguments = commands.Keep<PlayArguments>();
    arguments.session.AddTo(*shell);
    AddRecord(*shell, arguments);
    shell->footer(ScriptHelp() + Example("shell --chip 1"));
    commands.Add(*shell, [shell, &arguments] {
        return Played(*shell, arguments, [](const RunOptions& options) {
            return RunShell(options, ::isatty(STDIN_FILENO) != 0, std::cin, std::cout, std::cerr);
        });
    });
}

}  // namespace

void AddPlayCommands(CommandSet& commands) {
    AddDemo(commands);
    AddRun(commands);
    AddDo(commands);
    AddShell(commands);
}

}  // namespace corebeacon::tool
