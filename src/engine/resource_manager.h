/// All resources of the engine: builds one per supported QoS, starts their workers and brings
/// commands to the right queue. Owned by ConfigManager, which calls Init once and destroys it; in
/// between every operation may be called from any thread, because the set of resources no longer
/// changes and needs no lock.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "command/command_wrapper.h"
#include "corebeacon/default_config.h"
#include "corebeacon/perf_types.h"
#include "engine/perf_resource.h"

namespace corebeacon {

/// A configured QoS that got no resource on this machine.
struct UnsupportedQos {
    PerfQosId id;
    std::string name;
    std::string reason;  ///< one clause for a person, without a full stop
};

class ResourceManager {
public:
    ResourceManager() = default;
    /// Stops every worker before the first resource goes.
    ~ResourceManager();
    ResourceManager(const ResourceManager&) = delete;
    ResourceManager& operator=(const ResourceManager&) = delete;

    /// Narrows and revises the configured QoS in place, builds their resources and starts the
    /// workers: 0, or -1 with no resource and no thread left. A QoS that this machine cannot serve
    /// is no failure.
    int Init(PerfDefaultConfig& config);
    /// Stops every worker and drops every resource, back to the state before Init.
    void Clear();
    /// Stops every worker; the resources stay and take commands that nobody carries out.
    void StopWorkers();

    /// Queues each item of the wrapper at its resource: 0 or -1. Items ahead of a failing one stay
    /// sent.
    int SendCmdToResources(const CommandWrapper& command);
    /// Queues the wrapper's first item at every resource: 0 or -1.
    int SendWorkModeCmd(const CommandWrapper& command);

    /// Null for a QoS without a resource.
    std::shared_ptr<PerfResource> GetResourcePtr(PerfQosId qosId) const;
    /// The same for a caller who needs it only while the manager lives and is not cleared.
    PerfResource* FindResource(PerfQosId qosId) const;
    /// Appends the ids of all resources, ascending.
    void GetResourceIds(std::vector<PerfQosId>& ids) const;
    /// Whether every row names at least one node.
    bool IsSupportQos(const std::vector<PerfGroupConfig>& groups) const;
    /// Why configured QoS got no resource, in the order of the table.
    const std::vector<UnsupportedQos>& GetUnsupportedQos() const { return mUnsupported; }

private:
    int BuildConfigResource(const PerfDefaultConfig& config);
    int BuildXmlResource(const PerfDefaultConfig& config);
    int BuildResources(const PerfQosConfigMap& table, const PerfDefaultConfig& config,
                       bool isLoaded);
    int BuildResource(const ResConstructParam& param, PerfQosConfig& config,
                      const PerfConfigControlInfo& controlInfo, bool isLoaded);
    bool NarrowAndRevise(PerfQosId qosId, PerfQosConfig& config,
                         const PerfConfigControlInfo& controlInfo);
    std::shared_ptr<PerfResource> BuildSpecialResource(const ResConstructParam& param,
                                                       const PerfConfigControlInfo& controlInfo,
                                                       bool& isHandled) const;
    /// The configuration has a row: what is left without one is dropped before.
    std::shared_ptr<PerfResource> BuildSharedResource(
        const ResConstructParam& param, const PerfConfigControlInfo& controlInfo) const;
    int StartWorkers();
    void Drop(PerfQosId qosId, const std::string& name, const std::string& reason);

    // Fixed after Init.
    std::vector<std::shared_ptr<PerfResource>> mResources;  // by id; null without a resource
    std::vector<UnsupportedQos> mUnsupported;
};

}  // namespace corebeacon
