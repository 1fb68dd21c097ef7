#include "run_command.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>
#include <optional>

#include "demo_story.h"
#include "event_printer.h"
#include "script_parser.h"
#include "script_player.h"

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

int RunScript(const std::string& path, const RunOptions& options, std::istream& in,
              std::ostream& out, std::ostream& diagnostics) {
    const bool isStandardInput = path == "-";
    errno = 0;
    const std::optional<std::string> script = isStandardInput ? ReadAll(in) : ReadFile(path);
    const std::string name = isStandardInput ? "<stdin>" : path;
    if (!script) {
        diagnostics << "corebeacon: cannot read " << name << ": " << std::strerror(errno) << "\n";
        return kExitBadInput;
    }
    return PlayScript(*script, name, options, out, diagnostics);
}

int RunStatements(const std::vector<std::string>& statements, const RunOptions& options,
                  std::ostream& out, std::ostream& diagnostics) {
    std::string script;
    for (const std::string& statement : statements) {
        script += statement + "\n";
    }
    return PlayScript(script, "<command line>", options, out, diagnostics);
}

int PlayScript(std::string_view script, const std::string& name, const RunOptions& options,
               std::ostream& out, std::ostream& diagnostics) {
    const ParsedScript parsed = ParseScript(script);
    for (const ScriptError& error : parsed.errors) {
        diagnostics << name << ":" << error.position.line << ":" << error.position.column << ": "
                    << error.message << "\n";
    }
    if (!parsed.errors.empty()) {
        return kExitBadInput;
    }
    const std::unique_ptr<EngineSession> session = EngineSession::Start(options.session);
    if (session == nullptr) {
        diagnostics << "corebeacon: the engine does not start; its log above tells why\n";
        return kExitFailed;
    }
    EventPrinter printer(out, parsed.statements);
    RunObservers observers;
    observers.Add(printer);
    ScriptPlayer player(*session, observers, diagnostics, name);
    return player.Play(parsed.statements) ? kExitDone : kExitFailed;
}

int PlayDemo(std::ostream& out, std::ostream& diagnostics) {
    return PlayScript(kDemoStory, "demo", RunOptions(), out, diagnostics);
}

}  // namespace corebeacon::tool
