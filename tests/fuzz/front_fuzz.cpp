// Any bytes as the life of an engine: its tables, which may contradict themselves, then what its
// host and its device do, and its end. Whatever happens, every descriptor is closed in the end; and
// on a healthy device every node is at its base as soon as nobody asks for anything.
#include <bit>
#include <chrono>
#include <limits>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "command/command_manager.h"
#include "corebeacon/config_manager.h"
#include "corebeacon/qos_config.h"
#include "engine/resource_manager.h"
#include "fuzz/byte_source.h"
#include "fuzz/demand.h"
#include "fuzz/front_player.h"
#include "fuzz/small_machine.h"
#include "fuzz/workers.h"
#include "sim/eas_example.h"
#include "support/manual_clock.h"
#include "support/scoped_node_io.h"
#include "support/silent_log.h"

namespace corebeacon::fuzz {

namespace {

/// The chatty levels format far more than the others do.
struct ChattyLog {
    ChattyLog() { PfLogonNamespace::PfLogonSet(3); }
    ~ChattyLog() { PfLogonNamespace::PfLogonSet(0); }
    ChattyLog(const ChattyLog&) = delete;
    ChattyLog& operator=(const ChattyLog&) = delete;
};

/// Mostly one to four QoS: an engine with few of them starts quickly, and they do not mingle.
std::vector<PerfQosId> ChooseIds(ByteSource& source) {
    const std::vector<PerfQosId>& all = SmallTable::AllIds();
    std::set<PerfQosId> chosen;
    if (const unsigned int choice = source.Below(16); choice == 15) {
        const std::uint32_t bits = source.Word();
        for (std::size_t i = 0; i < all.size(); ++i) {
            if ((bits >> i & 1U) != 0) {
                chosen.insert(all[i]);
            }
        }
    } else {
        for (unsigned int more = choice / 4; more > 0; --more) {
            chosen.insert(source.AnyOf(all));
        }
    }
    if (chosen.empty()) {
        chosen.insert(source.AnyOf(all));
    }
    return {chosen.begin(), chosen.end()};
}

/// All that an engine is started with.
struct Tables {
    SmallTable qos;
    PerfDefaultConfig config;
    /// Empty for the small machine's, which most lives need not copy.
    std::vector<ConfigurableEvent> ownEvents;
    std::vector<ConfigurableScenario> ownScenarios;
    ProbeEvent probe = SmallProbe();

    explicit Tables(const std::vector<PerfQosId>& ids) : qos(ids) {
        config.qosConfigMap = qos.Map();
        config.controlInfo.chipType = CHIP_TYPE_VARIANT_1;
        config.controlInfo.cpuBoostEnabled = true;
    }
};

void SpoilRow(ByteSource& source, PerfGroupConfig& row) {
    int level = 0;
    switch (source.Below(8)) {
        case 0:
            row.availableMin = MakeValue(source);
            break;
        case 1:
            row.availableMax = MakeValue(source);
            break;
        case 2:
            row.baseMin = MakeValue(source);
            break;
        case 3:
            row.baseMax = MakeValue(source);
            break;
        case 4:
            row.groupId = MakeNumber(source);
            break;
        case 5:
            row.sysNodePaths.resize(source.Below(4), "/video");
            break;
        case 6:
            level = MakeValue(source);
            row.level2ValueMap[level] = {source.Text(12)};
            break;
        default:
            row.chipType = static_cast<ChipTypeAvailableValue>(source.Below(4));
            break;
    }
}

void SpoilEvents(ByteSource& source, const std::vector<PerfQosId>& ids,
                 std::vector<ConfigurableEvent>& events) {
    if (events.empty()) {
        events = SmallEvents();
    }
    QosCommand command{MakeQosId(source, ids), {}};
    for (const PerfRequestInfo& step : MakeRequest(source, ids)) {
        command.sequence.push_back({MakeNumber(source), step.groups});
    }
    events.push_back({source.Byte(), {command}});
}

void SpoilScenarios(ByteSource& source, const std::vector<PerfQosId>& ids,
                    std::vector<ConfigurableScenario>& scenarios) {
    if (scenarios.empty()) {
        scenarios = SmallScenarios();
    }
    const std::uint8_t id = source.Byte();
    scenarios.push_back({id, MakeRequest(source, ids)});
}

/// One thing that a host may get wrong, or have otherwise.
void Spoil(ByteSource& source, const std::vector<PerfQosId>& ids, Tables& tables) {
    const std::vector<PerfQosConfig*> all = tables.qos.All();
    PerfQosConfig& qos = *source.AnyOf(all);
    switch (source.Below(8)) {
        case 0:
            tables.config.workMode = static_cast<PerfWorkMode>(source.Below(5));
            break;
        case 1:
            tables.config.controlInfo.invalidClusters = {source.Text(8)};
            break;
        case 2:
            SpoilScenarios(source, ids, tables.ownScenarios);
            break;
        case 3:
            SpoilEvents(source, ids, tables.ownEvents);
            break;
        case 4:
            if (!qos.groups.empty()) {
                qos.groups.resize(source.Below(12), PerfGroupConfig(qos.groups.front()));
            }
            break;
        case 5:
            tables.probe.cpuM = MakeValue(source);
            tables.probe.startDelayMs = MakeNumber(source);
            tables.probe.spanMs = MakeNumber(source);
            break;
        case 6:
            if (auto* const ddr = dynamic_cast<DdrParameters*>(&qos)) {
                ddr->bandwidthCoefficient.compiledIn = std::bit_cast<float>(source.Word());
            }
            break;
        default:
            if (!qos.groups.empty()) {
                SpoilRow(source, qos.groups[source.Below(qos.groups.size())]);
            }
            break;
    }
}

HandleLimits MakeLimits(ByteSource& source) {
    HandleLimits limits;
    if (source.Byte() >= 192) {
        limits = {source.Below(4), source.Below(4), source.Below(8),
                  static_cast<int>(source.Below(3))};
    }
    return limits;
}

int Start(ConfigManager& front, Tables& tables) {
    return front.Init(tables.config, tables.ownEvents.empty() ? SmallEvents() : tables.ownEvents,
                      tables.ownScenarios.empty() ? SmallScenarios() : tables.ownScenarios,
                      tables.probe);
}

void TakeBackBaseValues(ConfigManager& front) {
    unsigned long none = 0;
    for (unsigned int group = 0; group < sim::kEasTaskGroups.size(); ++group) {
        const GroupInfo base{group, {{PERF_OPERATION_BOOST, sim::kEasDefaultLevel}}};
        front.PerfRequest(std::numeric_limits<int>::max(), 0, {{PERF_QOS_EAS_BASE, {base}}}, none);
    }
}

/// Takes back what no release does, and all that anybody holds.
void CalmDown(ConfigManager& front) {
    std::vector<PerfQosId> ids;
    front.Resources().GetResourceIds(ids);
    std::vector<unsigned int> resume = {0};
    resume.insert(resume.end(), ids.begin(), ids.end());
    front.PerfSetSuspend(resume);
    if (front.Resources().FindResource(PERF_QOS_EAS) != nullptr) {
        TakeBackBaseValues(front);
    }
    Demand(front.Reset() == 0, "0 from the last reset");
    Demand(front.Commands().GetCounts().liveHandles == 0, "no handle outlives a reset");
}

void DemandBase(const sim::SimulatedDevice& device, const std::vector<PerfQosId>& ids) {
    for (const PerfQosId id : ids) {
        for (const auto& [path, base] : BaseValues(id)) {
            if (const std::string value = device.Value(path); value != base) {
                Denounce(path + " is " + value + ", not " + base);
            }
        }
    }
}

/// An engine from its start to its end.
void Live(ByteSource& source, const std::vector<PerfQosId>& ids, sim::SimulatedDevice& device) {
    const WorkerScope workers;
    test::ManualClock clock;
    ConfigManager front(MakeLimits(source));
    auto tables = std::make_unique<Tables>(ids);
    const unsigned int flaws = source.Flag() ? source.Below(8) : 0;
    for (unsigned int i = 0; i < flaws; ++i) {
        Spoil(source, ids, *tables);
    }
    bool isSpoilt = flaws > 0;
    if (Start(front, *tables) != 0) {
        Demand(isSpoilt, "good tables are accepted");
        Demand(device.OpenDescriptors() == 0, "a failed start leaves nothing open");
        isSpoilt = false;
        tables = std::make_unique<Tables>(ids);
        Demand(Start(front, *tables) == 0, "a second try with good tables succeeds");
    }
    FrontPlayer player(source, ids, front, device, clock);
    // Half of the devices stay healthy: in a long life, hardly one would by chance.
    player.Play(source.Flag());
    CalmDown(front);
    player.Settle();
    if (!isSpoilt && !player.HadMishap()) {
        DemandBase(device, ids);
        clock.Advance(std::chrono::seconds(61));
        player.Settle();
        DemandBase(device, ids);
    }
}

}  // namespace

void FuzzFront(Bytes bytes) {
    const test::SilentLog silence;
    ByteSource source(bytes);
    const std::vector<PerfQosId> ids = ChooseIds(source);
    std::optional<ChattyLog> chatty;
    if (source.Below(4) == 0) {
        chatty.emplace();
    }
    sim::SimulatedDevice device;
    const test::ScopedNodeIo inForce(device);
    AddNodes(device, ids);
    Live(source, ids, device);
    Demand(device.OpenDescriptors() == 0, "every node is closed in the end");
}

}  // namespace corebeacon::fuzz
