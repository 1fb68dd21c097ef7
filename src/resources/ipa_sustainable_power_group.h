/// The power budget of the thermal power allocators, which throttle the chip to stay within it. A
/// budget large enough switches allocators off. On a board with an allocator of its own that one
/// gets the budget; without it the budget only decides whether the SoC's allocator works. Owned by
/// its IpaSustainablePowerResource, whose worker thread alone calls it; only the checks of
/// requested values may be called from any thread.
#pragma once

#include <string>
#include <vector>

#include "resources/single_node_value_group.h"

namespace corebeacon {

class IpaSustainablePowerGroup : public SingleNodeValueGroup {
public:
    /// `config` must have passed GroupParametersValidate. The thresholds are in the unit of the
    /// budget, mW; only the one of the behaviour that `withBoardSwitch` chooses is used.
    IpaSustainablePowerGroup(const PerfGroupConfig& config, PerfWorkMode mode, bool withBoardSwitch,
                             int socSwitchThreshold, int boardSwitchThreshold);
    /// Closes the nodes.
    ~IpaSustainablePowerGroup() override;

    /// Whether `config` has exactly the nodes of the budget, the board's switch and the SoC's
    /// switch, and sensible values; logs if not.
    static bool GroupParametersValidate(const PerfGroupConfig& config);

    /// Appends what the base budget means: a value for the budget's node, or states of switches.
    void DumpBaseValueAfterMapping(std::vector<SpecifiedGroupDumpInfo>& info) const override;
    /// Applies the budget `value`; `limit` plays no part. Always 0: a node that fails keeps no
    /// other back, and the next change writes afresh.
    int DoConfig(int value, int limit) override;
    void CloseAllFds() override;
    void DescribeKind(GroupState& state) const override;

    // The steps of DoConfig: each writes one switch.

    void BoardIpaSwitch(const std::string& text);
    void SocIpaSwitch(const std::string& text);

private:
    /// The state of the SoC's switch for `value` where the board has none.
    const std::string& SocTextWithoutBoard(int value) const;

    // Fixed after construction.
    const std::string mEnabledText = "enabled";
    const std::string mDisabledText = "disabled";
    const int mSocSwitchThreshold;
    const int mBoardSwitchThreshold;
    const std::string mBoardSwitchPath;
    const std::string mSocSwitchPath;

    // Worker thread only. Descriptors are -1 while closed; the flags tell which switches the last
    // value turned off.
    int mBoardSwitchFd = -1;
    int mSocSwitchFd = -1;
    NodeRecord mBoardSwitchRecord;
    NodeRecord mSocSwitchRecord;
    bool mIpaDisabledAbove = false;
    bool mIpaDisabledAt = false;

    // Fixed after construction.
    const bool mWithBoardSwitch;
};

}  // namespace corebeacon
