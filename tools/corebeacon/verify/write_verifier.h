/// Reads back what the engine wrote, and tells where the nodes hold something else. Follows a run
/// as an observer; owned by the command that runs, used on the player's thread.
///
/// Of several writes to a node that are told at once only the last is looked at, since the engine
/// itself has overwritten the others. What was found good is looked at again after every statement
/// and at the end.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <ostream>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "json_document.h"
#include "run_observer.h"
#include "verify/timed_reader.h"
#include "verify/verdict.h"

namespace corebeacon::tool {

class WriteVerifier : public RunObserver {
public:
    /// `out` must outlive this.
    explicit WriteVerifier(std::ostream& out) : mOut(out) {}

    void Begin(EngineSession& session, TimePoint begin) override;
    void Written(const NodeWrite& write, bool isRepetition) override;
    void ToldSoFar() override;
    void Done(const Statement& statement) override;
    void End(const std::map<std::string, std::string>& values,
             const std::vector<HeldRequest>& standing) override;

    bool HasMismatch() const;
    /// "superseded", "mismatch", "classes" by name with their counts, and "nodes": each
    /// with what it was given last and what became of that.
    Json ToJson() const;

private:
    /// The last write to a node that was looked at.
    struct Check {
        NodeWrite write;
        Verdict verdict = Verdict::EXACT;
        NodeReading held;
    };

    void Look(const NodeWrite& write);
    Check Find(const NodeWrite& write);
    bool IsOutdated(const std::string& path);
    NodeReading Await(const NodeWrite& write, const NodeFacts& facts);
    Verdict JudgeReading(const NodeWrite& write, const NodeReading& held, const NodeFacts& facts);
    void LookAgain();
    void Tell(const Check& check);
    std::string Outcome(const Check& check) const;
    void PrintSummary();

    std::ostream& mOut;
    EngineSession* mSession = nullptr;
    std::map<std::string, NodeFacts> mFacts;
    std::map<std::string, NodeWrite> mPending;
    std::map<std::string, std::size_t> mTold;  // writes, by node
    std::map<std::string, Check> mChecks;      // by node
    std::map<Verdict, std::size_t> mCounts;    // of all that were looked at
    std::size_t mSuperseded = 0;
};

}  // namespace corebeacon::tool
