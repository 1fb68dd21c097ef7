#include "shell_command.h"

#include <algorithm>
#include <chrono>
#include <clocale>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "event_printer.h"
#include "interruption.h"
#include "line_editor.h"
#include "platform/clock.h"
#include "script_completion.h"
#include "script_help.h"
#include "script_parser.h"
#include "script_player.h"

namespace corebeacon::tool {

namespace {

constexpr const char* kPrompt = "corebeacon> ";

/// While timed requests are in force, what workers write between is looked for so often.
constexpr std::chrono::milliseconds kLookInterval{100};

constexpr const char* kShellHelp =
    "At the prompt also:\n"
    "  help [VERB]\n"
    "      tells what may be typed\n"
    "  exit\n"
    "      leaves, as Ctrl-D does\n";

/// What the shell itself answers to, besides the verbs.
const std::vector<std::string> kOwnWords = {"help", "exit", "quit"};

std::string FirstWord(const std::string& line) {
    const std::size_t begin = std::min(line.find_first_not_of(" \t"), line.size());
    return line.substr(begin, line.find_first_of(" \t#", begin) - begin);
}

class Shell {
public:
    Shell(EngineSession& session, const RunOptions& options, bool isTerminal, std::ostream& out,
          std::ostream& diagnostics);

    int Run(std::istream& in);

private:
    void ReadStream(std::istream& in);
    void ReadTerminal();
    /// False to leave.
    bool Obey(const std::string& line);
    void Help(const std::string& line);
    void Carry(const std::string& line);
    void Complain(const ScriptError& error);
    ScriptContext Context() const;
    std::vector<std::string> Complete(std::string_view line) const;
    void CatchUp();
    std::optional<TimePoint> NextLook() const;
    void AnnounceEnd();

    EngineSession& mSession;
    const bool mIsTerminal;
    std::ostream& mOut;
    std::ostream& mDiagnostics;
    EventPrinter mPrinter;
    RunObservers mObservers;
    const std::string mName;  // what diagnostics call the input
    ScriptPlayer mPlayer;
    unsigned mLine = 0;
    std::map<std::string, unsigned> mLines;  // of the names given, with their lines
    bool mHasBadLine = false;
};

Shell::Shell(EngineSession& session, const RunOptions& options, bool isTerminal, std::ostream& out,
             std::ostream& diagnostics)
    : mSession(session),
      mIsTerminal(isTerminal),
      mOut(out),
      mDiagnostics(diagnostics),
      mPrinter(out, {}, options.palette),
      mName(isTerminal ? "prompt" : "<stdin>"),
      mPlayer(session, mObservers, diagnostics, mName) {
    mObservers.Add(mPrinter);
}

int Shell::Run(std::istream& in) {
    mPlayer.Begin();
    if (mIsTerminal) {
        mOut << "help tells what may be typed, Tab completes, Ctrl-D leaves.\n" << std::flush;
        ReadTerminal();
        AnnounceEnd();
    } else {
        ReadStream(in);
    }
    const bool isAllAccepted = mPlayer.Finish();
    if (mIsTerminal) {
        return kExitDone;  // whoever typed it has seen what failed
    }
    if (mHasBadLine) {
        return kExitBadInput;
    }
    return isAllAccepted && Interruption() == 0 ? kExitDone : kExitFailed;
}

void Shell::ReadStream(std::istream& in) {
    for (std::string line; Interruption() == 0 && std::getline(in, line);) {
        if (!Obey(line)) {
            return;
        }
    }
}

void Shell::ReadTerminal() {
    LineEditor editor(kPrompt, HistoryFile(),
                      {.complete = [this](std::string_view line) { return Complete(line); },
                       .nextLook = [this] { return NextLook(); },
                       .hasNews =
                           [this] {
                               CatchUp();
                               return mPlayer.HasNews();
                           },
                       .tellNews = [this] { mPlayer.PassTime(SteadyNow()); }});
    for (;;) {
        mPlayer.PassTime(SteadyNow());
        std::string line;
        const LineEditor::Answer answer = editor.Read(line);
        if (answer == LineEditor::Answer::END ||
            (answer == LineEditor::Answer::LINE && !Obey(line))) {
            return;
        }
        if (TakeCtrlC()) {
            mDiagnostics << "corebeacon: interrupted" << std::endl;
        } else if (Interruption() != 0) {
            return;
        }
    }
}

bool Shell::Obey(const std::string& line) {
    ++mLine;
    CatchUp();
    const std::string word = FirstWord(line);
    if (word == "exit" || word == "quit") {
        return false;
    }
    if (word == "help") {
        Help(line);
    } else {
        Carry(line);
    }
    return true;
}

void Shell::Help(const std::string& line) {
    const std::string subject = FirstWord(line.substr(line.find("help") + 4));
    if (subject.empty()) {
        mOut << ScriptHelp() << kShellHelp << std::flush;
    } else if (const VerbRow* const verb = FindVerb(subject); verb != nullptr) {
        mOut << HelpOn(*verb) << std::flush;
    } else {
        mDiagnostics << mName << ":" << mLine << ": there is no verb '" << subject << "'"
                     << std::endl;
    }
}

void Shell::Carry(const std::string& line) {
    const ScriptContext context = Context();
    const ParsedScript parsed = ParseScript(line, context);
    for (const ScriptError& error : parsed.errors) {
        Complain(error);
    }
    if (!parsed.errors.empty()) {
        mHasBadLine = true;
        return;
    }
    for (const Statement& statement : parsed.statements) {
        if (!statement.name.empty() && statement.verb != Verb::RELEASE) {
            mLines[statement.name] = mLine;
        }
        mPlayer.Carry(statement);
    }
}

void Shell::Complain(const ScriptError& error) {
    if (mIsTerminal) {
        // Points at what was typed above.
        mDiagnostics << std::string(std::string_view(kPrompt).size() + error.position.column - 1,
                                    ' ')
                     << "^ " << error.message << std::endl;
    } else {
        mDiagnostics << mName << ":" << error.position.line << ":" << error.position.column << ": "
                     << error.message << std::endl;
    }
}

/// A name is free again once nothing of that name is in force.
ScriptContext Shell::Context() const {
    ScriptContext context{.firstLine = mLine, .names = {}};
    for (const std::string& name : mPlayer.NamesInForce()) {
        context.names[name] = mLines.at(name);
    }
    return context;
}

std::vector<std::string> Shell::Complete(std::string_view line) const {
    ScriptWords words = WordsOf(mSession.Table(), mSession.Scenarios(), mSession.Events());
    words.requestNames = mPlayer.NamesInForce();
    std::vector<std::string> candidates = CompleteScript(line, words);
    const std::string_view last = LastWordOf(line);
    const bool isFirst = line.substr(0, line.size() - last.size()).find_first_not_of(" \t") ==
                         std::string_view::npos;
    if (isFirst) {
        std::ranges::copy_if(kOwnWords, std::back_inserter(candidates),
                             [last](const std::string& word) { return word.starts_with(last); });
    } else if (FirstWord(std::string(line)) == "help") {
        candidates = CompleteScript(last, words);
    }
    return candidates;
}

/// While nobody waits for the engine, the time of workers that take turns stands still.
void Shell::CatchUp() {
    if (TurnClock* const turns = mSession.Turns()) {
        turns->Run(Round::DUE);
    }
}

std::optional<TimePoint> Shell::NextLook() const {
    const std::optional<TimePoint> end = mPlayer.NextEnd();
    return end ? std::optional(std::min(*end, SteadyNow() + kLookInterval)) : std::nullopt;
}

void Shell::AnnounceEnd() {
    if (mPlayer.NextEnd()) {
        mOut << "Waiting for the end of what was asked for; Ctrl-C leaves at once.\n" << std::flush;
    }
}

}  // namespace

int RunShell(const RunOptions& options, bool isTerminal, std::istream& in, std::ostream& out,
             std::ostream& diagnostics) {
    if (isTerminal) {
        std::setlocale(LC_CTYPE, "");  // what is typed may be any letters
    }
    return Recorded(options, diagnostics, [&](const SessionOptions& sessionOptions) {
        const auto session = EngineSession::StartOrTell(sessionOptions, diagnostics);
        if (session == nullptr) {
            return kExitFailed;
        }
        const InterruptionGuard guard(isTerminal ? InterruptionGuard::Catch::REPEATEDLY
                                                 : InterruptionGuard::Catch::ONCE);
        return Shell(*session, options, isTerminal, out, diagnostics).Run(in);
    });
}

}  // namespace corebeacon::tool
