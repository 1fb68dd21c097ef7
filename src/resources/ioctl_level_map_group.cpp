#include "resources/ioctl_level_map_group.h"

#include <sys/ioctl.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <limits>
#include <string_view>

#include "platform/logging.h"
#include "platform/sys_wrapper.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_IOCL_LEVEL_MAP_GRP";

constexpr char kSeparator = ':';
constexpr unsigned int kInvalidNumber = std::numeric_limits<std::uint32_t>::max();

/// Numbers of the device's requests.
constexpr unsigned int kSetNumber = 30;
constexpr unsigned int kResetNumber = 31;

/// What both requests carry, in the layout of the device.
struct ScMasterPrio {
    std::uint32_t id = 0;
    std::uint32_t reservedAfterId = 0;
    std::uint32_t prio = 0;
    std::uint32_t reservedAfterPrio = 0;
};
static_assert(sizeof(ScMasterPrio) == 16);

/// kInvalidNumber for what is not wholly a decimal number of 32 bits.
unsigned int ParseNumber(std::string_view piece) {
    std::uint32_t number = 0;
    const char* const end = piece.data() + piece.size();
    const auto [stop, error] = std::from_chars(piece.data(), end, number);
    return error == std::errc() && stop == end ? number : kInvalidNumber;
}

}  // namespace

IoctlLevelMapGroup::IoctlLevelMapGroup(const PerfGroupConfig& config, PerfWorkMode mode)
    : LevelMapGroup(config, mode), mResetLevel(config.baseMin) {
    std::size_t longest = 0;
    for (const auto& [level, values] : config.level2ValueMap) {
        for (const std::string& value : values) {
            longest = std::max(longest, value.size());
        }
    }
    mNumbers.reserve(longest);  // a number has a digit
}

int IoctlLevelMapGroup::DoConfig(int boost, int /*limit*/) {
    const std::vector<std::string>* const values = FindValues(boost);
    if (values == nullptr) {
        LOGE("[%s:%d] [%s] invalid level: %d", mName.c_str(), boost);
        return -1;
    }
    if (values->size() != mPathInfoVec.size()) {
        LOGE("[%s:%d] [%s] multiValueVec size: %zu is not equal to mPathInfoVec: %zu",
             mName.c_str(), values->size(), mPathInfoVec.size());
        return -1;
    }
    for (std::size_t i = 0; i < mPathInfoVec.size(); ++i) {
        PathInfo& node = mPathInfoVec[i];
        const std::string& value = (*values)[i];
        LOGI("[%s:%d] ############ [%s] final ioctl %d: %s\n", mName.c_str(), boost, value.c_str());
        node.record.Note(ScMasterPrioProc(node.fd, boost, node, value), value.c_str());
    }
    return 0;
}

void IoctlLevelMapGroup::DescribeKind(GroupState& state) const {
    state.kind = GroupKind::IOCTL_LEVEL_MAP;
    DescribeNodes(state);
}

void IoctlLevelMapGroup::StrToIntVec(const std::string& text,
                                     std::vector<unsigned int>& out) const {
    const std::string_view whole(text);
    std::size_t begin = 0;
    while (begin <= whole.size()) {
        const std::size_t end = std::min(whole.find(kSeparator, begin), whole.size());
        const unsigned int number = ParseNumber(whole.substr(begin, end - begin));
        if (number == kInvalidNumber) {
            LOGE("[%s:%d] [%s] invalid val str : %s \n", mName.c_str(), text.c_str());
            return;
        }
        out.push_back(number);
        begin = end + 1;
    }
}

int IoctlLevelMapGroup::ScMasterPrioProc(int& fd, int level, const PathInfo& path,
                                         const std::string& value) {
    mNumbers.clear();
    StrToIntVec(value, mNumbers);
    if (mNumbers.size() < 2) {
        LOGE("[%s:%d] [%s] the value format of %s error \n", mName.c_str(), path.path.c_str());
        errno = EINVAL;
        return -1;
    }
    if (fd < 0) {
        fd = SysWrapper::SysOpenWithWrOnly(path.path);
    }
    if (fd < 0) {
        const int error = errno;
        LOGE("[%s:%d] [%s] open file %s failed, errno=%d (%s) \n", mName.c_str(), path.path.c_str(),
             error, SysWrapper::ErrnoText(error).Text());
        errno = error;
        return -1;
    }
    const int result = level == mResetLevel ? ResetScMasterPrio(fd, mNumbers[0])
                                            : SetScMasterPrio(fd, mNumbers[0], mNumbers[1]);
    if (result < 0) {
        const int error = errno;
        LOGE("[%s:%d] [%s] %s ioctl to %s failed, errno=%d (%s) \n", mName.c_str(), value.c_str(),
             path.path.c_str(), error, SysWrapper::ErrnoText(error).Text());
        errno = error;
    }
    return result;
}

int IoctlLevelMapGroup::SetScMasterPrio(const int& fd, unsigned int id, unsigned int prio) const {
    ScMasterPrio argument{.id = id, .prio = prio};
    return SysWrapper::SysIoctl(fd, _IOW(mIoctlType, kSetNumber, ScMasterPrio), &argument);
}

int IoctlLevelMapGroup::ResetScMasterPrio(const int& fd, unsigned int id) const {
    ScMasterPrio argument{.id = id};
    return SysWrapper::SysIoctl(fd, _IOW(mIoctlType, kResetNumber, ScMasterPrio), &argument);
}

}  // namespace corebeacon
