/// Those who follow a run: the account on the terminal, and whatever else is made of the same
/// events. Implemented by each of them, owned by the command that runs; called on the player's
/// thread alone, in the order in which things are told. A run begins with Begin and ends with End;
/// what an observer does not care for it leaves alone.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "corebeacon/perf_types.h"
#include "engine_session.h"
#include "recording_node_io.h"
#include "statement.h"

namespace corebeacon::tool {

/// Something that the engine accepted and that is in force until it ends: a request, a scenario, a
/// work mode, an event or a probe.
struct HeldRequest {
    std::string label;  ///< its name, or where it stands
    Verb verb = Verb::REQUEST;
    int pid = 0;  ///< of a probe: the thread
    unsigned long handle = 0;
    std::optional<PerfEventId> event;
    int probedTid = 0;  ///< 0: no probe
    /// What it asks for; of an event only the first step of each sequence; nothing of a mode.
    std::vector<PerfRequestInfo> request;
    unsigned number = 0;  ///< of a scenario, a work mode or an event
    TimePoint begin;      ///< when the engine was asked for it
    // When a timed request ends, between these two; the epoch for one without end.
    TimePoint endsFrom;
    TimePoint endsUntil;

    bool IsTimed() const { return endsFrom != TimePoint(); }
    bool IsMode() const { return verb == Verb::MODE; }
};

enum class HowEnded { TIME_OVER, RELEASED };

class RunObserver {
public:
    RunObserver() = default;
    virtual ~RunObserver() = default;
    RunObserver(const RunObserver&) = delete;
    RunObserver& operator=(const RunObserver&) = delete;

    /// Before the first statement; the session outlives the run.
    virtual void Begin(EngineSession& /*session*/, TimePoint /*begin*/) {}
    /// A line that tells the story.
    virtual void Note(const Statement& /*note*/) {}
    /// A statement is about to be carried out.
    virtual void Asked(TimePoint /*time*/, const Statement& /*statement*/) {}
    virtual void Accepted(const HeldRequest& /*held*/) {}
    /// The statement, or a part of it, came to nothing. `isFailure`: it shows in the exit code.
    virtual void Complained(const Statement& /*statement*/, const std::string& /*text*/,
                            bool /*isFailure*/) {}
    virtual void Ended(TimePoint /*time*/, const HeldRequest& /*held*/, HowEnded /*how*/) {}
    /// `isRepetition`: of what the node held already, one of many that a new work mode causes.
    virtual void Written(const NodeWrite& /*write*/, bool /*isRepetition*/) {}
    /// All that has been written until now has been told.
    virtual void ToldSoFar() {}
    /// What the engine tells of itself, below the statement that asked.
    virtual void Answered(const std::string& /*text*/) {}
    /// All that the statement caused has been told.
    virtual void Done(const Statement& /*statement*/) {}
    /// Nothing follows. Paths to values, of the nodes that were written; what still stands.
    virtual void End(const std::map<std::string, std::string>& /*values*/,
                     const std::vector<HeldRequest>& /*standing*/) {}
};

/// Tells each of several observers in turn.
class RunObservers {
public:
    /// Must outlive this.
    void Add(RunObserver& observer) { mObservers.push_back(&observer); }

    template <typename... Parameters, typename... Arguments>
    void Tell(void (RunObserver::*what)(Parameters...), const Arguments&... arguments) {
        for (RunObserver* const observer : mObservers) {
            (observer->*what)(arguments...);
        }
    }

    void Begin(EngineSession& session, TimePoint begin) {
        for (RunObserver* const observer : mObservers) {
            observer->Begin(session, begin);
        }
    }

private:
    std::vector<RunObserver*> mObservers;
};

}  // namespace corebeacon::tool
