/// One tunable that is asked for in levels: each level stands for one text per node, and applying a
/// level writes every node its text. Also the base of the kinds that hand the texts over in another
/// way. Owned by a resource, whose worker thread alone calls it; only the checks of requested
/// levels may be called from any thread.
#pragma once

#include <string>
#include <vector>

#include "corebeacon/group_config.h"
#include "engine/node_record.h"
#include "engine/perf_group.h"

namespace corebeacon {

/// A node and the descriptor by which it is written.
struct PathInfo {
    std::string path;
    int fd = -1;  ///< -1 while closed
    NodeRecord record;
};

class LevelMapGroup : public PerfGroup {
public:
    /// `config` must have passed GroupParametersValidate.
    LevelMapGroup(const PerfGroupConfig& config, PerfWorkMode mode);
    /// Closes the nodes.
    ~LevelMapGroup() override;

    /// Whether `config` has levels, a text per node in each, and sensible values; logs if not.
    static bool GroupParametersValidate(const PerfGroupConfig& config);

    /// Appends, for each node, the text of the base level. Nothing is written for the limit.
    void DumpBaseValueAfterMapping(std::vector<SpecifiedGroupDumpInfo>& info) const override;
    /// Whether `value` is a level: 0 or -1. Levels between two others do not exist, so only a value
    /// beyond the last ones may be brought into range. Any thread.
    int OperationValueValidate(int& value) const override;
    /// Writes the texts of level `boost`; `limit` plays no part. 0, or -1 for a level that the
    /// group does not have. A node that cannot be written keeps none of the others back.
    int DoConfig(int boost, int limit) override;
    void CloseAllFds() override;
    void DescribeKind(GroupState& state) const override;

protected:
    void DescribeNodes(GroupState& state) const;
    /// The texts of `level`, one per node; null for a level that the group does not have.
    const std::vector<std::string>* FindValues(int level) const;

    // Fixed after construction.
    const Level2ValueMap mLevelToValues;

    // Worker thread only; the paths never change.
    std::vector<PathInfo> mPathInfoVec;
};

}  // namespace corebeacon
