#include "config/qos_amendments.h"

#include <string_view>

#include "config/freq_list.h"
#include "platform/logging.h"
#include "platform/node_reader.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_QOSCONFIG";

constexpr const char* kBoardNamePath = "/proc/device-tree/vexa,boardname";
constexpr const char* kDevelopmentBoard = "udp";

int GetAvlFreqs(const std::string& path, std::vector<std::int64_t>& freqs) {
    switch (ReadFreqList(path, freqs)) {
        case FreqListStatus::NODE_MISSING:
            LOGI("[%s:%d] freq list node open fail: %s", path.c_str());
            return -1;
        case FreqListStatus::EMPTY:
            LOGI("[%s:%d] freqList read empty");
            return -1;
        case FreqListStatus::READ:
            break;
    }
    return 0;
}

void AmendEasLevels(const QosAmendments& amendments, std::uint32_t variant,
                    PerfQosConfigMap& table) {
    const auto levels = amendments.variantToEasValueMap.find(variant);
    const auto eas = table.find(PERF_QOS_EAS);
    if (levels == amendments.variantToEasValueMap.end() || eas == table.end()) {
        return;
    }
    if (auto* parameters = dynamic_cast<EasParameters*>(&eas->second.get())) {
        parameters->levelToValueMap = levels->second;
    }
}

void AmendLevelMaps(const QosAmendments& amendments, std::uint32_t variant,
                    PerfQosConfigMap& table) {
    for (const auto& [qosId, levelMaps] : amendments.qosVariantLevelMaps) {
        const auto levelMap = levelMaps.find(variant);
        const auto qos = table.find(qosId);
        if (levelMap == levelMaps.end() || qos == table.end()) {
            continue;
        }
        for (PerfGroupConfig& row : qos->second.get().groups) {
            row.level2ValueMap = levelMap->second;
        }
    }
}

// The last word is the board; earlier ones name its maker and family. Without a stream, which would
// swallow a lack of memory and take an earlier word for the last.
std::string_view LastWord(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\n\v\f\r";
    text = text.substr(0, text.find_last_not_of(kBlanks) + 1);
    return text.substr(text.find_last_of(kBlanks) + 1);  // all of it where there is no blank
}

void AmendByBoard(const QosAmendments& amendments, PerfQosConfigMap& table) {
    std::string boardName;
    if (ReadNode(kBoardNamePath, boardName) == NodeStatus::NOT_OPENED) {
        // The node is the board's name; the text stays as those who search logs know it.
        LOGI("[%s:%d] open chiptype path failed!");
        return;
    }
    if (LastWord(boardName).find(kDevelopmentBoard) != std::string_view::npos) {
        LOGI("[%s:%d] chiptype is udp");
        return;
    }
    for (const auto& [qosId, baseValue] : amendments.boardBaseValues) {
        const auto qos = table.find(qosId);
        if (qos == table.end()) {
            continue;
        }
        for (PerfGroupConfig& row : qos->second.get().groups) {
            row.baseMin = static_cast<int>(baseValue);
        }
    }
}

}  // namespace

void AmendByBigClusterFreqs(const QosAmendments& amendments, const std::vector<std::int64_t>& freqs,
                            PerfQosConfigMap& table) {
    if (freqs.empty()) {
        LOGI("[%s:%d] avlFreqVec is empty!");
        return;
    }
    for (const auto& [maxFreqKhz, variant] : amendments.maxFreqToVariant) {
        if (maxFreqKhz == freqs.back()) {
            AmendEasLevels(amendments, variant, table);
            AmendLevelMaps(amendments, variant, table);
            return;
        }
    }
    LOGI("[%s:%d] no need amend eas value map!");
}

void AmendQosTable(const QosAmendments& amendments, PerfQosConfigMap& table) {
    std::vector<std::int64_t> freqs;
    if (GetAvlFreqs(amendments.bigClusterFreqsPath, freqs) != 0) {
        LOGI("[%s:%d] GetAvlFreqs failed!");
    } else {
        AmendByBigClusterFreqs(amendments, freqs, table);
    }
    AmendByBoard(amendments, table);
}

}  // namespace corebeacon
