#include "resources/ipa_sustainable_power_group.h"

#include "platform/logging.h"
#include "platform/sys_wrapper.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_IPA_POWER_GRP";

// The base class takes the budget's node, which is the first.
constexpr std::size_t kNodeCount = 3;
constexpr std::size_t kBoardSwitchNode = 1;
constexpr std::size_t kSocSwitchNode = 2;

}  // namespace

IpaSustainablePowerGroup::IpaSustainablePowerGroup(const PerfGroupConfig& config, PerfWorkMode mode,
                                                   bool withBoardSwitch, int socSwitchThreshold,
                                                   int boardSwitchThreshold)
    : SingleNodeValueGroup(config, mode),
      mSocSwitchThreshold(socSwitchThreshold),
      mBoardSwitchThreshold(boardSwitchThreshold),
      mBoardSwitchPath(config.sysNodePaths[kBoardSwitchNode]),
      mSocSwitchPath(config.sysNodePaths[kSocSwitchNode]),
      mWithBoardSwitch(withBoardSwitch) {}

IpaSustainablePowerGroup::~IpaSustainablePowerGroup() {
    IpaSustainablePowerGroup::CloseAllFds();
}

bool IpaSustainablePowerGroup::GroupParametersValidate(const PerfGroupConfig& config) {
    if (config.sysNodePaths.size() != kNodeCount) {
        LOGE("[%s:%d] [%s] invalid path size %zu", config.name.c_str(), config.sysNodePaths.size());
        return false;
    }
    return PerfGroup::GroupParametersValidate(config);
}

int IpaSustainablePowerGroup::DoConfig(int value, int limit) {
    if (!mWithBoardSwitch) {
        SocIpaSwitch(SocTextWithoutBoard(value));
        return 0;
    }
    // Switches are turned off again each time, lest somebody else's "enabled" stays in force. They
    // are turned on only after they were turned off here: off for another reason, they stay off.
    if (value < mBoardSwitchThreshold) {
        if (mIpaDisabledAbove || mIpaDisabledAt) {
            mIpaDisabledAbove = false;
            mIpaDisabledAt = false;
            BoardIpaSwitch(mEnabledText);
            SocIpaSwitch(mEnabledText);
        }
        SingleNodeValueGroup::DoConfig(value, limit);
    } else if (value == mBoardSwitchThreshold) {
        mIpaDisabledAt = true;
        BoardIpaSwitch(mDisabledText);
        SocIpaSwitch(mEnabledText);
    } else {
        BoardIpaSwitch(mDisabledText);
        SocIpaSwitch(mDisabledText);
        mIpaDisabledAbove = true;
    }
    return 0;
}

const std::string& IpaSustainablePowerGroup::SocTextWithoutBoard(int value) const {
    return mSocSwitchThreshold > value ? mEnabledText : mDisabledText;
}

void IpaSustainablePowerGroup::BoardIpaSwitch(const std::string& text) {
    LOGI("[%s:%d] ############ [%s] final write board ipa switch: %s \n", mName.c_str(),
         text.c_str());
    mBoardSwitchRecord.Note(
        SysWrapper::SysOpenAndWriteStr(mName, mBoardSwitchPath, text, mBoardSwitchFd),
        text.c_str());
}

void IpaSustainablePowerGroup::SocIpaSwitch(const std::string& text) {
    LOGI("[%s:%d] ############ [%s] final write soc ipa switch: %s \n", mName.c_str(),
         text.c_str());
    mSocSwitchRecord.Note(SysWrapper::SysOpenAndWriteStr(mName, mSocSwitchPath, text, mSocSwitchFd),
                          text.c_str());
}

void IpaSustainablePowerGroup::DumpBaseValueAfterMapping(
    std::vector<SpecifiedGroupDumpInfo>& info) const {
    const int value = GetBoostBaseValue();
    if (!mWithBoardSwitch) {
        info.push_back(BoostRecord(SocTextWithoutBoard(value), mSocSwitchPath));
        return;
    }
    if (value < mBoardSwitchThreshold) {
        SingleNodeValueGroup::DumpBaseValueAfterMapping(info);
        return;
    }
    info.push_back(BoostRecord(mDisabledText, mBoardSwitchPath));
    info.push_back(
        BoostRecord(value == mBoardSwitchThreshold ? mEnabledText : mDisabledText, mSocSwitchPath));
}

void IpaSustainablePowerGroup::DescribeKind(GroupState& state) const {
    state.kind = GroupKind::IPA_POWER;
    if (mWithBoardSwitch) {
        mNodeRecord.Describe(mNodePath, state);
        mBoardSwitchRecord.Describe(mBoardSwitchPath, state);
    }
    mSocSwitchRecord.Describe(mSocSwitchPath, state);
}

void IpaSustainablePowerGroup::CloseAllFds() {
    SingleNodeValueGroup::CloseAllFds();
    SysWrapper::SysClose(mBoardSwitchFd);
    SysWrapper::SysClose(mSocSwitchFd);
}

}  // namespace corebeacon
