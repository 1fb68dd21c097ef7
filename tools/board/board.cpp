#include "board/board.h"

#include "corebeacon/builtin_config.h"

namespace corebeacon::board {

namespace {

const char* TypeOf(const PerfQosConfig& config) {
    if (dynamic_cast<const PerfQosTargetRatioConfig*>(&config) != nullptr) {
        return kTypeMemLat;
    }
    if (dynamic_cast<const EasParameters*>(&config) != nullptr) {
        return kTypeEas;
    }
    return dynamic_cast<const FreqParameters*>(&config) != nullptr ? kTypeFreq : kTypePlain;
}

/// One text serves both origins, so that the description means the same in either table.
template <typename T>
void TakeCompiledIn(ByOrigin<T>& parameter) {
    parameter.loaded = parameter.compiledIn;
}

template <typename Record>
void CopyRecord(const PerfQosConfig& from, PerfQosXmlLoadConfig& to) {
    if (const auto* const record = dynamic_cast<const Record*>(&from)) {
        static_cast<Record&>(to) = *record;
    }
}

}  // namespace

PerfQosConfigMap Board::QosMap() {
    PerfQosConfigMap map;
    for (auto& [qosId, config] : qos) {
        map.emplace(qosId, config);
    }
    return map;
}

PerfQosXmlLoadConfig AsLoaded(const PerfQosConfig& config) {
    PerfQosXmlLoadConfig loaded(config.name, TypeOf(config), config.groups);
    CopyRecord<FreqParameters>(config, loaded);
    CopyRecord<DdrParameters>(config, loaded);
    CopyRecord<EasParameters>(config, loaded);
    CopyRecord<IpaPowerParameters>(config, loaded);
    TakeCompiledIn(loaded.gpuTopFreqPath);
    TakeCompiledIn(loaded.bandwidthCoefficient);
    TakeCompiledIn(loaded.globalBoost);
    TakeCompiledIn(loaded.thresholds);
    return loaded;
}

Board BuiltinBoard(unsigned chip) {
    Board board;
    board.name = "chip variant " + std::to_string(chip);
    board.machine.chip = chip;
    PerfConfigControlInfo controlInfo;
    controlInfo.chipType = static_cast<ChipTypeAvailableValue>(chip);
    for (auto& [qosId, config] : GetPerfQosConfigMap()) {
        config.get().GetGroupConfigByChipType(qosId, controlInfo);
        board.qos.emplace(qosId, AsLoaded(config));
    }
    board.scenarios = GetConfigurableScenarioVec(controlInfo.chipType);
    board.events = GetConfigurableEventVec(controlInfo.chipType);
    return board;
}

}  // namespace corebeacon::board
