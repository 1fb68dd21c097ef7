/// A level-mapped tunable behind an ioctl: each text is an id and a priority, "3:5", and applying a
/// level gives that id that priority at the system cache, or takes it back. Owned and called as
/// LevelMapGroup tells.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "resources/level_map_group.h"

namespace corebeacon {

class IoctlLevelMapGroup : public LevelMapGroup {
public:
    /// As LevelMapGroup's. The default level of `config` is the one that resets priorities.
    IoctlLevelMapGroup(const PerfGroupConfig& config, PerfWorkMode mode);

    /// Issues one request per node: 0, or -1 for a level that the group does not have. A request
    /// that fails keeps none of the others back.
    int DoConfig(int boost, int limit) override;
    void DescribeKind(GroupState& state) const override;

    // The steps of DoConfig.

    /// Appends the numbers of `text`, which are joined by colons; ends, with a message, at the
    /// first piece that is no number below 4294967295.
    void StrToIntVec(const std::string& text, std::vector<unsigned int>& out) const;
    /// Carries out `level` on one device; opens it first if `fd` is negative. Failures are logged.
    /// The result is negative, with errno, for a failure.
    int ScMasterPrioProc(int& fd, int level, const PathInfo& path, const std::string& value);
    /// Gives the master `id` the priority `prio`: the result of ioctl(2).
    int SetScMasterPrio(const int& fd, unsigned int id, unsigned int prio) const;
    /// Returns the master `id` to the device's own priority: the result of ioctl(2).
    int ResetScMasterPrio(const int& fd, unsigned int id) const;

private:
    // Fixed after construction.
    const int mResetLevel;
    const std::uint8_t mIoctlType = 'x';

    // Worker thread only. Has room for every value of the group, since a write has to come about
    // also when there is no memory.
    std::vector<unsigned int> mNumbers;
};

}  // namespace corebeacon
