// The command that notices foreign writers: `watch`.
#include <iostream>

#include "commands/commands.h"
#include "commands/session_arguments.h"
#include "commands/time_argument.h"
#include "run_command.h"
#include "verify/watch_command.h"

namespace corebeacon::tool {

namespace {

struct WatchArguments {
    SessionArguments session;
    WatchCommandOptions options;
};

}  // namespace

void AddWatchCommand(CommandSet& commands) {
    CLI::App* const watch =
        commands.App().add_subcommand("watch", "tell what others write to the nodes");
    auto& arguments = commands.Keep<WatchArguments>();
    WatchCommandOptions& options = arguments.options;
    watch->add_option("TARGET", options.targets,
                      "a QoS, QOS.GROUP or a node; without any, every node of the table");
    AddTime(*watch, "--for", options.watch.span, "how long; without it, until interrupted");
    AddTime(*watch, "--every", options.watch.interval, "how often to look, 100ms unless given");
    arguments.session.AddTo(*watch);
    AddJson(*watch, options.isJson);
    watch->footer(Example("watch GPU --for 1s"));
    commands.Add(*watch, [&arguments] {
        const auto session = arguments.session.Options(std::cerr);
        if (!session) {
            return kExitBadInput;
        }
        arguments.options.session = *session;
        return WatchNodes(arguments.options, std::cout, std::cerr);
    });
}

}  // namespace corebeacon::tool
