#include "run_command.h"

#include <cerrno>
#include <memory>
#include <optional>
#include <sstream>
#include <vector>

#include <nlohmann/json.hpp>

#include "demo_story.h"
#include "event_printer.h"
#include "interruption.h"
#include "json_printer.h"
#include "recording/recording_writer.h"
#include "script_player.h"
#include "script_source.h"
#include "text_file.h"
#include "timeline_file.h"
#include "timeline_recorder.h"
#include "verify/node_watch.h"
#include "verify/write_verifier.h"

namespace corebeacon::tool {

namespace {

/// What anybody else writes to the nodes that the run wrote.
std::vector<NodeChange> WatchAfterwards(const ScriptPlayer& player, std::chrono::milliseconds span,
                                        EngineSession& session, std::ostream& out) {
    std::vector<NodeChange> changes;
    if (span.count() == 0 || Interruption() != 0) {
        return changes;
    }
    NodeWatch watch(player.WrittenNodes(), session.Reader());
    out << "\nWatching " << watch.Size() << (watch.Size() == 1 ? " node\n" : " nodes\n")
        << std::flush;
    Watch({.span = span}, session, watch, [&](const NodeChange& change) {
        changes.push_back(change);
        out << ChangeText(change, player.BeginTime(), session.Names()) << "\n" << std::flush;
    });
    return changes;
}

void AddFindings(Json& document, const std::optional<WriteVerifier>& verifier,
                 const RunOptions& options, const std::vector<NodeChange>& changes,
                 TimePoint begin) {
    if (verifier) {
        document["verify"] = verifier->ToJson();
    }
    if (options.watch.count() != 0) {
        document["watch"] = ChangesJson(changes, begin);
    }
}

/// Without a file there is nothing to keep.
bool KeepTimeline(const Timeline& timeline, const std::string& path, std::ostream& diagnostics) {
    errno = 0;
    if (path.empty() || WriteTimelineFile(timeline, path)) {
        return true;
    }
    TellUnwritable(path, errno, diagnostics);
    return false;
}

}  // namespace

int RunScript(const std::string& path, const RunOptions& options, std::istream& in,
              std::ostream& out, std::ostream& diagnostics) {
    const std::optional<ScriptText> script = ReadScript(path, in, diagnostics);
    return script ? PlayScript(script->text, script->name, options, out, diagnostics)
                  : kExitBadInput;
}

int RunStatements(const std::vector<std::string>& statements, const RunOptions& options,
                  std::ostream& out, std::ostream& diagnostics) {
    const ScriptText script = JoinStatements(statements);
    return PlayScript(script.text, script.name, options, out, diagnostics);
}

int Recorded(const RunOptions& options, std::ostream& diagnostics,
             const std::function<int(const SessionOptions&)>& play) {
    if (options.recordFile.empty()) {
        return play(options.session);
    }
    const std::unique_ptr<RecordingWriter> recording =
        RecordingWriter::Open(options.recordFile, diagnostics);
    if (recording == nullptr) {
        return kExitBadInput;
    }
    SessionOptions session = options.session;
    session.pace = session.pace.value_or(Pace::REAL);
    session.recording = recording.get();
    const int result = play(session);
    return recording->Close(diagnostics) ? result : kExitFailed;
}

int PlayStatements(const std::vector<Statement>& statements, const std::string& name,
                   const SessionOptions& options, RunObservers& observers,
                   std::ostream& diagnostics, const AfterPlay& after) {
    const auto session = EngineSession::StartOrTell(options, diagnostics);
    if (session == nullptr) {
        return kExitFailed;
    }
    const InterruptionGuard guard(InterruptionGuard::Catch::ONCE);
    ScriptPlayer player(*session, observers, diagnostics, name);
    const bool isAllAccepted = player.Play(statements);
    if (Interruption() != 0) {
        diagnostics << "corebeacon: interrupted\n";
    }
    if (after) {
        after(player, *session);
    }
    return isAllAccepted && Interruption() == 0 ? kExitDone : kExitFailed;
}

int PlayScript(std::string_view script, const std::string& name, const RunOptions& options,
               std::ostream& out, std::ostream& diagnostics) {
    const auto statements = ParseOrTell(script, name, diagnostics);
    if (!statements) {
        return kExitBadInput;
    }
    if (!options.timeline.empty() && !CreateTimelineFile(options.timeline)) {
        TellUnwritable(options.timeline, errno, diagnostics);
        return kExitBadInput;
    }
    EventPrinter printer(out, *statements, options.palette);
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
    std::ostringstream unseen;
    std::ostream& account = options.isJson ? unseen : out;
    std::optional<WriteVerifier> verifier;
    if (options.isVerifying) {
        observers.Add(verifier.emplace(account));
    }
    std::vector<NodeChange> changes;
    const auto watch = [&](const ScriptPlayer& player, EngineSession& session) {
        changes = WatchAfterwards(player, options.watch, session, account);
        AddFindings(json.Document(), verifier, options, changes, player.BeginTime());
    };
    int exitCode = Recorded(options, diagnostics, [&](const SessionOptions& session) {
        return PlayStatements(*statements, name, session, observers, diagnostics, watch);
    });
    if (recorder.HasBegun() && !KeepTimeline(recorder.Result(), options.timeline, diagnostics)) {
        exitCode = kExitFailed;
    }
    if (exitCode == kExitDone && (!changes.empty() || (verifier && verifier->HasMismatch()))) {
        exitCode = kExitMismatch;
    }
    if (json.HasBegun()) {
        json.Print(exitCode, out);
    }
    return exitCode;
}

int PlayDemo(const RunOptions& options, std::ostream& out, std::ostream& diagnostics) {
    return PlayScript(kDemoStory, "demo", options, out, diagnostics);
}

}  // namespace corebeacon::tool
