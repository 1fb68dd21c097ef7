#include "run_command.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>
#include <optional>

#include "demo_story.h"
#include "event_printer.h"
#include "interruption.h"
#include "json_printer.h"
#include "script_parser.h"
#include "script_player.h"
#include "timeline_file.h"
#include "timeline_recorder.h"

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

void TellUnwritable(const std::string& path, std::ostream& diagnostics) {
    diagnostics << "corebeacon: cannot write " << path << ": " << std::strerror(errno) << "\n";
}

/// Without a file there is nothing to keep.
bool KeepTimeline(const Timeline& timeline, const std::string& path, std::ostream& diagnostics) {
    errno = 0;
    if (path.empty() || WriteTimelineFile(timeline, path)) {
        return true;
    }
    TellUnwritable(path, diagnostics);
    return false;
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
    if (!options.timeline.empty() && !CreateTimelineFile(options.timeline)) {
        TellUnwritable(options.timeline, diagnostics);
        return kExitBadInput;
    }
    const std::unique_ptr<EngineSession> session = EngineSession::Start(options.session);
    if (session == nullptr) {
        diagnostics << "corebeacon: the engine does not start; its log above tells why\n";
        return kExitFailed;
    }
    EventPrinter printer(out, parsed.statements, options.palette);
    JsonPrinter json(options.command, name);
    RunObservers observers;
    if (options.isJson) {
        observers.Add(json);
    } else {
        observers.Add(printer);
    }
    TimelineRecorder recorder(name);
    if (!options.timeline.empty()) {
        observers.Add(recorder);
    }
    const InterruptionGuard guard(InterruptionGuard::Catch::ONCE);
    ScriptPlayer player(*session, observers, diagnostics, name);
    const bool isAllAccepted = player.Play(parsed.statements);
    if (Interruption() != 0) {
        diagnostics << "corebeacon: interrupted\n";
    }
    const bool isAllKept = KeepTimeline(recorder.Result(), options.timeline, diagnostics);
    const bool isDone = isAllAccepted && isAllKept && Interruption() == 0;
    const int exitCode = isDone ? kExitDone : kExitFailed;
    if (options.isJson) {
        json.Print(exitCode, out);
    }
    return exitCode;
}

int PlayDemo(const RunOptions& options, std::ostream& out, std::ostream& diagnostics) {
    return PlayScript(kDemoStory, "demo", options, out, diagnostics);
}

}  // namespace corebeacon::tool
