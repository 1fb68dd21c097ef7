// Scenarios that a debugging shell switches on and off by name.
#include <map>
#include <new>
#include <string>

#include "corebeacon/config_manager.h"
#include "front/config_manager_state.h"
#include "front/out_of_memory.h"
#include "platform/logging.h"
#include "platform/plain_format.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_CFG_MGR";

constexpr PerfScenarioId kGameStartScenario = 4;

struct DebugScenarioInfo {
    bool enable = false;
    PerfScenarioId scenarioId = 0;
};

const std::map<std::string, DebugScenarioInfo>& DebugTable() {
    static const std::map<std::string, DebugScenarioInfo> table = {
        {"--game_mode_enable", {.enable = true, .scenarioId = 0}},
        {"--game_mode_disable", {.enable = false, .scenarioId = 0}},
        {"--benchmark_mode_enable", {.enable = true, .scenarioId = 1}},
        {"--benchmark_mode_disable", {.enable = false, .scenarioId = 1}},
        {"--game_mode_2_enable", {.enable = true, .scenarioId = 2}},
        {"--game_mode_2_disable", {.enable = false, .scenarioId = 2}},
        {"--onfire_mode_enable", {.enable = true, .scenarioId = 3}},
        {"--onfire_mode_disable", {.enable = false, .scenarioId = 3}},
        {"--game_start_mode_enable", {.enable = true, .scenarioId = kGameStartScenario}},
        {"--game_start_mode_disable", {.enable = false, .scenarioId = kGameStartScenario}},
        {"--power_saving_mode_enable", {.enable = true, .scenarioId = 5}},
        {"--power_saving_mode_disable", {.enable = false, .scenarioId = 5}},
    };
    return table;
}

}  // namespace

bool ConfigManager::DebugSet(std::ostringstream& out, const std::string& option) try {
    MutexLock lock(mState->debugMutex);
    const auto entry = DebugTable().find(option);
    if (entry == DebugTable().end()) {
        return false;
    }
    const PlainFormat format(out);
    const auto& [enable, scenarioId] = entry->second;
    if (scenarioId >= mState->debugHandles.size()) {
        LOGE("[%s:%d] invalid scenario id %u, vec size = %zu", scenarioId,
             mState->debugHandles.size());
        return true;
    }
    unsigned long& handle = mState->debugHandles[scenarioId];
    if (enable) {
        EnableDebugScenario(out, scenarioId, handle);
    } else {
        DisableDebugScenario(out, scenarioId, handle);
    }
    return !out.bad();
} catch (const std::bad_alloc&) {
    OutOfMemory("DebugSet");
    return false;
}

void ConfigManager::EnableDebugScenario(std::ostringstream& out, unsigned int scenarioId,
                                        unsigned long& handle) {
    if (handle != kNoHandle) {
        out << "debug cmd is in effect, delete it first\n";
        return;
    }
    // Set also where the table has no such scenario: the flag is for those who ask for it.
    if (scenarioId == kGameStartScenario) {
        mState->gameStart.store(true, std::memory_order_relaxed);
    }
    const int result = PerfSetScenario(mState->ownPid, scenarioId, handle);
    if (result != 0) {
        out << "set scenario " << scenarioId << " fail, ret = " << result << "\n";
        handle = kNoHandle;
    }
}

void ConfigManager::DisableDebugScenario(std::ostringstream& out, unsigned int scenarioId,
                                         unsigned long& handle) {
    if (handle == kNoHandle) {
        out << "release scenario " << scenarioId << ", fail, handle invalid.\n";
    }
    if (scenarioId == kGameStartScenario) {
        mState->gameStart.store(false, std::memory_order_relaxed);
    }
    PerfRelease(mState->ownPid, handle);
    handle = kNoHandle;
}

}  // namespace corebeacon
