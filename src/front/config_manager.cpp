#include "corebeacon/config_manager.h"

#include <iterator>
#include <new>

#include "front/config_manager_state.h"
#include "front/entry_validation.h"
#include "front/out_of_memory.h"
#include "platform/logging.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_CFG_MGR";

/// Validates one scenario's or event's entries; those whose resource is absent are erased.
template <typename Entries, typename GroupsOf>
int ValidateEntries(const ResourceManager& resources, PerfCommandType type, Entries& entries,
                    GroupsOf groupsOf) {
    for (auto entry = entries.begin(); entry != entries.end();) {
        const Verdict verdict =
            ValidateEntry(resources, type, entry->first, groupsOf(entry->second));
        if (verdict == Verdict::REFUSED) {
            return -1;
        }
        entry = (verdict == Verdict::ABSENT) ? entries.erase(entry) : std::next(entry);
    }
    return 0;
}

int ScenarioValidate(const ResourceManager& resources, ScenarioTable& table) {
    const auto groupsOf = [](GroupValueMap& groups) -> GroupValueMap& { return groups; };
    for (auto& [scenarioId, requests] : table) {
        if (ValidateEntries(resources, PERF_COMMAND_LONG_START, requests, groupsOf) != 0) {
            return -1;
        }
    }
    return 0;
}

int EventValidate(const ResourceManager& resources, EventTable& table) {
    const auto groupsOf = [](PerfEventItemInt& item) -> GroupValueMap& { return item.groups; };
    for (auto& [eventId, items] : table) {
        if (ValidateEntries(resources, PERF_COMMAND_SHORT_START, items, groupsOf) != 0) {
            return -1;
        }
    }
    return 0;
}

}  // namespace

ConfigManager::ConfigManager(const HandleLimits& limits)
    : mState(std::make_unique<State>(limits)) {}

ConfigManager::~ConfigManager() {
    // A stopped worker answers no dump, and tells so to whoever waits for it.
    mState->resourceManager.StopWorkers();
    mState->dumpGate.AwaitEmpty();
}

int ConfigManager::Init(PerfDefaultConfig& config, const std::vector<ConfigurableEvent>& events,
                        const std::vector<ConfigurableScenario>& scenarios,
                        const ProbeEvent& probe) {
    MutexLock lock(mState->initMutex);
    if (mState->initialised) {
        LOGE("[%s:%d] already initialised");
        return -1;
    }
    if (mState->workModeManager.InitWorkMode(config.workMode) != 0) {
        LOGE("[%s:%d] workMode invalid %u", config.workMode);
        return -1;
    }
    int result = -1;
    try {
        result = InitParts(config, events, scenarios, probe);
    } catch (const std::bad_alloc&) {
        OutOfMemory("Init");
    }
    if (result != 0) {
        UndoInit();
        return -1;
    }
    mState->initialised = true;
    return 0;
}

int ConfigManager::InitParts(PerfDefaultConfig& config,
                             const std::vector<ConfigurableEvent>& events,
                             const std::vector<ConfigurableScenario>& scenarios,
                             const ProbeEvent& probe) {
    if (mState->resourceManager.Init(config) != 0) {
        LOGE("[%s:%d] resource manager Init failed");
        return -1;
    }
    return InitTables(events, scenarios, probe);
}

int ConfigManager::InitTables(const std::vector<ConfigurableEvent>& events,
                              const std::vector<ConfigurableScenario>& scenarios,
                              const ProbeEvent& probe) {
    if (InitEvents(events, probe) != 0 || InitScenarios(scenarios) != 0) {
        return -1;
    }
    mState->threadBinder.SetNodePath(probe.nodePath);
    return mState->threadBinder.Init(probe.bindText, probe.unbindText);
}

int ConfigManager::InitEvents(const std::vector<ConfigurableEvent>& events,
                              const ProbeEvent& probe) {
    EventTable table;
    if (!events.empty()) {
        table = mState->eventManager.Init(events);
        if (table.empty()) {
            LOGE("[%s:%d] event manager Init failed");
            return -1;
        }
        if (EventValidate(mState->resourceManager, table) != 0) {
            LOGE("[%s:%d] EventValidate failed");
            return -1;
        }
    }
    // The probe is kept also by a host without events.
    mState->eventManager.Update(table, probe);
    return 0;
}

int ConfigManager::InitScenarios(const std::vector<ConfigurableScenario>& scenarios) {
    if (scenarios.empty()) {
        return 0;
    }
    ScenarioTable table = mState->scenarioManager.Init(scenarios);
    if (table.empty()) {
        LOGE("[%s:%d] scenario manager Init failed");
        return -1;
    }
    if (ScenarioValidate(mState->resourceManager, table) != 0) {
        LOGE("[%s:%d] ScenarioValidate failed");
        return -1;
    }
    mState->scenarioManager.Update(table);
    return 0;
}

void ConfigManager::UndoInit() {
    mState->resourceManager.Clear();
    mState->eventManager.Update({}, ProbeEvent());
    mState->scenarioManager.Update({});
    mState->workModeManager.InitWorkMode(PERF_WORK_MODE_0);
}

bool ConfigManager::GetGameStartFlag() const {
    return mState->gameStart.load(std::memory_order_relaxed);
}

const ResourceManager& ConfigManager::Resources() const {
    return mState->resourceManager;
}

const CommandManager& ConfigManager::Commands() const {
    return mState->commandManager;
}

}  // namespace corebeacon
