/// The kinds of nodes that the engine writes, each with the one who writes them and a script that
/// makes them do all they do. The tests of faults run the scripts. Plain tables and factories; one
/// thread of a test uses them.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "command/command_wrapper.h"
#include "sim/simulated_device.h"
#include "support/log_capture.h"
#include "support/manual_clock.h"

namespace corebeacon::test {

/// One step of a script: a command, or with `pause` a stretch of time and what it brings about.
struct Action {
    PerfCommandType type = PERF_COMMAND_SHORT_START;
    unsigned long handle = 0;
    GroupValueMap groups = {};
    std::chrono::milliseconds span{1000};
    std::chrono::milliseconds pause{0};
};

/// A floor for a second.
Action Boost(unsigned long handle, int value, unsigned int groupId = 0);
/// A floor and a ceiling for a second.
Action Range(unsigned long handle, int boost, int limit);
/// Takes back what the same words with `start` asked for.
Action Stop(Action start);
/// The same start or stop of a request that lasts until it is released.
Action Lasting(Action start);
Action Suspend();
Action Resume();
Action Pause(int milliseconds);

/// Who writes the nodes: a resource or the thread binder.
class Writer {
public:
    virtual ~Writer();
    /// Returns once everything that the action brings about is done.
    virtual void Do(const Action& action) = 0;
};

using Values = std::map<std::string, std::string>;

struct NodeKind {
    const char* name = "";
    std::function<void(sim::SimulatedDevice&)> addNodes = {};
    std::function<std::unique_ptr<Writer>(ManualClock&, const LogCapture&)> makeWriter = {};
    std::vector<Action> script = {};
    /// What brings the nodes in order once the device is in order again: one arbitration of each
    /// group, unless said otherwise where the kind is described.
    std::vector<Action> recovery = {};
    /// What the nodes then hold.
    Values inOrder = {};
    /// The name in the log is "NODES"; for these nodes it is another.
    Values otherNames = {};
    /// A failure of this node gets a second line of its own.
    std::string gpuTopNode = {};
    /// Takes 4 raw bytes, is not written again after an ENODEV, and fails as an error.
    bool isBinary = false;
    /// A node that cannot be opened is passed over.
    bool isOptional = false;
};

std::ostream& operator<<(std::ostream& out, const NodeKind& kind);

const std::vector<NodeKind>& AllNodeKinds();
/// The one of this name; there must be one.
const NodeKind& NodeKindOf(const std::string& name);

}  // namespace corebeacon::test
