#include "explain/explain_command.h"

#include <utility>

#include <nlohmann/json.hpp>

#include "explain/explanation.h"
#include "explain/explanation_json.h"
#include "printable.h"
#include "run_command.h"
#include "script_player.h"
#include "script_source.h"

namespace corebeacon::tool {

namespace {

std::optional<std::vector<Statement>> StatementsOf(const ExplainOptions& options,
                                                   ScriptText& source, std::istream& in,
                                                   std::ostream& diagnostics) {
    std::optional<ScriptText> script = options.script
                                           ? ReadScript(*options.script, in, diagnostics)
                                           : std::optional(JoinStatements(options.statements));
    if (!script) {
        return std::nullopt;
    }
    source = std::move(*script);
    return ParseOrTell(source.text, source.name, diagnostics);
}

}  // namespace

int Explain(const ExplainOptions& options, std::istream& in, std::ostream& out,
            std::ostream& diagnostics) {
    ScriptText source;
    const auto statements = StatementsOf(options, source, in, diagnostics);
    if (!statements) {
        return kExitBadInput;
    }
    const auto session = EngineSession::StartOrTell(options.session, diagnostics);
    if (session == nullptr) {
        return kExitFailed;
    }
    RunObservers nobody;
    ScriptPlayer player(*session, nobody, diagnostics, source.name);
    player.Begin();
    for (const Statement& statement : *statements) {
        player.Carry(statement);
    }
    std::string problem;
    const std::optional<Explanation> explanation = player.Explain(options.targets, problem);
    if (!explanation) {
        diagnostics << "corebeacon: " << Printable(problem) << "\n";
        return kExitBadInput;
    }
    if (options.isJson) {
        PrintJson(ExplanationJson(*explanation), out);
    } else {
        out << ExplanationText(*explanation);
    }
    return player.IsAllAccepted() ? kExitDone : kExitFailed;
}

}  // namespace corebeacon::tool
