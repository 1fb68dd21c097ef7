/// Carries out a parsed script on an engine and prints what comes of it. Owned by a command of the
/// program, used on one thread.
///
/// Workers write on their own time. After each statement the player waits until all workers have
/// carried it out, so that a write is printed below the statement that caused it; while time passes
/// it prints what happens by itself.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
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
    /// A request that the engine accepted, or a scenario, a work mode, an event or a probe.
    struct Held {
        std::string label;  ///< its name, or where it stands
        int pid = 0;
        unsigned long handle = 0;
        std::optional<PerfEventId> event;
        int probedTid = 0;  ///< 0: no probe
        bool isMode = false;
        // When a timed request ends, between these two; the epoch for one without end.
        TimePoint endsFrom;
        TimePoint endsUntil;

        bool IsTimed() const { return endsFrom != TimePoint(); }
    };

    void Carry(const Statement& statement, TimePoint now);
    void Request(const Statement& statement);
    void Scenario(const Statement& statement);
    void Mode(const Statement& statement);
    void Suspend(const Statement& statement);
    void Event(const Statement& statement);
    void StartEvent(const Statement& statement);
    void Probe(const Statement& statement);
    void StartProbe(const Statement& statement, const std::vector<unsigned int>& params);
    void Dump(const Statement& statement);
    void Debug(const Statement& statement);
    void Version();
    void Release(const Statement& statement);
    void ReleaseAll(const Statement& statement);
    Held LabelOf(const Statement& statement) const;
    void Hold(Held held, const std::string& name);
    /// Drops what the statement ended.
    template <typename IsOver>
    void Drop(IsOver isOver);
    void AwaitProbeWrites();
    void PassTime(TimePoint until);
    void AwaitEnds();
    void PrintSoFar();
    void PrintWrites();
    void BeginFolding();
    bool IsFolded(const NodeWrite& write);
    void EndFolding();
    void PrintEnds(TimePoint Held::*bound, TimePoint until);
    void AwaitEffects();
    void PrintFinalValues();
    void TellWhatStands();
    /// Tells of a failure, which also shows in what Play returns.
    void Refuse(const Statement& statement, const std::string& text);
    void Complain(const Statement& statement, const std::string& text);

    EngineSession& mSession;
    EventPrinter& mPrinter;
    std::ostream& mDiagnostics;
    const std::string mScriptName;
    std::map<std::string, Held> mNamed;           // accepted requests, also those that are over
    std::vector<Held> mInForce;                   // in the order of the script
    std::vector<unsigned long> mEnded;            // by themselves, perhaps not yet everywhere
    std::map<std::string, std::string> mWritten;  // by path, the value written last
    unsigned long mLastHandle = 0;                // the greatest known
    std::size_t mProbeWrites = 0;  // by the binder until now, also those on their way
    bool mIsAllAccepted = true;

    /// During a statement that has every group write again: what each node holds, by path.
    std::optional<std::map<std::string, std::string>> mHeldByNodes;
    std::size_t mFolded = 0;  // writes left out since the statement
};

}  // namespace corebeacon::tool
