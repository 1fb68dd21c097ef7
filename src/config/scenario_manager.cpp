#include "config/scenario_manager.h"

#include <utility>

#include "config/group_info_loader.h"
#include "platform/logging.h"
#include "platform/plain_format.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_SCEN_MGR";

void DumpQos(std::ostringstream& out, PerfQosId qosId, const GroupValueMap& groups) {
    out << "  qosId[" << qosId << "] groupNum(" << groups.size() << ") <type, value>:\n";
    for (const auto& [groupId, values] : groups) {
        out << "    grpId[" << groupId << "] valueNum(" << values.size() << "): ";
        for (const auto& [operation, value] : values) {
            out << "<" << operation << ", " << value << "> ";
        }
        out << "\n";
    }
}

}  // namespace

ScenarioTable ScenarioManager::Init(const std::vector<ConfigurableScenario>& scenarios) const {
    ScenarioTable table;
    for (const ConfigurableScenario& scenario : scenarios) {
        std::map<PerfQosId, GroupValueMap> qosInfo;
        for (const PerfRequestInfo& request : scenario.requests) {
            GroupValueMap groups = LoadGroupInfo(request.groups);
            if (groups.empty()) {
                LOGE("[%s:%d] LoadGroupInfo fail!");
                return {};
            }
            qosInfo.insert_or_assign(request.qosId, std::move(groups));
        }
        if (!table.emplace(scenario.scenarioId, std::move(qosInfo)).second) {
            LOGE("[%s:%d] duplicate scenario id: %u", scenario.scenarioId);
            return {};
        }
    }
    return table;
}

GroupValueMap ScenarioManager::LoadGroupInfo(const std::vector<GroupInfo>& groupInfos) const {
    GroupInfoLoad load = LoadGroupInfos(groupInfos);
    switch (load.status) {
        case GroupInfoStatus::DUPLICATE_OPERATION:
            LOGE("[%s:%d] scenario init duplicate operation type: %u", load.duplicate);
            break;
        case GroupInfoStatus::DUPLICATE_GROUP:
            LOGE("[%s:%d] scenario init duplicate group id: %u", load.duplicate);
            break;
        case GroupInfoStatus::LOADED:
            break;
    }
    return std::move(load.groups);
}

void ScenarioManager::Update(ScenarioTable table) {
    mTable = std::move(table);
}

const std::map<PerfQosId, GroupValueMap>& ScenarioManager::ScenarioIdToQosInfo(
    PerfScenarioId scenarioId) const {
    static const std::map<PerfQosId, GroupValueMap> nothing;
    const auto found = mTable.find(scenarioId);
    return found != mTable.end() ? found->second : nothing;
}

void ScenarioManager::Dump(std::ostringstream& out) const {
    const PlainFormat format(out);
    for (const auto& [scenarioId, qosInfo] : mTable) {
        out << "scenarioId[" << scenarioId << "] qosNum: " << qosInfo.size() << "\n";
        for (const auto& [qosId, groups] : qosInfo) {
            DumpQos(out, qosId, groups);
        }
    }
}

}  // namespace corebeacon
