#include "resources/single_node_value_group.h"

#include <utility>

#include "platform/logging.h"
#include "platform/sys_wrapper.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_SINGLE_NODE_VALUE_GRP";

constexpr std::size_t kNodeCount = 1;

}  // namespace

SingleNodeValueGroup::SingleNodeValueGroup(const PerfGroupConfig& config, PerfWorkMode mode)
    : PerfGroup(config, mode), mNodePath(config.sysNodePaths.front()) {}

SingleNodeValueGroup::~SingleNodeValueGroup() {
    SingleNodeValueGroup::CloseAllFds();
}

bool SingleNodeValueGroup::GroupParametersValidate(const PerfGroupConfig& config) {
    if (config.sysNodePaths.size() != kNodeCount) {
        LOGE("[%s:%d] [%s] SysNodePath num invalid: %zu", config.name.c_str(),
             config.sysNodePaths.size());
        return false;
    }
    return PerfGroup::GroupParametersValidate(config);
}

int SingleNodeValueGroup::DoConfig(int boost, int /*limit*/) {
    const std::string text = std::to_string(boost);
    LOGI("[%s:%d] ############ [%s] final write (%s) \n", mName.c_str(), text.c_str());
    return mNodeRecord.Note(SysWrapper::SysOpenAndWriteStr(mName, mNodePath, text, mNodeFd), boost);
}

void SingleNodeValueGroup::DumpBaseValueAfterMapping(
    std::vector<SpecifiedGroupDumpInfo>& info) const {
    info.push_back(BoostRecord(std::to_string(GetBoostBaseValue()), mNodePath));
}

void SingleNodeValueGroup::DescribeKind(GroupState& state) const {
    state.kind = GroupKind::SINGLE_NODE;
    mNodeRecord.Describe(mNodePath, state);
}

void SingleNodeValueGroup::CloseAllFds() {
    SysWrapper::SysClose(mNodeFd);
}

SpecifiedGroupDumpInfo SingleNodeValueGroup::BoostRecord(std::string value, std::string node) {
    return {.boostValue = std::move(value),
            .limitValue = "",
            .boostNode = std::move(node),
            .limitNode = ""};
}

}  // namespace corebeacon
