#include <algorithm>
#include <new>
#include <string>
#include <utility>

#include "corebeacon/config_manager.h"
#include "front/config_manager_state.h"
#include "front/entry_validation.h"
#include "front/out_of_memory.h"
#include "platform/clock.h"
#include "platform/logging.h"
#include "platform/sys_wrapper.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_CFG_MGR";

constexpr unsigned int kMinDurationMs = 20;
constexpr unsigned int kMaxDurationMs = 60000;

}  // namespace

int ConfigManager::PerfRequest(int pid, unsigned int duration,
                               const std::vector<PerfRequestInfo>& request,
                               unsigned long& handle) try {
    const TimePoint now = SteadyNow();
    PerfCommandType type = PERF_COMMAND_LONG_START;
    TimePoint end{};
    if (SysWrapper::IsSysTraceEnabled()) {
        AddSysTraceName(request);
    }
    if (duration != 0) {
        if (duration < kMinDurationMs || duration > kMaxDurationMs) {
            LOGE("[%s:%d] duration(%u) out of range(%u, %u)", duration, kMinDurationMs,
                 kMaxDurationMs);
            return -1;
        }
        type = PERF_COMMAND_SHORT_START;
        end = LaterBy(now, std::chrono::milliseconds(duration));
    }
    if (PreHandleEasBaseCommand(duration, type, request) != 0) {
        LOGE("[%s:%d] PreHandleEasBaseCommand failed");
        return -1;
    }
    PerfQosId invalid = PERF_QOS_INVALID;
    QosInfos accepted = RequestFilter(request);
    if (accepted.empty() || RequestValidate(type, accepted, invalid) != 0 || accepted.empty()) {
        LOGE("[%s:%d] RequestValidate failed, pid=%d, invalidQosId=%u", pid, invalid);
        return -1;
    }
    CommandWrapper cmd(type, now, end, duration);
    cmd.ReserveItems(accepted.size());
    for (QosInfoInt& entry : accepted) {
        cmd.InsertRequestCommand(entry.qosId, std::move(entry.groups));
    }
    return StartRequest(pid, now, cmd, handle);
} catch (const std::bad_alloc&) {
    return OutOfMemory("PerfRequest");
}

int ConfigManager::StartRequest(int pid, const TimePoint& now, CommandWrapper& cmd,
                                unsigned long& handle) {
    if (mState->commandManager.RequestHandle(pid, now, cmd, handle) != 0) {
        LOGE("[%s:%d] RequestHandle failed for pid %d", pid);
        return -1;
    }
    if (SendRegistered(pid, cmd) != 0) {
        LOGE("[%s:%d] SendCmdToResources failed for pid %d", pid);
        return -1;
    }
    return 0;
}

int ConfigManager::Send(const CommandWrapper& cmd) {
    if (cmd.IsProbe() && cmd.GetItems().empty()) {
        return 0;  // without floors there is nothing to it but the bound thread
    }
    return mState->resourceManager.SendCmdToResources(cmd);
}

int ConfigManager::SendRegistered(int owner, CommandWrapper& cmd) {
    try {
        if (Send(cmd) != 0) {
            return -1;
        }
    } catch (const std::bad_alloc&) {
        TakeBack(owner, cmd);
        throw;
    }
    if (cmd.GetType() == PERF_COMMAND_BASE_SET ||
        mState->commandManager.IsStillRegistered(owner, cmd)) {
        return 0;
    }
    // A release-all took the handle between its registration and the sending, so its stop may have
    // been queued ahead of this start. Without a second stop the value would stand for ever.
    return SendStop(cmd);
}

/// For a start of which only some items could be sent: nobody gets a handle to release them.
void ConfigManager::TakeBack(int owner, CommandWrapper& cmd) {
    if (cmd.GetType() == PERF_COMMAND_BASE_SET) {
        return;  // its one item was not sent
    }
    mState->commandManager.Withdraw(owner, cmd.GetHandle());
    SendStop(cmd);
}

int ConfigManager::SendStop(CommandWrapper& cmd) {
    if (mState->commandManager.UpdateReleaseCommandType(cmd) != 0) {
        return -1;
    }
    return Send(cmd);
}

int ConfigManager::PreHandleEasBaseCommand(unsigned int duration, PerfCommandType& type,
                                           const std::vector<PerfRequestInfo>& request) const {
    std::size_t baseCount = 0;
    for (const PerfRequestInfo& info : request) {
        baseCount += (info.qosId == PERF_QOS_EAS_BASE) ? 1U : 0U;
    }
    if (baseCount == 0) {
        return 0;
    }
    if (duration != 0 || baseCount != request.size()) {
        LOGE("[%s:%d] invalid set base command!");
        return -1;
    }
    type = PERF_COMMAND_BASE_SET;
    return 0;
}

QosInfos ConfigManager::RequestFilter(const std::vector<PerfRequestInfo>& request) const {
    QosInfos filtered;
    filtered.reserve(request.size());
    for (const PerfRequestInfo& info : request) {
        const PerfQosId qosId = (info.qosId == PERF_QOS_EAS_BASE) ? PERF_QOS_EAS : info.qosId;
        QosInfoInt& entry = filtered.emplace_back();
        entry.qosId = qosId;
        entry.groups = BuildGroupInfo(info.groups);
    }
    const auto isBefore = [](const QosInfoInt& a, const QosInfoInt& b) {
        return a.qosId < b.qosId;
    };
    if (!std::is_sorted(filtered.begin(), filtered.end(), isBefore)) {
        // Stable: where elements for one QoS contradict each other, the later one counts.
        std::stable_sort(filtered.begin(), filtered.end(), isBefore);
    }
    std::size_t kept = 0;
    for (std::size_t i = 1; i < filtered.size(); ++i) {
        if (filtered[i].qosId == filtered[kept].qosId) {
            MergeGroupInfo(filtered[kept].groups, filtered[i].groups);
        } else if (++kept != i) {
            filtered[kept] = std::move(filtered[i]);
        }
    }
    filtered.truncate(std::min(kept + 1, filtered.size()));
    return filtered;
}

int ConfigManager::RequestValidate(PerfCommandType type, QosInfos& request,
                                   PerfQosId& invalid) const {
    std::size_t accepted = 0;
    for (QosInfoInt& entry : request) {
        const Verdict verdict =
            ValidateEntry(mState->resourceManager, type, entry.qosId, entry.groups);
        if (verdict != Verdict::ACCEPTED) {
            invalid = entry.qosId;
        }
        if (verdict == Verdict::REFUSED) {
            return -1;
        }
        if (verdict == Verdict::ABSENT) {
            continue;
        }
        if (&request[accepted] != &entry) {
            request[accepted] = std::move(entry);
        }
        ++accepted;
    }
    request.truncate(accepted);
    return 0;
}

GroupValueMap ConfigManager::BuildGroupInfo(const std::vector<GroupInfo>& groups) const {
    GroupValueMap built;
    for (const GroupInfo& group : groups) {
        if (group.values.empty()) {
            continue;  // asks for nothing, so it must not count as addressed
        }
        OperationValueMap& values = built[group.groupId];
        for (const auto& [operation, value] : group.values) {
            values[operation] = value;
        }
    }
    return built;
}

void ConfigManager::MergeGroupInfo(GroupValueMap& existing, const GroupValueMap& added) const {
    for (const auto& [groupId, values] : added) {
        OperationValueMap& merged = existing[groupId];
        for (const auto& [operation, value] : values) {
            merged[operation] = value;
        }
    }
}

void ConfigManager::AddSysTraceName(const std::vector<PerfRequestInfo>& request) const {
    std::string name = "corebeacon_log:request";
    for (const PerfRequestInfo& info : request) {
        name += " {" + std::to_string(info.qosId);
        for (const GroupInfo& group : info.groups) {
            name += " [" + std::to_string(group.groupId);
            for (const auto& [operation, value] : group.values) {
                name += " " + std::to_string(operation) + ":" + std::to_string(value);
            }
            name += "]";
        }
        name += "}";
    }
    SysWrapper::SysTraceName(name);
}

}  // namespace corebeacon
