// Text dumps of the engine's state.
#include <new>

#include "corebeacon/config_manager.h"
#include "corebeacon/version.h"
#include "front/config_manager_state.h"
#include "front/out_of_memory.h"
#include "platform/clock.h"
#include "platform/logging.h"
#include "platform/plain_format.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_CFG_MGR";

/// The QoS whose groups keep a history of their limits.
constexpr PerfQosId kLimitHistoryQos[] = {PERF_QOS_CPU_L, PERF_QOS_CPU_M, PERF_QOS_CPU_B,
                                          PERF_QOS_GPU};

}  // namespace

int ConfigManager::Dump(std::ostringstream& out, const std::vector<std::string>& args) {
    if (args.empty()) {
        LOGE("[%s:%d] args is empty.");
        return -1;
    }
    const std::string& type = args.front();
    if (!DumpInfo(out, type)) {
        if (out.bad()) {
            return -1;
        }
        LOGE("[%s:%d] invalid type %s", type.c_str());
        const PlainFormat format(out);
        out << "invalid type " << type << "\n";
        return -1;
    }
    LOGD("[%s:%d] Dump info success");
    return 0;
}

bool ConfigManager::DumpInfo(std::ostringstream& out, const std::string& type) {
    const DumpPass pass(mState->dumpGate);
    if (type == "--event") {
        mState->eventManager.Dump(out);
    } else if (type == "--scenario") {
        mState->scenarioManager.Dump(out);
    } else if (type == "--base_info") {
        LOGD("[%s:%d] before base_info Dump");
        TaskDump(true, out);
        LOGD("[%s:%d] before base_info Dump");
    } else if (type == "--workMode") {
        mState->workModeManager.Dump(out);
    } else if (type == "--task") {
        LOGD("[%s:%d] before task Dump");
        TaskDump(false, out);
        LOGD("[%s:%d] after task Dump");
    } else if (type == "--limit_history") {
        DumpFreqLimitHistory(out);
        LOGD("[%s:%d] Dump limit_history success");
    } else {
        return false;
    }
    return !out.bad();
}

int ConfigManager::TaskDump(bool full, std::ostringstream& out) try {
    // The pass is given back last, after everything here that destruction would take away.
    const DumpPass pass(mState->dumpGate);
    MutexLock lock(mState->dumpMutex);
    const TimePoint now = SteadyNow();
    CommandWrapper cmd(full ? PERF_COMMAND_GET_BASE_INFO : PERF_COMMAND_GET_LOG, now, now, 0);
    std::vector<PerfQosId> ids;
    BuildGetLogCmd(ids, cmd);
    if (mState->resourceManager.SendCmdToResources(cmd) != 0) {
        LOGE("[%s:%d] TaskDump SendCmdToResources failed");
        return -1;
    }
    for (const PerfQosId id : ids) {
        const std::shared_ptr<PerfResource> resource = mState->resourceManager.GetResourcePtr(id);
        if (resource != nullptr && resource->WaitLogFinish(full, out)) {
            LOGD("[%s:%d] [%s:%d] res %u log finish", __func__, __LINE__, id);
        }
    }
    return out.bad() ? -1 : 0;
} catch (const std::bad_alloc&) {
    out.setstate(std::ios_base::badbit);  // as it tells of itself when it finds no memory
    return OutOfMemory("TaskDump");
}

void ConfigManager::BuildGetLogCmd(std::vector<PerfQosId>& ids, CommandWrapper& cmd) const {
    mState->resourceManager.GetResourceIds(ids);
    for (const PerfQosId id : ids) {
        cmd.InsertDebugCommand(id);
    }
}

void ConfigManager::DumpFreqLimitHistory(std::ostringstream& out) {
    const DumpPass pass(mState->dumpGate);
    for (const PerfQosId id : kLimitHistoryQos) {
        const std::shared_ptr<PerfResource> resource = mState->resourceManager.GetResourcePtr(id);
        if (resource != nullptr) {
            resource->DumpLimitHistoryLog(out);
        }
    }
}

void ConfigManager::DumpCoreVersion(std::ostringstream& out) {
    const PlainFormat format(out);
    out << "core version: " << COREBEACON_VERSION << std::flush;
}

}  // namespace corebeacon
