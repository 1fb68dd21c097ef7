// The command that tells why a value is as it is: `explain`.
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "commands/commands.h"
#include "commands/session_arguments.h"
#include "explain/explain_command.h"
#include "run_command.h"

namespace corebeacon::tool {

namespace {

struct ExplainArguments {
    SessionArguments session;
    ExplainOptions options;
};

}  // namespace

void AddExplainCommand(CommandSet& commands) {
    CLI::App* const explain = commands.App().add_subcommand(
        "explain", "tell who holds a value, and why the others do not");
    auto& arguments = commands.Keep<ExplainArguments>();
    ExplainOptions& options = arguments.options;
    explain
        ->add_option("TARGET", options.targets,
                     "a QoS, QOS.GROUP or a node, by its path or the end of it")
        ->required();
    CLI::Option* const script =
        explain
            ->add_option("--script", options.script,
                         "play this first, up to its last statement; - for standard input")
            ->type_name("FILE");
    explain
        ->add_option("--do", options.statements,
                     "play this statement first, in quotes; may be given several times")
        ->type_name("STATEMENT")
        ->allow_extra_args(false)
        ->excludes(script);
    arguments.session.AddTo(*explain);
    AddJson(*explain, options.isJson);
    explain->footer("Without a script it tells what holds while nobody asks for anything.\n" +
                    Example("explain GPU --do 'request pid=1 for=2s GPU.boost=600000000'"));
    commands.Add(*explain, [&arguments] {
        const auto session = arguments.session.Options(std::cerr);
        if (!session) {
            return kExitBadInput;
        }
        arguments.options.session = *session;
        return Explain(arguments.options, std::cin, std::cout, std::cerr);
    });
}

}  // namespace corebeacon::tool
