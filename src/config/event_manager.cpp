#include "config/event_manager.h"

#include <algorithm>
#include <iomanip>
#include <limits>
#include <set>
#include <string>
#include <utility>

#include "config/group_info_loader.h"
#include "platform/logging.h"
#include "platform/plain_format.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_EVENT_MGR";

// Wide enough for any QoS id and for an event of several maximal steps.
constexpr int kQosWidth = 3;
constexpr int kTimeWidth = 6;

void DumpItem(std::ostringstream& out, PerfQosId qosId, const PerfEventItemInt& item) {
    out << "  qos: " << std::setw(kQosWidth) << qosId                  //
        << "  startTime: " << std::setw(kTimeWidth) << item.startTime  //
        << "  endTime: " << std::setw(kTimeWidth) << item.endTime;
    for (const auto& [groupId, values] : item.groups) {
        for (const auto& [operation, value] : values) {
            out << "  group: " << groupId << " boost/limit: " << operation << " value: " << value;
        }
    }
    out << "\n";
}

}  // namespace

EventTable EventManager::Init(const std::vector<ConfigurableEvent>& events) const {
    EventTable table;
    for (const ConfigurableEvent& event : events) {
        if (event.eventId > kMaxEventId) {
            LOGE("[%s:%d] invalid event id: %u", event.eventId);
            return {};
        }
        std::multimap<PerfQosId, PerfEventItemInt> items = LoadQosToEventItem(event.qosCommands);
        if (items.empty()) {
            LOGE("[%s:%d] LoadQosToEventItem fail!");
            return {};
        }
        if (!table.emplace(event.eventId, std::move(items)).second) {
            LOGE("[%s:%d] duplicate event id: %u", event.eventId);
            return {};
        }
    }
    return table;
}

std::multimap<PerfQosId, PerfEventItemInt> EventManager::LoadQosToEventItem(
    const std::vector<QosCommand>& qosCommands) const {
    std::multimap<PerfQosId, PerfEventItemInt> items;
    std::set<PerfQosId> seenQos;
    for (const QosCommand& command : qosCommands) {
        if (!seenQos.insert(command.qosId).second) {
            LOGE("[%s:%d] duplicate qos id: %u", command.qosId);
            return {};
        }
        if (!LoadSequence(command, items)) {
            return {};
        }
    }
    return items;
}

bool EventManager::LoadSequence(const QosCommand& command,
                                std::multimap<PerfQosId, PerfEventItemInt>& items) const {
    std::uint32_t runningTimeMs = 0;
    for (const SequenceCommand& step : command.sequence) {
        const std::uint32_t timeLeftMs = std::numeric_limits<std::uint32_t>::max() - runningTimeMs;
        if (step.duration < kMinStepDurationMs ||
            step.duration > std::min(kMaxStepDurationMs, timeLeftMs)) {
            LOGE("[%s:%d] invalid duration: %u ms", step.duration);
            return false;
        }
        PerfEventItemInt item;
        item.startTime = runningTimeMs;
        item.endTime = runningTimeMs + step.duration;
        item.groups = LoadGroupInfo(step.groups);
        if (item.groups.empty()) {
            LOGE("[%s:%d] LoadGroupInfo fail!");
            return false;
        }
        runningTimeMs = item.endTime;
        items.emplace(command.qosId, std::move(item));
    }
    return true;
}

GroupValueMap EventManager::LoadGroupInfo(const std::vector<GroupInfo>& groupInfos) const {
    GroupInfoLoad load = LoadGroupInfos(groupInfos);
    switch (load.status) {
        case GroupInfoStatus::DUPLICATE_OPERATION:
            LOGE("[%s:%d] event init duplicate operation type: %u", load.duplicate);
            break;
        case GroupInfoStatus::DUPLICATE_GROUP:
            LOGE("[%s:%d] event init duplicate group id: %u", load.duplicate);
            break;
        case GroupInfoStatus::LOADED:
            break;
    }
    return std::move(load.groups);
}

void EventManager::Update(EventTable table, const ProbeEvent& probeEvent) {
    mTable = std::move(table);
    mProbeEvent = probeEvent;
}

std::multimap<PerfQosId, PerfEventItemInt> EventManager::EventIdToQosInfo(
    PerfEventId eventId) const {
    const auto found = mTable.find(eventId);
    return found != mTable.end() ? found->second : std::multimap<PerfQosId, PerfEventItemInt>{};
}

void EventManager::Dump(std::ostringstream& out) const {
    const PlainFormat format(out);
    for (const auto& [eventId, items] : mTable) {
        out << "event(" << eventId << "): " << items.size() << " steps\n";
        for (const auto& [qosId, item] : items) {
            DumpItem(out, qosId, item);
        }
    }
}

}  // namespace corebeacon
