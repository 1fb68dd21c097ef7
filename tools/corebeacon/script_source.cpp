#include "script_source.h"

#include <cerrno>
#include <cstring>
#include <fstream>

#include "script_parser.h"

namespace corebeacon::tool {

namespace {

/// One byte more than the parser takes, so that it can say that the script is too long.
constexpr std::size_t kMaxReadBytes = kMaxScriptBytes + 1;

std::optional<std::string> ReadAll(std::istream& in) {
    std::string text(kMaxReadBytes, '\0');
    in.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (in.bad()) {
        return std::nullopt;
    }
    text.resize(static_cast<std::size_t>(in.gcount()));
    return text;
}

std::optional<std::string> ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return file.is_open() ? ReadAll(file) : std::nullopt;
}

}  // namespace

std::optional<ScriptText> ReadScript(const std::string& path, std::istream& in,
                                     std::ostream& diagnostics) {
    const bool isStandardInput = path == "-";
    errno = 0;
    std::optional<std::string> script = isStandardInput ? ReadAll(in) : ReadFile(path);
    const std::string name = isStandardInput ? "<stdin>" : path;
    if (!script) {
        diagnostics << "corebeacon: cannot read " << name << ": " << std::strerror(errno) << "\n";
        return std::nullopt;
    }
    return ScriptText{name, std::move(*script)};
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
