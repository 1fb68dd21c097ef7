// The state of groups, for whoever asks why a value is as it is.
#include <new>

#include "corebeacon/config_manager.h"
#include "front/config_manager_state.h"
#include "front/out_of_memory.h"
#include "platform/clock.h"
#include "platform/logging.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_CFG_MGR";

static_assert(GroupState::kNobody == kNoHandle);

/// Enters who holds the handles. The engine does not keep it with each request: it is looked up
/// only now that somebody asks.
void FillInOrigins(const CommandManager& commands, std::vector<GroupState>& groups) {
    HandleOrigins origins;
    for (const GroupState& group : groups) {
        for (const GroupItemState& item : group.items) {
            origins.try_emplace(item.handle);
        }
    }
    commands.FindOrigins(origins);
    for (GroupState& group : groups) {
        for (GroupItemState& item : group.items) {
            const HandleOrigin& origin = origins.at(item.handle);
            item.origin = origin.kind;
            item.pid = origin.pid;
            item.eventId = origin.eventId;
        }
    }
}

}  // namespace

int ConfigManager::Inspect(PerfQosId qosId, std::vector<GroupState>& groups) try {
    // The pass is given back last, after everything here that destruction would take away.
    const DumpPass pass(mState->dumpGate);
    groups.clear();
    const PerfQosId id = qosId == PERF_QOS_EAS_BASE ? PERF_QOS_EAS : qosId;
    const std::shared_ptr<PerfResource> resource = mState->resourceManager.GetResourcePtr(id);
    if (resource == nullptr) {
        LOGE("[%s:%d] no resource for qos id %u", qosId);
        return -1;
    }
    const TimePoint now = SteadyNow();
    CommandWrapper cmd(PERF_COMMAND_INSPECT, now, now, 0);
    cmd.InsertDebugCommand(id);
    if (mState->resourceManager.SendCmdToResources(cmd) != 0 || !resource->WaitInspection(groups)) {
        return -1;
    }
    FillInOrigins(mState->commandManager, groups);
    return 0;
} catch (const std::bad_alloc&) {
    groups.clear();
    return OutOfMemory("Inspect");
}

}  // namespace corebeacon
