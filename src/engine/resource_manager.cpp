#include "engine/resource_manager.h"

#include <algorithm>
#include <type_traits>

#include "platform/logging.h"
#include "resources/ddr_resource.h"
#include "resources/eas_resource.h"
#include "resources/frequency_resource.h"
#include "resources/ioctl_level_map_resource.h"
#include "resources/ipa_sustainable_power_resource.h"
#include "resources/ipa_switch_temp_resource.h"
#include "resources/level_map_resource.h"
#include "resources/mem_lat_target_ratio_resource.h"
#include "resources/single_node_value_resource.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_RES_MGR";

using ResourceMaker = std::shared_ptr<PerfResource> (*)(const ResConstructParam&,
                                                        const PerfConfigControlInfo&);

/// Makes a resource of any kind; a kind that takes a switch gets that of the board's allocator.
template <typename Kind>
std::shared_ptr<PerfResource> Make(const ResConstructParam& param,
                                   const PerfConfigControlInfo& controlInfo) {
    if constexpr (std::is_constructible_v<Kind, const ResConstructParam&, bool>) {
        return std::make_shared<Kind>(param, controlInfo.boardIpaEnabled);
    } else {
        return std::make_shared<Kind>(param);
    }
}

struct SpecialKind {
    PerfQosId qosId;
    ResourceMaker make;
};

/// The QoS whose kind their id decides.
constexpr SpecialKind kSpecialKinds[] = {
    {PERF_QOS_DDR, &Make<DdrResource>},
    {PERF_QOS_IPA_POWER, &Make<IpaSustainablePowerResource>},
    {PERF_QOS_IPA_SWITCH_TEMP, &Make<IpaSwitchTempResource>},
    {PERF_QOS_CPU_BOOST, &Make<SingleNodeValueResource>},
    {PERF_QOS_EAS, &Make<EasResource>},
    {PERF_QOS_MEMLAT_TARGET_RATIO_CPU_L, &Make<MemLatTargetRatioResource>},
    {PERF_QOS_MEMLAT_TARGET_RATIO_CPU_M, &Make<MemLatTargetRatioResource>},
    {PERF_QOS_MEMLAT_TARGET_RATIO_CPU_B, &Make<MemLatTargetRatioResource>},
    {PERF_QOS_NPU_SC_PRIO, &Make<IoctlLevelMapResource>},
};

/// The kinds that the shape of a QoS's first row decides.
constexpr ResourceMaker kMakeLevelMap = &Make<LevelMapResource>;
constexpr ResourceMaker kMakeFrequency = &Make<FrequencyResource>;
constexpr ResourceMaker kMakeSingleNodeValue = &Make<SingleNodeValueResource>;

bool IsSwitchedOff(PerfQosId qosId, const PerfConfigControlInfo& controlInfo) {
    return qosId == PERF_QOS_CPU_BOOST && !controlInfo.cpuBoostEnabled;
}

/// In the words of a person who asks why a QoS is missing.
std::string RevisionFailure(const PerfQosConfig& config) {
    const auto* const freq = dynamic_cast<const FreqParameters*>(&config);
    if (freq != nullptr && !freq->availableFreqsPath.empty()) {
        return "its frequency list " + freq->availableFreqsPath + " cannot be used";
    }
    return "its values do not fit this machine";
}

}  // namespace

ResourceManager::~ResourceManager() {
    Clear();
}

int ResourceManager::Init(PerfDefaultConfig& config) {
    if (!mResources.empty()) {
        LOGE("[%s:%d] the resources are already there");
        return -1;
    }
    if (config.workMode >= kWorkModeCount) {
        LOGE("[%s:%d] invalid workMode: %u", config.workMode);
        return -1;
    }
    if (!config.qosConfigMap.empty() && !config.qosXmlConfigMap.empty()) {
        LOGE("[%s:%d] not support qosConfigMap and qosXmlConfigMap meanwhile!");
        return -1;
    }
    mResources.resize(PERF_QOS_INVALID);
    mUnsupported.clear();
    if (BuildConfigResource(config) != 0) {
        LOGE("[%s:%d] qosConfigMap init resource failed!");
        Clear();
        return -1;
    }
    if (BuildXmlResource(config) != 0) {
        LOGE("[%s:%d] qosXmlConfigMap init resource failed!");
        Clear();
        return -1;
    }
    if (StartWorkers() != 0) {
        Clear();
        return -1;
    }
    return 0;
}

void ResourceManager::StopWorkers() {
    // All are told before any is awaited: workers with slow nodes finish their writes side by side.
    for (const std::shared_ptr<PerfResource>& resource : mResources) {
        if (resource != nullptr) {
            resource->RequestStop();
        }
    }
    for (const std::shared_ptr<PerfResource>& resource : mResources) {
        if (resource != nullptr) {
            resource->StopThread();
        }
    }
}

void ResourceManager::Clear() {
    StopWorkers();
    mResources.clear();
    mUnsupported.clear();
}

int ResourceManager::BuildConfigResource(const PerfDefaultConfig& config) {
    return BuildResources(config.qosConfigMap, config, false);
}

int ResourceManager::BuildXmlResource(const PerfDefaultConfig& config) {
    return BuildResources(config.qosXmlConfigMap, config, true);
}

int ResourceManager::BuildResources(const PerfQosConfigMap& table, const PerfDefaultConfig& config,
                                    bool isLoaded) {
    for (const auto& [qosId, reference] : table) {
        PerfQosConfig& qos = reference.get();
        if (qosId >= mResources.size()) {
            LOGE("[%s:%d] qos id out of range: %u name = %s", qosId, qos.name.c_str());
            mUnsupported.push_back({qosId, qos.name, "its id is out of range"});
            continue;
        }
        if (!NarrowAndRevise(qosId, qos, config.controlInfo)) {
            continue;
        }
        if (!IsSupportQos(qos.groups)) {
            mUnsupported.push_back({qosId, qos.name, "a group of it has no node on this chip"});
            continue;
        }
        const ResConstructParam param{qos, config.workMode, qosId};
        if (BuildResource(param, qos, config.controlInfo, isLoaded) != 0) {
            return -1;
        }
    }
    return 0;
}

/// Leaves the rows that count on this machine; false when the QoS is dropped.
bool ResourceManager::NarrowAndRevise(PerfQosId qosId, PerfQosConfig& config,
                                      const PerfConfigControlInfo& controlInfo) {
    if (config.GetGroupConfigByChipType(qosId, controlInfo) != 0 || config.groups.empty()) {
        Drop(qosId, config.name, "no row is meant for this chip");
        return false;
    }
    std::vector<std::string> invalidClusters = controlInfo.invalidClusters;
    if (config.IsQosConfigValidByInvalidCluster(qosId, invalidClusters)) {
        Drop(qosId, config.name, "none of its nodes is on this machine");
        return false;
    }
    if (config.ReviseGroupConfigValue(controlInfo.chipType) != 0) {
        Drop(qosId, config.name, RevisionFailure(config));
        return false;
    }
    if (config.groups.empty()) {
        Drop(qosId, config.name, "revision left no row");
        return false;
    }
    return true;
}

void ResourceManager::Drop(PerfQosId qosId, const std::string& name, const std::string& reason) {
    LOGI("[%s:%d] dropped qos = %u name = %s: %s", qosId, name.c_str(), reason.c_str());
    mUnsupported.push_back({qosId, name, reason});
}

int ResourceManager::BuildResource(const ResConstructParam& param, PerfQosConfig& config,
                                   const PerfConfigControlInfo& controlInfo, bool isLoaded) {
    bool isHandled = false;
    std::shared_ptr<PerfResource> resource = BuildSpecialResource(param, controlInfo, isHandled);
    if (resource == nullptr && !isHandled) {
        resource = BuildSharedResource(param, controlInfo);
    }
    if (resource == nullptr) {
        LOGI("[%s:%d] not support resource for qos = %u name = %s", param.qosId,
             config.name.c_str());
        const bool isOff = IsSwitchedOff(param.qosId, controlInfo);
        mUnsupported.push_back(
            {param.qosId, config.name,
             isOff ? "it is switched off on this device" : "no kind of resource fits it"});
        return 0;
    }
    if (resource->InitResource(config, isLoaded) != 0) {
        LOGE("[%s:%d] Init resource group Fail!");
        LOGE("[%s:%d] fail to Init resource for qos = %u name = %s", param.qosId,
             config.name.c_str());
        return -1;
    }
    mResources[param.qosId] = std::move(resource);
    return 0;
}

std::shared_ptr<PerfResource> ResourceManager::BuildSpecialResource(
    const ResConstructParam& param, const PerfConfigControlInfo& controlInfo,
    bool& isHandled) const {
    isHandled = false;
    const auto* const kind =
        std::find_if(std::begin(kSpecialKinds), std::end(kSpecialKinds),
                     [&param](const SpecialKind& row) { return row.qosId == param.qosId; });
    if (kind == std::end(kSpecialKinds)) {
        return nullptr;
    }
    isHandled = IsSwitchedOff(param.qosId, controlInfo);
    return isHandled ? nullptr : kind->make(param, controlInfo);
}

std::shared_ptr<PerfResource> ResourceManager::BuildSharedResource(
    const ResConstructParam& param, const PerfConfigControlInfo& controlInfo) const {
    ResourceMaker make = nullptr;
    const PerfGroupConfig& first = param.config.groups.front();
    if (!first.level2ValueMap.empty()) {
        make = kMakeLevelMap;
    } else if (first.sysNodePaths.size() == 2) {
        make = kMakeFrequency;
    } else if (first.sysNodePaths.size() == 1) {
        make = kMakeSingleNodeValue;
    } else {
        LOGI("[%s:%d] invalid resource config: %s", param.config.name.c_str());
    }
    return make == nullptr ? nullptr : make(param, controlInfo);
}

int ResourceManager::StartWorkers() {
    for (const std::shared_ptr<PerfResource>& resource : mResources) {
        if (resource != nullptr && resource->InitThread() != 0) {
            LOGE("[%s:%d] no work thread for %s", resource->GetName().c_str());
            return -1;
        }
    }
    return 0;
}

bool ResourceManager::IsSupportQos(const std::vector<PerfGroupConfig>& groups) const {
    for (const PerfGroupConfig& group : groups) {
        if (group.sysNodePaths.empty()) {
            LOGI("[%s:%d] not support %s on this platform", group.name.c_str());
            return false;
        }
    }
    return true;
}

int ResourceManager::SendCmdToResources(const CommandWrapper& command) {
    if (command.GetItems().empty()) {
        LOGE("[%s:%d] empty command wrapper");
        return -1;
    }
    for (const std::shared_ptr<PerfCommandItem>& item : command.GetItems()) {
        if (item == nullptr) {
            LOGE("[%s:%d] command ptr is NULL!");
            return -1;
        }
        PerfResource* const resource = FindResource(item->qosId);
        if (resource == nullptr) {
            LOGE("[%s:%d] resource ptr is NULL for qos id %u", item->qosId);
            return -1;
        }
        resource->SendCommandToFifoQ({command.GetType(), item});
    }
    return 0;
}

int ResourceManager::SendWorkModeCmd(const CommandWrapper& command) {
    if (command.GetItems().empty()) {
        LOGE("[%s:%d] empty command wrapper");
        return -1;
    }
    const std::shared_ptr<PerfCommandItem>& item = command.GetItems().front();
    if (item == nullptr) {
        LOGE("[%s:%d] command ptr is NULL!");
        return -1;
    }
    for (const std::shared_ptr<PerfResource>& resource : mResources) {
        if (resource != nullptr) {
            resource->SendCommandToFifoQ({command.GetType(), item});
        }
    }
    return 0;
}

std::shared_ptr<PerfResource> ResourceManager::GetResourcePtr(PerfQosId qosId) const {
    return FindResource(qosId) != nullptr ? mResources[qosId] : nullptr;
}

PerfResource* ResourceManager::FindResource(PerfQosId qosId) const {
    if (qosId >= mResources.size()) {
        LOGE("[%s:%d] invalid qos id: %u", qosId);
        return nullptr;
    }
    return mResources[qosId].get();
}

void ResourceManager::GetResourceIds(std::vector<PerfQosId>& ids) const {
    for (std::size_t id = 0; id < mResources.size(); ++id) {
        if (mResources[id] != nullptr) {
            ids.push_back(static_cast<PerfQosId>(id));
        }
    }
}

}  // namespace corebeacon
