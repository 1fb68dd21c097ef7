/// Carries out a parsed script on an engine and tells observers what comes of it. Owned by a
/// command of the program, used on one thread.
///
/// Workers write on their own time. After each statement the player waits until all workers have
/// carried it out, so that a write is told below the statement that caused it; while time passes
/// it tells what happens by itself.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "engine_session.h"
#include "explain/explanation.h"
#include "run_observer.h"
#include "statement.h"

namespace corebeacon::tool {

class ScriptPlayer {
public:
    /// `scriptName` is what diagnostics call the script. The others must outlive the player.
    ScriptPlayer(EngineSession& session, RunObservers& observers, std::ostream& diagnostics,
                 std::string scriptName);

    /// Plays all statements and ends when the last timed request has. Whether the engine accepted
    /// them all; a refusal is told on `diagnostics` and does not end the play. An interruption does
    /// (interruption.h): then nothing more is awaited.
    bool Play(const std::vector<Statement>& statements);

    // The same in pieces, for a script that is still being written: Begin, any number of Carry and
    // Pass, Finish.
    void Begin();
    void Carry(const Statement& statement);
    /// Tells what happens by itself until then.
    void PassTime(TimePoint until);
    /// When the next of the timed requests ends.
    std::optional<TimePoint> NextEnd() const;
    /// Whether something has happened by itself that was not told yet.
    bool HasNews() const;
    /// Of what can be released.
    std::vector<std::string> NamesInForce() const;
    /// Awaits the end of the last timed request. As Play.
    bool Finish();

    /// Why the groups that the words name have the values that they have now. Nothing, and
    /// `problem` a clause, for a word that names none.
    std::optional<Explanation> Explain(const std::vector<std::string>& targets,
                                       std::string& problem);
    bool IsAllAccepted() const { return mIsAllAccepted; }
    TimePoint BeginTime() const { return mBegin; }
    /// The nodes that took a write, until now.
    std::vector<std::string> WrittenNodes() const;

private:
    using Held = HeldRequest;

    void CarryOut(const Statement& statement, TimePoint now);
    void Request(const Statement& statement);
    void Scenario(const Statement& statement);
    void Mode(const Statement& statement);
    void Suspend(const Statement& statement);
    void Event(const Statement& statement);
    void StartEvent(const Statement& statement);
    void Probe(const Statement& statement);
    void StartProbe(const Statement& statement, const std::vector<unsigned int>& params);
    void Explain(const Statement& statement);
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
    void AwaitEnds();
    void TellSoFar();
    void TellWrites();
    void ExpectRepetitions();
    bool IsRepetition(const NodeWrite& write);
    void TellEnds(TimePoint Held::*bound, TimePoint until);
    void AwaitEffects();
    std::map<std::string, std::string> FinalValues();
    void TellWhatStands();
    /// Tells of a failure, which also shows in what Play returns.
    void Refuse(const Statement& statement, const std::string& text);
    void Complain(const Statement& statement, const std::string& text);
    void Tell(const Statement& statement, const std::string& text, bool isFailure);

    EngineSession& mSession;
    RunObservers& mObservers;
    std::ostream& mDiagnostics;
    const std::string mScriptName;
    TimePoint mBegin;
    std::map<std::string, Held> mNamed;           // accepted requests, also those that are over
    std::vector<Held> mInForce;                   // in the order of the script
    std::vector<unsigned long> mEnded;            // by themselves, perhaps not yet everywhere
    std::map<std::string, std::string> mWritten;  // by path, the value written last
    unsigned long mLastHandle = 0;                // the greatest known
    std::size_t mProbeWrites = 0;  // by the binder until now, also those on their way
    bool mIsAllAccepted = true;

    /// During a statement that has every group write again: what each node holds, by path.
    std::optional<std::map<std::string, std::string>> mHeldByNodes;
};

}  // namespace corebeacon::tool
