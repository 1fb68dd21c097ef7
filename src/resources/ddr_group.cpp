#include "resources/ddr_group.h"

#include <algorithm>
#include <limits>
#include <string>

#include "config/decimal_digits.h"
#include "platform/logging.h"
#include "platform/sys_wrapper.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_DDR_GRP";

constexpr int kHighestInt = std::numeric_limits<int>::max();

}  // namespace

DdrGroup::DdrGroup(const PerfGroupConfig& config, PerfWorkMode mode, float coefficient)
    : SingleNodeValueGroup(config, mode), mBandwidthCoefficient(coefficient) {
    InitConfigValue();
}

DdrGroup::~DdrGroup() = default;

void DdrGroup::InitConfigValue() {
    mConfigInKhz = CountDigits(mAvailableMin) <= kKhzMaxDigits;
}

int DdrGroup::OperationValueValidate(int& value) const {
    if (value < 1) {
        LOGE("[%s:%d] [%s] operationValue is below zero!", mName.c_str());
        return -1;
    }
    std::int64_t frequency = ToConfigUnit(value);
    if (frequency > kHighestInt) {
        LOGW("[%s:%d] [%s] operationValue can not convert from KHZ to HZ, as internal use HZ!",
             mName.c_str());
        frequency = kHighestInt;
    }
    value = static_cast<int>(frequency);
    if (value < mAvailableMin) {
        LOGD("[%s:%d] [%s] operationValue(%d) less than avl min(%d)", mName.c_str(), value,
             mAvailableMin);
        value = mAvailableMin;
    } else if (value > mAvailableMax) {
        LOGD("[%s:%d] [%s] operationValue(%d) larger than avl max(%d)", mName.c_str(), value,
             mAvailableMax);
        value = mAvailableMax;
    }
    return 0;
}

std::int64_t DdrGroup::ToConfigUnit(int frequency) const {
    const int digits = CountDigits(frequency);
    if (digits <= kKhzMaxDigits) {
        return mConfigInKhz ? frequency : std::int64_t{frequency} * kKhzHzFactor;
    }
    if (digits >= kHzMinDigits && mConfigInKhz) {
        return frequency / std::int64_t{kKhzHzFactor};
    }
    return frequency;
}

int DdrGroup::BandwidthOf(int frequency) const {
    const unsigned int divisor =
        CountDigits(frequency) > kKhzMaxDigits ? kMhzFromHzDivisor : kKhzHzFactor;
    const float bandwidth =
        static_cast<float>(frequency) * mBandwidthCoefficient / static_cast<float>(divisor);
    // A host's coefficient may be of any size; a number that fits no int must not be converted.
    constexpr auto kTooLarge = static_cast<float>(std::int64_t{kHighestInt} + 1);
    return bandwidth < kTooLarge ? static_cast<int>(bandwidth) : kHighestInt;
}

int DdrGroup::DoConfig(int boost, int limit) {
    if (mBandwidthCoefficient > 0.0F) {
        const int bandwidth = BandwidthOf(boost);
        LOGI("[%s:%d] ############ [%s] final write: bandwidth=%d, min=%d \n", mName.c_str(),
             bandwidth, boost);
        return WriteBinary(bandwidth);
    }
    if (mBandwidthCoefficient < 0.0F) {
        LOGI("[%s:%d] ############ [%s] final write: min=%d \n", mName.c_str(), boost);
        return WriteBinary(boost);
    }
    return SingleNodeValueGroup::DoConfig(boost, limit);
}

int DdrGroup::WriteBinary(int value) {
    return mNodeRecord.Note(SysWrapper::SysOpenAndWriteUint(mName, mNodePath, value, mNodeFd),
                            value);
}

void DdrGroup::DescribeKind(GroupState& state) const {
    SingleNodeValueGroup::DescribeKind(state);
    state.kind = GroupKind::DDR;
}

void DdrGroup::DumpBaseValueAfterMapping(std::vector<SpecifiedGroupDumpInfo>& info) const {
    const int boost = GetBoostBaseValue();
    const int written = mBandwidthCoefficient > 0.0F ? BandwidthOf(boost) : boost;
    info.push_back(BoostRecord(std::to_string(written), mNodePath));
}

}  // namespace corebeacon
