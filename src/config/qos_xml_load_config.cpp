#include <utility>

#include "config/qos_revision.h"
#include "corebeacon/qos_config.h"

namespace corebeacon {

namespace {

constexpr const char* kTypeFreq = "freq";
constexpr const char* kTypeEas = "eas";
constexpr const char* kTypeMemLat = "memlat";

}  // namespace

PerfQosXmlLoadConfig::PerfQosXmlLoadConfig(std::string qosName, std::string descriptionType,
                                           std::vector<PerfGroupConfig> rows)
    : PerfQosConfig(std::move(qosName), std::move(rows)), type(std::move(descriptionType)) {}

int PerfQosXmlLoadConfig::ReviseGroupConfigValue(unsigned int /*chipType*/) {
    if (type == kTypeFreq) {
        return FreqReviseGroupConfigValue();
    }
    if (type == kTypeEas) {
        return EasReviseGroupConfigValue();
    }
    return DefaultReviseGroupConfigValue();
}

int PerfQosXmlLoadConfig::GetGroupConfigByChipType(unsigned int /*qosId*/,
                                                   const PerfConfigControlInfo& controlInfo) {
    if (type == kTypeEas || type == kTypeMemLat) {
        return 0;
    }
    if (groups.size() != 1) {
        EraseRowsOfOtherChips(groups, controlInfo.chipType);
    }
    if (groups.size() != 1) {
        EraseCommonRows(groups);
    }
    return 0;
}

int PerfQosXmlLoadConfig::FreqReviseGroupConfigValue() {
    std::vector<std::int64_t> freqs;
    if (PrepareFreqRevision(*this, *this, freqs) != 0) {
        return -1;
    }
    FreqAdjustMinMax(freqs);
    return 0;
}

int PerfQosXmlLoadConfig::FreqGetAvlFreqs(const std::string& path,
                                          std::vector<std::int64_t>& freqs) const {
    return ReadAvailableFreqs(*this, path, freqs);
}

void PerfQosXmlLoadConfig::FreqAdjustMinMax(const std::vector<std::int64_t>& freqs) {
    NarrowToFreqs(*this, *this, freqs);
}

int PerfQosXmlLoadConfig::EasReviseGroupConfigValue() {
    return ReviseEasRows(*this, *this);
}

int PerfQosXmlLoadConfig::DefaultReviseGroupConfigValue() {
    if (!HasRowCount(*this, type == kTypeMemLat ? 2 : 1)) {
        return -1;
    }
    SetRangesFromLevels(groups);
    return 0;
}

}  // namespace corebeacon
