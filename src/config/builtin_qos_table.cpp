// Turns the constant rows into the objects of the QoS table.

#include <iterator>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "config/builtin_qos_rows.h"
#include "config/qos_amendments.h"
#include "corebeacon/builtin_config.h"
#include "platform/mutex.h"

namespace corebeacon {

namespace {

using builtin::Used;

using QosTable = std::map<PerfQosId, std::unique_ptr<PerfQosConfig>>;

// Requests outside the range of these rows are clamped; those of other rows are refused.
constexpr bool kClamps = true;
constexpr bool kRefuses = false;

int MinOf(const builtin::CpuFreqRow& row) {
    return row.minKhz;
}
int MaxOf(const builtin::CpuFreqRow& row) {
    return row.maxKhz;
}
int MinOf(const builtin::DevFreqRow& row) {
    return row.minHz;
}
int MaxOf(const builtin::DevFreqRow& row) {
    return row.maxHz;
}

template <typename Row>
void AddFreqTable(QosTable& table, std::span<const builtin::FreqQos<Row>> entries) {
    for (const auto& entry : entries) {
        const char* name = PerfQosName(entry.id);
        std::vector<PerfGroupConfig> rows;
        for (const Row& row : Used(entry.rows)) {
            rows.emplace_back(name, kClamps, MinOf(row), MaxOf(row), MinOf(row), MaxOf(row),
                              std::vector<std::string>{entry.minNode, entry.maxNode}, row.chipType);
        }
        FreqParameters parameters;
        parameters.availableFreqsPath = entry.availableFreqs;
        table[entry.id] = std::make_unique<PerfQosFreqConfig>(name, std::move(rows), parameters);
    }
}

void AddDdr(QosTable& table) {
    const builtin::DdrQos& entry = builtin::DdrEntry();
    const char* name = PerfQosName(entry.id);
    std::vector<PerfGroupConfig> rows;
    for (const builtin::DdrRow& row : entry.rows) {
        rows.emplace_back(name, kClamps, row.minKhz, row.minKhz,
                          std::vector<std::string>{entry.bandwidthNode}, row.chipType);
    }
    FreqParameters freqParameters;
    freqParameters.availableFreqsPath = entry.availableFreqs;
    freqParameters.overwriteMaxFreq = true;
    DdrParameters ddrParameters;
    ddrParameters.bandwidthCoefficient = {entry.megabytesPerSecondPerMhz,
                                          entry.megabytesPerSecondPerMhz};
    table[entry.id] =
        std::make_unique<PerfQosDdrConfig>(name, std::move(rows), freqParameters, ddrParameters);
}

void AddIpaPower(QosTable& table) {
    const builtin::IpaPowerQos& entry = builtin::IpaPowerEntry();
    const char* name = PerfQosName(entry.id);
    std::vector<PerfGroupConfig> rows;
    rows.emplace_back(name, kClamps, entry.availableMinMilliwatt, entry.availableMaxMilliwatt,
                      entry.baseMinMilliwatt, entry.baseMaxMilliwatt,
                      std::vector<std::string>(std::begin(entry.nodes), std::end(entry.nodes)),
                      CHIP_TYPE_COMMON);
    const IpaThresholds thresholds{entry.socSwitchMilliwatt, entry.boardSwitchMilliwatt};
    IpaPowerParameters parameters;
    parameters.thresholds = {thresholds, thresholds};
    table[entry.id] = std::make_unique<PerfQosIpaPowerConfig>(name, std::move(rows), parameters);
}

void AddTripPoints(QosTable& table) {
    for (const builtin::TripPointQos& entry : builtin::TripPointTable()) {
        const char* name = PerfQosName(entry.id);
        std::vector<PerfGroupConfig> rows;
        rows.emplace_back(name, kClamps, entry.availableMinMillicelsius,
                          entry.availableMaxMillicelsius, entry.baseMinMillicelsius,
                          entry.baseMaxMillicelsius, std::vector<std::string>{entry.node},
                          CHIP_TYPE_COMMON);
        table[entry.id] = std::make_unique<PerfQosConfig>(name, std::move(rows));
    }
}

void AddVideoEncode(QosTable& table) {
    const builtin::OperatingPointQos& entry = builtin::VideoEncodeEntry();
    const char* name = PerfQosName(entry.id);
    std::vector<PerfGroupConfig> rows;
    rows.emplace_back(name, kRefuses, entry.minPoint, entry.maxPoint, entry.minPoint,
                      entry.maxPoint, std::vector<std::string>{entry.node}, CHIP_TYPE_COMMON);
    table[entry.id] = std::make_unique<PerfQosConfig>(name, std::move(rows));
}

Level2ValueMap LevelMapOf(const builtin::LevelRow& row) {
    Level2ValueMap levels;
    for (const builtin::LevelTexts& level : Used(row.levels)) {
        const auto texts = Used(level.texts);
        levels.emplace(level.level, std::vector<std::string>(texts.begin(), texts.end()));
    }
    return levels;
}

// `Kind` decides how the rows are narrowed to the chip.
template <typename Kind>
void AddLevelTable(QosTable& table, std::span<const builtin::LevelQos> entries) {
    for (const builtin::LevelQos& entry : entries) {
        const char* name = PerfQosName(entry.id);
        std::vector<PerfGroupConfig> rows;
        for (const builtin::LevelRow& row : Used(entry.rows)) {
            const auto nodes = Used(row.nodes);
            rows.emplace_back(row.groupId, row.name != nullptr ? row.name : name, row.baseLevel,
                              std::vector<std::string>(nodes.begin(), nodes.end()), LevelMapOf(row),
                              row.chipType);
        }
        table[entry.id] = std::make_unique<Kind>(name, std::move(rows));
    }
}

QosTable BuildQosTable() {
    QosTable table;
    AddFreqTable(table, builtin::CpuFreqTable());
    AddFreqTable(table, builtin::DevFreqTable());
    AddDdr(table);
    AddIpaPower(table);
    AddTripPoints(table);
    AddVideoEncode(table);
    AddLevelTable<PerfQosTargetRatioConfig>(table, builtin::MemLatTable());
    for (const auto& family :
         {builtin::LatencyTable(), builtin::GovernorLoadTable(), builtin::GovernorDelayTable(),
          builtin::GovernorRampTable(), builtin::TaskTable(), builtin::PlatformTable()}) {
        AddLevelTable<PerfQosConfig>(table, family);
    }
    return table;
}

}  // namespace

PerfQosConfigMap GetPerfQosConfigMap() {
    static Mutex mutex;
    static const QosTable asBuilt = BuildQosTable();
    static const QosTable table = BuildQosTable();
    static const QosAmendments amendments;

    MutexLock lock(mutex);
    PerfQosConfigMap map;
    for (const auto& [qosId, config] : table) {
        config->groups = asBuilt.at(qosId)->groups;
        map.emplace(qosId, *config);
    }
    AmendQosTable(amendments, map);
    return map;
}

}  // namespace corebeacon
