// Any bytes as the life of an engine: its tables, which may contradict themselves, then what its
// host and its device do, and its end. Whatever happens, every descriptor is closed in the end; and
// on a healthy device every node is at its base as soon as nobody asks for anything.
#include <bit>
#include <chrono>
#include <limits>
#include <map>
#include <memory>
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
#include "sim/eas_example.h"
#include "support/deadline.h"
#include "support/manual_clock.h"
#include "support/scoped_node_io.h"
#include "support/silent_log.h"

namespace corebeacon::fuzz {

namespace {

/// The chatty levels format far more than the others do.
class FullLog : public test::SilentLog {
public:
    FullLog() { PfLogonNamespace::PfLogonSet(3); }

    ~FullLog() override { PfLogonNamespace::PfLogonSet(0); }
};

/// All that an engine is started with.
struct Tables {
    SmallTable qos;
    PerfDefaultConfig config;
    std::vector<ConfigurableEvent> events = SmallEvents();
    std::vector<ConfigurableScenario> scenarios = SmallScenarios();
    ProbeEvent probe = SmallProbe();

    explicit Tables(unsigned int chosen) : qos(chosen) {
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

void SpoilEvents(ByteSource& source, std::vector<ConfigurableEvent>& events) {
    QosCommand command{MakeQosId(source), {}};
    for (const PerfRequestInfo& step : MakeRequest(source)) {
        command.sequence.push_back({MakeNumber(source), step.groups});
    }
    events.push_back({source.Byte(), {command}});
}

/// One thing that a host may get wrong, or have otherwise.
void Spoil(ByteSource& source, Tables& tables) {
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
            tables.scenarios.push_back({source.Byte(), MakeRequest(source)});
            break;
        case 3:
            SpoilEvents(source, tables.events);
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
    return front.Init(tables.config, tables.events, tables.scenarios, tables.probe);
}

/// Takes back what no release does, and all that anybody holds.
void CalmDown(ConfigManager& front) {
    std::vector<PerfQosId> ids;
    front.Resources().GetResourceIds(ids);
    std::vector<unsigned int> resume = {0};
    resume.insert(resume.end(), ids.begin(), ids.end());
    front.PerfSetSuspend(resume);
    unsigned long none = 0;
    for (unsigned int group = 0; group < sim::kEasTaskGroups.size(); ++group) {
        const GroupInfo base{group, {{PERF_OPERATION_BOOST, sim::kEasDefaultLevel}}};
        front.PerfRequest(std::numeric_limits<int>::max(), 0, {{PERF_QOS_EAS_BASE, {base}}}, none);
    }
    Demand(front.Reset() == 0, "0 from the last reset");
    Demand(front.Commands().GetCounts().liveHandles == 0, "no handle outlives a reset");
}

/// In the end, since a worker answers whoever asks before it sees to what has become due.
void DemandBase(const sim::SimulatedDevice& device,
                const std::map<std::string, std::string>& base) {
    const bool isBase =
        test::Eventually([&] { return NodesWithBase(device) == base; }, std::chrono::seconds(10));
    for (const auto& [path, value] : NodesWithBase(device)) {
        Demand(isBase || value == base.at(path), path + " is " + value + ", not " + base.at(path));
    }
}

}  // namespace

void FuzzFront(Bytes bytes) {
    ByteSource source(bytes);
    const FullLog log;
    sim::SimulatedDevice device;
    const test::ScopedNodeIo inForce(device);
    AddNodes(device);
    const std::map<std::string, std::string> base = NodesWithBase(device);
    test::ManualClock clock;
    {
        const unsigned int chosen = source.Word();
        ConfigManager front(MakeLimits(source));
        auto tables = std::make_unique<Tables>(chosen);
        const unsigned int flaws = source.Flag() ? source.Below(8) : 0;
        for (unsigned int i = 0; i < flaws; ++i) {
            Spoil(source, *tables);
        }
        bool isSpoilt = flaws > 0;
        if (Start(front, *tables) != 0) {
            Demand(isSpoilt, "good tables are accepted");
            Demand(device.OpenDescriptors() == 0, "a failed start leaves nothing open");
            isSpoilt = false;
            tables = std::make_unique<Tables>(chosen);
            Demand(Start(front, *tables) == 0, "a second try with good tables succeeds");
        }
        FrontPlayer player(source, front, device, clock);
        // Half of the devices stay healthy: in a long life, hardly one would by chance.
        player.Play(source.Flag());
        CalmDown(front);
        player.Settle();
        if (!isSpoilt && !player.HadMishap()) {
            DemandBase(device, base);
            clock.Advance(std::chrono::seconds(61));
            player.Settle();
            DemandBase(device, base);
        }
    }
    Demand(device.OpenDescriptors() == 0, "every node is closed in the end");
}

}  // namespace corebeacon::fuzz
