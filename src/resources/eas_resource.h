/// The resource of the scheduler's boost per task group. Its groups are asked for in levels; some
/// levels also need one switch that serves all groups together. That switch is a further group,
/// which callers never address: each request gains, when it is validated, the value of the switch
/// that follows from its levels, and from then on the switch is arbitrated and released as the
/// levels are. Owned and called as PerfResource tells.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "engine/perf_resource.h"

namespace corebeacon {

class EasResource : public PerfResource {
public:
    explicit EasResource(const ResConstructParam& param);
    ~EasResource() override;

    /// 0, or -1 (logged) for more than 9 rows, for a row that is no proper level-mapped one, and
    /// for a configuration without EasParameters or with an unusable switch.
    int InitGroups(const PerfQosConfig& config, bool isLoaded) override;
    /// As PerfResource's; a request that passes has gained the value of the switch. Refused, too,
    /// is one whose boosts need the switch while its limits forbid it.
    int RequestValidate(PerfCommandType type, GroupValueMap& groups) override;

    // The steps of RequestValidate. Any thread.

    /// Appends the levels that `groups` asks for: 0, or -1 at an operation that does not exist.
    int GetEasCommandLevel(const GroupValueMap& groups, std::vector<int>& boostLevels,
                           std::vector<int>& limitLevels) const;
    /// What `groups` means for the switch; empty on failure.
    OperationValueMap BuildGlobalBoostCommand(const GroupValueMap& groups) const;

private:
    PerfGroupConfig BuildGlobalBoostRow(const std::vector<PerfGroupConfig>& rows,
                                        const std::string& nodePath);

    // Fixed after InitGroups; callers' threads read them.
    const std::string mGlobalBoostGroupName = "GLOBAL_BOOST";
    std::uint32_t mGlobalBoostGroupId;
    std::map<int, std::uint32_t> mLevelToGlobalBoost;  // 1: needs the switch, 0: goes without
};

}  // namespace corebeacon
