#include "resources/ipa_switch_temp_group.h"

namespace corebeacon {

IpaSwitchTempGroup::IpaSwitchTempGroup(const PerfGroupConfig& config, PerfWorkMode mode,
                                       bool switchEnabled)
    : SingleNodeValueGroup(config, mode), mSwitchEnabled(switchEnabled) {}

IpaSwitchTempGroup::~IpaSwitchTempGroup() = default;

void IpaSwitchTempGroup::DumpBaseValueAfterMapping(
    std::vector<SpecifiedGroupDumpInfo>& info) const {
    if (mSwitchEnabled) {
        SingleNodeValueGroup::DumpBaseValueAfterMapping(info);
    }
}

void IpaSwitchTempGroup::DescribeKind(GroupState& state) const {
    if (mSwitchEnabled) {
        SingleNodeValueGroup::DescribeKind(state);
    }
    state.kind = GroupKind::IPA_SWITCH_TEMP;
}

int IpaSwitchTempGroup::DoConfig(int value, int limit) {
    return mSwitchEnabled ? SingleNodeValueGroup::DoConfig(value, limit) : 0;
}

}  // namespace corebeacon
