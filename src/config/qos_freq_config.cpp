#include <algorithm>
#include <limits>
#include <utility>

#include "config/decimal_digits.h"
#include "config/freq_list.h"
#include "config/qos_revision.h"
#include "corebeacon/qos_config.h"
#include "platform/logging.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_CONFIG";

constexpr std::int64_t kMaxRowValue = std::numeric_limits<int>::max();
constexpr std::int64_t kHzPerKhz = 1000;
/// A row whose minimum has this many digits is in Hz, one with fewer in kHz.
constexpr int kHzMinDigits = 8;

static_assert(sizeof(long) == sizeof(std::int64_t), "frequencies are logged as long");

int ToRowValue(std::int64_t freq) {
    return static_cast<int>(
        std::clamp<std::int64_t>(freq, std::numeric_limits<int>::min(), kMaxRowValue));
}

/// The log shows the row's values unsigned.
unsigned int Shown(int value) {
    return static_cast<unsigned int>(value);
}

/// Replaces the row's maxima by the node's. A row in kHz whose node lists Hz (the memory's devfreq
/// device) has the node's ends converted for the comparisons that follow as well.
void OverwriteMax(const std::string& qosName, PerfGroupConfig& row, std::int64_t& nodeMin,
                  std::int64_t& nodeMax) {
    LOGI("[%s:%d] overwrite max freq %u %u ->%ld", Shown(row.availableMax), Shown(row.baseMax),
         nodeMax);
    const bool rowInKhz = CountDigits(row.availableMin) < kHzMinDigits;
    if (rowInKhz) {
        nodeMax /= kHzPerKhz;
        nodeMin /= kHzPerKhz;
    }
    if (nodeMax > kMaxRowValue) {
        if (rowInKhz) {
            LOGW("[%s:%d] [%s] availableMax freq can not use KHZ!", qosName.c_str());
        } else {
            LOGW("[%s:%d] [%s] availableMax freq can not use HZ!", qosName.c_str());
        }
    }
    row.availableMax = ToRowValue(nodeMax);
    row.baseMax = row.availableMax;
}

void RaiseMin(PerfGroupConfig& row, std::int64_t nodeMin) {
    if (nodeMin > row.availableMin) {
        LOGI("[%s:%d] adjust available min freq %u->%ld", Shown(row.availableMin), nodeMin);
        row.availableMin = ToRowValue(nodeMin);
    }
    if (nodeMin > row.baseMin) {
        LOGI("[%s:%d] adjust base min freq %u->%ld", Shown(row.baseMin), nodeMin);
        row.baseMin = ToRowValue(nodeMin);
    }
}

void LowerMax(PerfGroupConfig& row, std::int64_t nodeMax) {
    if (nodeMax < row.availableMax) {
        LOGI("[%s:%d] adjust available max freq %u->%ld", Shown(row.availableMax), nodeMax);
        row.availableMax = ToRowValue(nodeMax);
    }
    if (nodeMax < row.baseMax) {
        LOGI("[%s:%d] adjust base max freq %u->%ld", Shown(row.baseMax), nodeMax);
        row.baseMax = ToRowValue(nodeMax);
    }
}

}  // namespace

int ReadAvailableFreqs(const PerfQosConfig& qos, const std::string& path,
                       std::vector<std::int64_t>& freqs) {
    switch (ReadFreqList(path, freqs)) {
        case FreqListStatus::READ:
            return 0;
        case FreqListStatus::NODE_MISSING:
            LOGE("[%s:%d] [%s] freq list node open fail: %s", qos.name.c_str(), path.c_str());
            break;
        case FreqListStatus::EMPTY:
            LOGE("[%s:%d] [%s] freqList read empty", qos.name.c_str());
            break;
    }
    return -1;
}

int PrepareFreqRevision(const PerfQosConfig& qos, const FreqParameters& parameters,
                        std::vector<std::int64_t>& freqs) {
    if (ReadAvailableFreqs(qos, parameters.availableFreqsPath, freqs) != 0) {
        LOGE("[%s:%d] [%s] getAvlFreqs failed!", qos.name.c_str());
        return -1;
    }
    return HasRowCount(qos, 1) ? 0 : -1;
}

void NarrowToFreqs(PerfQosConfig& qos, const FreqParameters& parameters,
                   const std::vector<std::int64_t>& freqs) {
    if (qos.groups.size() != 1 || freqs.empty()) {
        return;
    }
    PerfGroupConfig& row = qos.groups.front();
    std::int64_t nodeMin = freqs.front();
    std::int64_t nodeMax = freqs.back();
    if (parameters.overwriteMaxFreq) {
        OverwriteMax(qos.name, row, nodeMin, nodeMax);
    }
    RaiseMin(row, nodeMin);
    LowerMax(row, nodeMax);
}

PerfQosFreqConfig::PerfQosFreqConfig(std::string qosName, std::vector<PerfGroupConfig> rows,
                                     FreqParameters freqParameters)
    : PerfQosConfig(std::move(qosName), std::move(rows)),
      FreqParameters(std::move(freqParameters)) {}

int PerfQosFreqConfig::ReviseGroupConfigValue(unsigned int chipType) {
    std::vector<std::int64_t> freqs;
    if (PrepareFreqRevision(*this, *this, freqs) != 0) {
        return -1;
    }
    AdjustFreqsByProperty(chipType, freqs);
    AdjustMinMax(freqs);
    return 0;
}

int PerfQosFreqConfig::GetAvlFreqs(const std::string& path,
                                   std::vector<std::int64_t>& freqs) const {
    return ReadAvailableFreqs(*this, path, freqs);
}

void PerfQosFreqConfig::AdjustMinMax(const std::vector<std::int64_t>& freqs) {
    NarrowToFreqs(*this, *this, freqs);
}

void PerfQosFreqConfig::AdjustFreqsByProperty(unsigned int /*chipType*/,
                                              std::vector<std::int64_t>& /*freqs*/) {}

PerfQosDdrConfig::PerfQosDdrConfig(std::string qosName, std::vector<PerfGroupConfig> rows,
                                   FreqParameters freqParameters, DdrParameters ddrParameters)
    : PerfQosFreqConfig(std::move(qosName), std::move(rows), std::move(freqParameters)),
      DdrParameters(std::move(ddrParameters)) {}

}  // namespace corebeacon
