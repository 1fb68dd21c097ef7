/// Carries out a parsed script on an engine and prints what comes of it. Owned by a command of the
/// program, used on one thread.
///
/// Workers write on their own time. After each statement the player waits until all workers have
/// carried it out, so that a write is printed below the statement that caused it; while time passes
/// it prints what happens by itself.
#pragma once

#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "engine_session.h"
#include "event_printer.h"
#include "statement.h"

namespace corebeacon::tool {

class ScriptPlayer {
public:
    /// `scriptName` is what diagnostics call the script. The others must outlive the player.
    ScriptPlayer(EngineSession& session, EventPrinter& printer, std::ostream& diagnostics,
                 std::string scriptName);

    /// Plays all statements and ends when the last timed request has. Whether the engine accepted
    /// them all; a refusal is told on `diagnostics` and does not end the play.
    bool Play(const std::vector<Statement>& statements);

private:
    /// A request that the engine accepted.
    struct Held {
        std::string label;  ///< its name, or where it stands
        int pid = 0;
        unsigned long handle = 0;
        // When a timed request ends, between these two; the epoch for one without end.
        TimePoint endsFrom;
        TimePoint endsUntil;

        bool IsTimed() const { return endsFrom != TimePoint(); }
    };

    void Carry(const Statement& statement, TimePoint now);
    void Request(const Statement& statement);
    void Release(const Statement& statement);
    void ReleaseAll(const Statement& statement);
    void PassTime(TimePoint until);
    void AwaitEnds();
    void PrintSoFar();
    void PrintWrites();
    void PrintEnds(TimePoint Held::*bound, TimePoint until);
    void AwaitEffects();
    void PrintFinalValues();
    void TellWhatStands();
    void Complain(const Statement& statement, const std::string& text);

    EngineSession& mSession;
    EventPrinter& mPrinter;
    std::ostream& mDiagnostics;
    const std::string mScriptName;
    std::map<std::string, Held> mNamed;           // accepted requests, also those that are over
    std::vector<Held> mInForce;                   // in the order of the script
    std::vector<unsigned long> mEnded;            // by themselves, perhaps not yet everywhere
    std::map<std::string, std::string> mWritten;  // by path, the value written last
    bool mIsAllAccepted = true;
};

}  // namespace corebeacon::tool
