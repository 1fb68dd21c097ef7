// The hidden command `complete`, which the shells' completion scripts ask: it prints one candidate
// a line, a tab and what it means; an empty word with "file" says that a file's name will do.
#include <iostream>
#include <string>
#include <vector>

#include "commands/command_line_completion.h"
#include "commands/commands.h"
#include "run_command.h"

namespace corebeacon::tool {

void AddCompleteCommand(CommandSet& commands) {
    CLI::App* const complete =
        commands.App().add_subcommand("complete", "what may stand next on the command line");
    complete->group("");
    auto& words = commands.Keep<std::vector<std::string>>();
    complete->add_option("WORD", words, "those behind the program's name, the last to complete");
    const CLI::App& app = commands.App();
    commands.Add(*complete, [&app, &words] {
        const Completion completion = CompleteCommandLine(app, words);
        for (const Candidate& candidate : completion.candidates) {
            std::cout << candidate.word << "\t" << candidate.description << "\n";
        }
        if (completion.takesFile) {
            std::cout << "\tfile\n";
        }
        return kExitDone;
    });
}

}  // namespace corebeacon::tool
