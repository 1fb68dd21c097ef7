/// What a record of node operations must look like, and which lines the engine must have logged,
/// judged from the outcomes of the operations alone. For one thread of a test.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "faults/node_kind.h"
#include "sim/operation.h"
#include "support/log_capture.h"

namespace corebeacon::test {

/// "level text" of each line that tells of a failure, in order.
using FailureLines = std::vector<std::string>;

/// Those that were logged.
FailureLines FailuresIn(const LogCapture& log);

/// Whether an operation did not do all that it was asked for.
bool HasFailed(const sim::Operation& operation);

class FaultOracle {
public:
    explicit FaultOracle(const NodeKind& kind) : mKind(kind) {}

    /// Goes through a record in order. False, with the reason in Complaint, as soon as a node is
    /// opened twice, a descriptor is used without being open, or one whose write has failed is not
    /// closed next.
    bool Follow(const std::vector<sim::Operation>& record);
    /// The lines that tell of the failures followed: one for each.
    const FailureLines& Expected() const { return mExpected; }
    const std::string& Complaint() const { return mComplaint; }

private:
    struct NodeState {
        int fd = -1;
        bool mustClose = false;  ///< a write has failed
        /// It failed because the device went away: the same text is tried once on a new descriptor.
        bool isSecondTry = false;
        std::string text;  ///< of that write
    };

    bool Complain(const sim::Operation& operation, const char* what);
    bool FollowOpen(const sim::Operation& operation, NodeState& node);
    bool FollowUse(const sim::Operation& operation, NodeState& node);
    void ExpectOpenFailure(const sim::Operation& operation, NodeState& node);
    void ExpectWriteFailure(const sim::Operation& operation, NodeState& node);
    void ExpectIoctlFailure(const sim::Operation& operation);
    void Expect(int level, const sim::Operation& operation, const std::string& what);
    void ExpectGpuTopLine(const sim::Operation& operation);
    std::string NameOf(const sim::Operation& operation) const;

    const NodeKind& mKind;
    std::map<std::string, NodeState> mNodes;
    FailureLines mExpected;
    std::string mComplaint;
};

}  // namespace corebeacon::test
