/// One tunable behind one node: the arbitrated boost is written to it as decimal text, the limit
/// only bounds the boost. Also the base of the kinds that write their node in another form or write
/// further nodes beside it. Owned by a resource, whose worker thread alone calls it; only the
/// checks of requested values may be called from any thread.
#pragma once

#include <string>
#include <vector>

#include "engine/node_record.h"
#include "engine/perf_group.h"

namespace corebeacon {

class SingleNodeValueGroup : public PerfGroup {
public:
    /// `config` must name at least the one node and have passed the kind's own check.
    SingleNodeValueGroup(const PerfGroupConfig& config, PerfWorkMode mode);
    /// Closes the node.
    ~SingleNodeValueGroup() override;

    /// Whether `config` has exactly one node and sensible values; logs if not.
    static bool GroupParametersValidate(const PerfGroupConfig& config);

    /// Appends the base boost and the node.
    void DumpBaseValueAfterMapping(std::vector<SpecifiedGroupDumpInfo>& info) const override;
    /// Writes `boost`; `limit` plays no part. 0, or -1 when the node did not take it.
    int DoConfig(int boost, int limit) override;
    void CloseAllFds() override;
    void DescribeKind(GroupState& state) const override;

protected:
    /// The dump record of a node that knows no limit.
    static SpecifiedGroupDumpInfo BoostRecord(std::string value, std::string node);

    // Fixed after construction.
    const std::string mNodePath;

    // Worker thread only. -1 while closed.
    int mNodeFd = -1;
    NodeRecord mNodeRecord;
};

}  // namespace corebeacon
