/// The library's one entry point. A host constructs a ConfigManager, calls Init once with the QoS
/// table, the scenarios, the events and the probe parameters, and then passes on the requests of
/// its clients. Owned by the host, which destroys it after the last call has returned; destruction
/// stops and joins every worker thread and leaves the kernel nodes as they are.
///
/// Init must have returned before the first other call. All other operations may be called from any
/// number of threads at once, and none waits for a kernel write: they validate, queue and return.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "corebeacon/configurable_event.h"
#include "corebeacon/configurable_scenario.h"
#include "corebeacon/default_config.h"
#include "corebeacon/export.h"
#include "corebeacon/perf_types.h"

namespace corebeacon {

class CommandWrapper;
class ResourceManager;
struct QosInfoInt;
enum PerfCommandType : std::uint32_t;

/// The bounds of a handle table. A host that serves more clients passes its own.
struct HandleLimits {
    unsigned int maxProcesses = 512;
    unsigned int maxHandlesPerProcess = 1024;
    unsigned int maxHandles = 8192;
    /// Clients' pids must be greater; the handles of events are filed under this one.
    int reservedPid = 0;
};

class COREBEACON_API ConfigManager {
public:
    explicit ConfigManager(const HandleLimits& limits = HandleLimits());
    ~ConfigManager();
    ConfigManager(const ConfigManager&) = delete;
    ConfigManager& operator=(const ConfigManager&) = delete;

    /// Builds one resource with its own worker thread for each QoS that this device supports; a QoS
    /// without its nodes is left out and no failure. The QoS objects in `config` are narrowed to
    /// the chip and revised against the kernel in place; they are not needed after the call.
    /// Returns 0, or -1 when the work mode is not 0 to 2, when both QoS tables are filled, when a
    /// table, a scenario or an event contradicts itself, or when the front is already initialised.
    /// A failed Init leaves nothing behind and may be tried again.
    int Init(PerfDefaultConfig& config, const std::vector<ConfigurableEvent>& events,
             const std::vector<ConfigurableScenario>& scenarios, const ProbeEvent& probe);

    /// Asks for the values in `request` on behalf of process `pid` (greater than the reserved pid),
    /// for `duration` milliseconds (20 to 60000) or, with 0, until they are released. Items whose
    /// QoS this device lacks are dropped. `handle` receives what releases the request; a request of
    /// base values (PERF_QOS_EAS_BASE only, duration 0) needs none and gets all ones.
    /// Returns 0, or -1 for a duration out of range, a value that its resource refuses, a request
    /// of which nothing is left, or an exhausted handle table.
    int PerfRequest(int pid, unsigned int duration, const std::vector<PerfRequestInfo>& request,
                    unsigned long& handle);

    /// Withdraws a request, a scenario or a work mode. An unknown or expired handle is no error.
    int PerfRelease(int pid, unsigned long handle);

    /// Withdraws all that `pid` holds.
    int PerfReleaseAll(int pid);

    /// Withdraws all that anybody holds. Returns 0.
    int Reset();

    /// Whether the game-start scenario was switched on by its debug option.
    bool GetGameStartFlag() const;

    /// The resources behind the table, for the tools of this project; not part of the ABI promise.
    const ResourceManager& Resources() const;

private:
    struct State;

    int InitTables(const std::vector<ConfigurableEvent>& events,
                   const std::vector<ConfigurableScenario>& scenarios, const ProbeEvent& probe);
    int InitEvents(const std::vector<ConfigurableEvent>& events, const ProbeEvent& probe);
    int InitScenarios(const std::vector<ConfigurableScenario>& scenarios);
    void UndoInit();

    int PreHandleEasBaseCommand(unsigned int duration, PerfCommandType& type,
                                const std::vector<PerfRequestInfo>& request) const;
    std::vector<QosInfoInt> RequestFilter(const std::vector<PerfRequestInfo>& request) const;
    int RequestValidate(PerfCommandType type, std::vector<QosInfoInt>& request,
                        PerfQosId& invalid) const;
    GroupValueMap BuildGroupInfo(const std::vector<GroupInfo>& groups) const;
    GroupValueMap MergeGroupInfo(const GroupValueMap& existing, const GroupValueMap& added) const;
    void AddSysTraceName(const std::vector<PerfRequestInfo>& request) const;
    int StartRequest(int pid, const TimePoint& now, CommandWrapper& cmd, unsigned long& handle);
    int SendRegistered(int pid, const CommandWrapper& cmd);
    int ReleaseCommand(int pid, unsigned long handle, CommandWrapper& release);

    const std::unique_ptr<State> mState;  // fixed after construction
};

}  // namespace corebeacon
