/// The temperature at which a thermal power allocator starts to work, on a board that has the
/// allocator; on others requests are arbitrated, but nothing is written. Owned by its
/// IpaSwitchTempResource, whose worker thread alone calls it; only the checks of requested values
/// may be called from any thread.
#pragma once

#include <vector>

#include "resources/single_node_value_group.h"

namespace corebeacon {

class IpaSwitchTempGroup : public SingleNodeValueGroup {
public:
    /// `config` must have passed SingleNodeValueGroup's check. Without `switchEnabled` the group
    /// never writes.
    IpaSwitchTempGroup(const PerfGroupConfig& config, PerfWorkMode mode, bool switchEnabled);
    ~IpaSwitchTempGroup() override;

    /// As SingleNodeValueGroup's; appends nothing where nothing is written.
    void DumpBaseValueAfterMapping(std::vector<SpecifiedGroupDumpInfo>& info) const override;
    /// As SingleNodeValueGroup's; 0 where nothing is written.
    int DoConfig(int value, int limit) override;
    /// Without nodes where nothing is written.
    void DescribeKind(GroupState& state) const override;

private:
    // Fixed after construction.
    const bool mSwitchEnabled;
};

}  // namespace corebeacon
