/// What a run would write, in order, each write with its cause: the account of the command `plan`.
/// Owned by the command and used on the player's thread; it prints when the run is over.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "run_observer.h"

namespace corebeacon::tool {

struct PlannedWrite {
    std::chrono::nanoseconds time{0};  ///< since the run began
    std::string qos = {};              ///< with its group, "CPU_B.0"; "" for a node that has none
    std::string node = {};
    std::string value = {};
    std::string failure = {};  ///< "" for success
    /// Of the statement that caused it, or began what ends or goes on; 0 for none.
    unsigned line = 0;
    std::string cause = {};  ///< the statement, or what ended or went on
};

class Planner : public RunObserver {
public:
    void Begin(EngineSession& session, TimePoint begin) override;
    void Asked(TimePoint time, const Statement& statement) override;
    void Accepted(const HeldRequest& held) override;
    void Ended(TimePoint time, const HeldRequest& held, HowEnded how) override;
    void Written(const NodeWrite& write, bool isRepetition) override;

    /// Whether the engine started.
    bool HasBegun() const { return mSession != nullptr; }
    const std::vector<PlannedWrite>& Writes() const { return mWrites; }

private:
    struct Cause {
        unsigned line = 0;
        std::string text;
    };
    struct Begun {
        Cause cause = {};
        bool hasParts = false;  ///< that begin or end by themselves
    };
    Cause CauseAt(TimePoint time) const;

    EngineSession* mSession = nullptr;
    TimePoint mBegin;
    TimePoint mAskedAt;
    std::optional<Statement> mStatement;
    TimePoint mEndedAt;
    std::vector<Cause> mEnds;               // of that moment
    std::map<unsigned long, Begun> mBegun;  // by handle
    std::vector<PlannedWrite> mWrites;
};

}  // namespace corebeacon::tool
