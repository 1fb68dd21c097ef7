#include "script_source.h"

#include <cerrno>

#include "script_parser.h"
#include "text_file.h"

namespace corebeacon::tool {

namespace {

std::optional<std::string> ReadStandardInput(std::istream& in, const std::string& name,
                                             std::ostream& diagnostics) {
    errno = 0;
    std::optional<std::string> text = ReadText(in, kMaxScriptBytes);
    if (!text) {
        TellUnreadable(name, errno, diagnostics);
    }
    return text;
}

}  // namespace

std::optional<ScriptText> ReadScript(const std::string& path, std::istream& in,
                                     std::ostream& diagnostics) {
    const bool isStandardInput = path == "-";
    const std::string name = isStandardInput ? "<stdin>" : path;
    std::optional<std::string> script = isStandardInput
                                            ? ReadStandardInput(in, name, diagnostics)
                                            : ReadTextFile(path, kMaxScriptBytes, diagnostics);
    return script ? std::optional(ScriptText{name, std::move(*script)}) : std::nullopt;
}

ScriptText JoinStatements(const std::vector<std::string>& statements) {
    ScriptText script{"<command line>", ""};
    for (const std::string& statement : statements) {
        script.text += statement + "\n";
    }
    return script;
}

std::optional<std::vector<Statement>> ParseOrTell(std::string_view script, const std::string& name,
                                                  std::ostream& diagnostics) {
    ParsedScript parsed = ParseScript(script);
    for (const ScriptError& error : parsed.errors) {
        diagnostics << name << ":" << error.position.line << ":" << error.position.column << ": "
                    << error.message << "\n";
    }
    if (!parsed.errors.empty()) {
        return std::nullopt;
    }
    return std::move(parsed.statements);
}

}  // namespace corebeacon::tool
