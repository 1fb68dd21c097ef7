#include "script_help.h"

#include "text_table.h"

namespace corebeacon::tool {

namespace {

std::string UsageOf(const VerbRow& verb) {
    return std::string(verb.name) + " " + std::string(verb.usage);
}

}  // namespace

std::string HelpOn(const VerbRow& verb) {
    TextTable lines;
    lines.AddRow({UsageOf(verb)});
    lines.AddRow({"    " + std::string(verb.summary)});
    return lines.Text("  ");
}

std::string ScriptHelp() {
    std::string verbs;
    for (const VerbRow& row : VerbTable()) {
        verbs += HelpOn(row);
    }
    return "A script holds one statement a line; '#' begins a comment.\n" + verbs +
           "QOS is a name or an id, CPU_B or 2; QOS.GROUP names a group other than 0, EAS.7.\n"
           "TIME is a number with its unit, 500ms or 2s.\n"
           "For example:\n"
           "  request pid=1001 for=500ms CPU_B.boost=2000000 GPU.limit=500000000 as h1\n";
}

}  // namespace corebeacon::tool
