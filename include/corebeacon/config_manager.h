/// The library's one entry point. A host constructs a ConfigManager, calls Init once with the QoS
/// table, the scenarios, the events and the probe parameters, and then passes on the requests of
/// its clients. Owned by the host, which destroys it after the last call has returned; destruction
/// stops and joins every worker thread and leaves the kernel nodes as they are. A worker finishes
/// the one command that it is at, however long the kernel takes over its writes, and drops what is
/// queued behind it. Only a dump may still be under way then: it returns early, without the
/// resources that had not answered yet.
///
/// Init must have returned before the first other call. All other operations may be called from any
/// number of threads at once. None but TaskDump, DumpInfo where it does the same, and Inspect waits
/// for a kernel write: they validate, queue and return. A node that hangs holds up the writes of
/// its own QoS alone.
///
/// No operation throws (a stream that was told to throw does). One that finds no memory fails like
/// one that is refused and leaves nothing behind; the log tells. What takes something back needs no
/// memory: PerfRelease, PerfReleaseAll, Reset and StopProbe never fail for lack of it, and neither
/// does the end of a span. A worker that finds none for what was accepted leaves that one command
/// out, and tells the log. Only the constructor throws std::bad_alloc.
#pragma once

#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "corebeacon/configurable_event.h"
#include "corebeacon/configurable_scenario.h"
#include "corebeacon/default_config.h"
#include "corebeacon/export.h"
#include "corebeacon/group_state.h"
#include "corebeacon/perf_types.h"

namespace corebeacon {

class CommandManager;
class CommandWrapper;
class ResourceManager;
class GroupValueMap;
class QosInfos;
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

    /// Withdraws all that anybody holds, events and probes included. Returns 0.
    int Reset();

    /// Puts a scenario of the table that Init was given in force for `pid`, until it is released by
    /// `handle`. Returns 0, or -1 for an unknown scenario (one of which this device supports
    /// nothing counts as unknown) or an exhausted handle table.
    int PerfSetScenario(int pid, unsigned int scenarioId, unsigned long& handle);

    /// Asks for a work mode (0 to 2, see PerfWorkMode) until it is released by `handle`. The
    /// highest mode that anybody asks for is in force, which need not be this one. Returns 0, or -1
    /// for an unknown mode or an exhausted handle table.
    int PerfSetMode(int pid, unsigned int mode, unsigned long& handle);

    /// Suspends the QoS named from params[1] on, or with a params[0] of 0 resumes them: a suspended
    /// QoS keeps account of requests but writes nothing to the kernel. The memory-latency QoS (14
    /// to 16) and those that this device lacks are left out. Returns 0, or -1 for less than two
    /// parameters or when no QoS is left; without memory, it may have reached some of them.
    int PerfSetSuspend(const std::vector<unsigned int>& params);

    /// Reports that something happened. `message` goes to the log. What `params` mean:
    /// - event 4097, a probe: {1, any, tid} starts it, {0, any, tid} stops it;
    /// - event 8192: as PerfSetSuspend;
    /// - any other event: {} or {1} starts it, {1, ms} starts it for that long, {0} stops it.
    /// Returns 0, or -1 for parameters of another shape; a start or suspension that fails gives its
    /// own result.
    int PerfEvent(PerfEventId eventId, const std::vector<unsigned int>& params,
                  const std::string& message);

    /// Applies the values of an event of the table that Init was given: with a `duration` (ms)
    /// those of its first steps for that long, with 0 every step in its own time. Each start of an
    /// event that is still running holds on its own. Returns 0, or -1 for an unknown event or an
    /// exhausted handle table.
    int StartEvent(PerfEventId eventId, unsigned int duration);

    /// Ends all running starts of an event; none is no error. Without memory for the list of them,
    /// they go on, and PerfEvent tells so.
    void StopEvent(PerfEventId eventId);

    /// Binds a thread for the span that the probe parameters of Init tell, accompanied by their
    /// frequency floors, as far as this device has those QoS. `tid` must be greater than the
    /// reserved pid. A thread that is being probed keeps its span. Returns 0; -1, or 2 for a bad
    /// thread id or an exhausted handle table.
    int StartProbe(int tid);

    /// Ends the probe of a thread ahead of its time; none is no error.
    void StopProbe(int tid);

    // Texts have one form, whatever locale and format `out` has; it keeps them. A dump that finds
    // no memory leaves `out` bad(); a worker that finds none for its part leaves that part out.

    /// DumpInfo of the type in args[0]; further arguments are ignored. Returns 0, or -1 for no
    /// argument or an unknown type, which `out` is told.
    int Dump(std::ostringstream& out, const std::vector<std::string>& args);

    /// Appends a description of the engine as it is now: "--event", "--scenario", "--base_info",
    /// "--workMode", "--task" or "--limit_history". "--base_info" and "--task" are TaskDumps; the
    /// others wait for nobody. False, with nothing appended, for any other type; false also when
    /// memory is lacking.
    bool DumpInfo(std::ostringstream& out, const std::string& type);

    /// Appends every resource's requests in force, or with `full` its base values, each collected
    /// by the resource's own worker after all that was asked of it before. Waits for the workers,
    /// also for one whose node hangs; dumps of several threads take turns. Returns 0, or -1 when
    /// there is no resource.
    int TaskDump(bool full, std::ostringstream& out);

    /// Tells the state of every group of one QoS, collected by the QoS's own worker after all that
    /// was asked of it before: who asks for what, what is in force and why, and what its nodes were
    /// given. Waits for that worker, without a time limit while a node of the QoS hangs, and for no
    /// other. PERF_QOS_EAS_BASE is PERF_QOS_EAS. Replaces what `groups` holds. Returns 0, or -1
    /// with `groups` empty for a QoS that this device lacks, when the front is destroyed meanwhile,
    /// and for lack of memory.
    int Inspect(PerfQosId qosId, std::vector<GroupState>& groups);

    /// Appends the limits that CPU clusters and GPU had in force lately.
    void DumpFreqLimitHistory(std::ostringstream& out);

    /// Appends the version of this library.
    void DumpCoreVersion(std::ostringstream& out);

    /// Switches a scenario on or off by a debug option such as "--game_mode_enable"; the scenario
    /// then belongs to the calling process itself. `out` receives what went wrong, lack of memory
    /// for the scenario included. False for an unknown option and when there was no memory to tell
    /// of it, else true.
    bool DebugSet(std::ostringstream& out, const std::string& option);

    /// Whether the game-start scenario was switched on by its debug option.
    bool GetGameStartFlag() const;

    /// What stands behind the front, for this project's own tools and tests, which link the static
    /// library and have its headers; of no use to a host.
    const ResourceManager& Resources() const;
    const CommandManager& Commands() const;

private:
    struct State;

    int InitParts(PerfDefaultConfig& config, const std::vector<ConfigurableEvent>& events,
                  const std::vector<ConfigurableScenario>& scenarios, const ProbeEvent& probe);
    int InitTables(const std::vector<ConfigurableEvent>& events,
                   const std::vector<ConfigurableScenario>& scenarios, const ProbeEvent& probe);
    int InitEvents(const std::vector<ConfigurableEvent>& events, const ProbeEvent& probe);
    int InitScenarios(const std::vector<ConfigurableScenario>& scenarios);
    void UndoInit();

    int PreHandleEasBaseCommand(unsigned int duration, PerfCommandType& type,
                                const std::vector<PerfRequestInfo>& request) const;
    QosInfos RequestFilter(const std::vector<PerfRequestInfo>& request) const;
    int RequestValidate(PerfCommandType type, QosInfos& request, PerfQosId& invalid) const;
    GroupValueMap BuildGroupInfo(const std::vector<GroupInfo>& groups) const;
    void MergeGroupInfo(GroupValueMap& existing, const GroupValueMap& added) const;
    void AddSysTraceName(const std::vector<PerfRequestInfo>& request) const;
    int HandleProbeEvent(const std::vector<unsigned int>& params);
    int HandleTableEvent(PerfEventId eventId, const std::vector<unsigned int>& params);
    int ProbeFloor(PerfQosId qosId, int value) const;
    int BindThread(int tid, unsigned long handle, const TimePoint& start, const TimePoint& end);
    void UnbindThread(int tid);
    void EndEvent(PerfEventId eventId);
    void BuildGetLogCmd(std::vector<PerfQosId>& ids, CommandWrapper& cmd) const;
    void EnableDebugScenario(std::ostringstream& out, unsigned int scenarioId,
                             unsigned long& handle);
    void DisableDebugScenario(std::ostringstream& out, unsigned int scenarioId,
                              unsigned long& handle);
    int StartRequest(int pid, const TimePoint& now, CommandWrapper& cmd, unsigned long& handle);
    int Send(const CommandWrapper& cmd);
    int SendRegistered(int owner, CommandWrapper& cmd);
    int SendStop(CommandWrapper& cmd);
    void TakeBack(int owner, CommandWrapper& cmd);
    int ReleaseCommand(int pid, unsigned long handle, CommandWrapper& release);

    const std::unique_ptr<State> mState;  // fixed after construction
};

}  // namespace corebeacon
