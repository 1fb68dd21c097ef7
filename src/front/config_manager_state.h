/// What a ConfigManager owns, out of sight of the public header. Built and destroyed with its
/// ConfigManager; each member locks itself or says here what guards it.
///
/// Order of locks, outermost first: initMutex; dumpMutex or debugMutex; workModeMutex or
/// probeMutex; then one of the handle table's, the work mode manager's, the thread binder's, a
/// FIFO's or the log's. Workers never call the front.
#pragma once

#include <unistd.h>

#include <atomic>
#include <vector>

#include "command/command_manager.h"
#include "command/handle.h"
#include "command/work_mode_manager.h"
#include "config/event_manager.h"
#include "config/scenario_manager.h"
#include "corebeacon/config_manager.h"
#include "engine/perf_thread_binder.h"
#include "engine/resource_manager.h"
#include "front/dump_gate.h"
#include "platform/mutex.h"

namespace corebeacon {

inline constexpr std::size_t kDebugSlotCount = 12;

struct ConfigManager::State {
    explicit State(const HandleLimits& limits)
        : commandManager(limits.maxProcesses, limits.maxHandlesPerProcess, limits.maxHandles,
                         limits.reservedPid),
          reservedPid(limits.reservedPid) {}

    CommandManager commandManager;
    ResourceManager resourceManager;
    WorkModeManager workModeManager;
    EventManager eventManager;        // fixed after Init
    ScenarioManager scenarioManager;  // fixed after Init
    PerfThreadBinder threadBinder;

    /// Held from a work mode's arbitration until its command is queued everywhere, so that every
    /// resource hears of the modes in the order in which they were decided.
    Mutex workModeMutex;

    /// Held while the thread binder is brought in line with the handle table, so that the last of
    /// a start and a stop of one thread's probe decides in both.
    Mutex probeMutex;

    /// Held over a whole Reset or debug command.
    Mutex debugMutex ACQUIRED_BEFORE(workModeMutex, probeMutex);
    /// The handles of scenarios that debug options switched on, by scenario id; all ones for none.
    std::vector<unsigned long> debugHandles GUARDED_BY(debugMutex) =
        std::vector<unsigned long>(kDebugSlotCount, kNoHandle);
    std::atomic<bool> gameStart{false};

    /// Held over a whole dump of the workers: a resource keeps one text to hand over.
    Mutex dumpMutex;
    DumpGate dumpGate;

    // fixed after construction
    const int reservedPid;          ///< owner of the events' handles
    const int ownPid = ::getpid();  ///< owner of the scenarios that debug options switch on

    Mutex initMutex ACQUIRED_BEFORE(debugMutex);
    bool initialised GUARDED_BY(initMutex) = false;
};

}  // namespace corebeacon
