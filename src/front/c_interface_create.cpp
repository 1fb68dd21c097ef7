// How an engine of the C interface comes and goes: options to tables, tables to an engine.
#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <utility>

#include "corebeacon/builtin_config.h"
#include "front/c_interface.h"

namespace corebeacon::c_interface {

namespace {

/// Everything that Init is given.
struct Tables {
    HandleLimits limits;
    std::vector<PerfQosConfig> ownQos;
    PerfDefaultConfig config;
    std::vector<ConfigurableEvent> events;
    std::vector<ConfigurableScenario> scenarios;
    ProbeEvent probe;
};

constexpr const char* kCreate = "corebeacon_create";

constexpr RecordSizes kOptionsSizes = {
    offsetof(corebeacon_options, reserved_pid) + sizeof(corebeacon_options::reserved_pid),
    sizeof(corebeacon_options)};
constexpr RecordSizes kProbeSizes = {
    offsetof(corebeacon_probe, gpu) + sizeof(corebeacon_probe::gpu), sizeof(corebeacon_probe)};

unsigned int OrDefault(std::uint32_t told, unsigned int byDefault) {
    return told != 0 ? told : byDefault;
}

HandleLimits LimitsOf(const corebeacon_options& options) {
    const HandleLimits defaults;
    return {.maxProcesses = OrDefault(options.max_processes, defaults.maxProcesses),
            .maxHandlesPerProcess =
                OrDefault(options.max_handles_per_process, defaults.maxHandlesPerProcess),
            .maxHandles = OrDefault(options.max_handles, defaults.maxHandles),
            .reservedPid = options.reserved_pid};
}

int TakeMachine(const corebeacon_options& options, PerfConfigControlInfo& machine) {
    if (!IsArray(options.invalid_clusters, options.invalid_cluster_count)) {
        return BadArgument(kCreate, "no invalid clusters");
    }
    machine.chipType = static_cast<ChipTypeAvailableValue>(options.chip);
    machine.cpuBoostEnabled = options.cpu_boost != 0;
    machine.boardIpaEnabled = options.board_ipa != 0;
    for (std::size_t i = 0; i < options.invalid_cluster_count; ++i) {
        if (options.invalid_clusters[i] == nullptr) {
            return BadArgument(kCreate, "no name of an invalid cluster");
        }
        machine.invalidClusters.emplace_back(options.invalid_clusters[i]);
    }
    return 0;
}

/// Adds the QoS of the caller's own to the table, which refers to them.
int TakeOwnQos(const corebeacon_options& options, Tables& tables) {
    if (!IsArray(options.own_qos, options.own_qos_count)) {
        return BadArgument(kCreate, "no QoS of one's own");
    }
    tables.ownQos.reserve(options.own_qos_count);
    for (std::size_t i = 0; i < options.own_qos_count; ++i) {
        const corebeacon_own_qos& own = options.own_qos[i];
        if (own.qos >= COREBEACON_QOS_INVALID || own.name == nullptr || own.node_path == nullptr) {
            return BadArgument(kCreate, "a QoS of one's own without id, name or node");
        }
        const PerfGroupConfig row(0U, std::string(own.name), own.min, own.max, own.base, own.max,
                                  {own.node_path}, CHIP_TYPE_COMMON);
        tables.ownQos.emplace_back(own.name, std::vector<PerfGroupConfig>{row});
        tables.config.qosConfigMap.insert_or_assign(static_cast<PerfQosId>(own.qos),
                                                    std::ref(tables.ownQos.back()));
    }
    return 0;
}

/// Leaves the QoS that the caller named in the table.
int NarrowToQos(const corebeacon_options& options, PerfQosConfigMap& table) {
    if (options.qos == nullptr && options.qos_count == 0) {
        return 0;
    }
    if (!IsArray(options.qos, options.qos_count)) {
        return BadArgument(kCreate, "no QoS");
    }
    PerfQosConfigMap narrowed;
    for (std::size_t i = 0; i < options.qos_count; ++i) {
        const auto found = table.find(static_cast<PerfQosId>(options.qos[i]));
        if (found == table.end()) {
            return BadArgument(kCreate, "a QoS that the table has not");
        }
        narrowed.insert(*found);
    }
    table = std::move(narrowed);
    return 0;
}

int TakeScenarios(const corebeacon_options& options, Tables& tables) {
    if (options.scenarios == nullptr && options.scenario_count == 0) {
        tables.scenarios = GetConfigurableScenarioVec(tables.config.controlInfo.chipType);
        return 0;
    }
    if (!IsArray(options.scenarios, options.scenario_count)) {
        return BadArgument(kCreate, "no scenarios");
    }
    for (std::size_t i = 0; i < options.scenario_count; ++i) {
        const corebeacon_scenario& scenario = options.scenarios[i];
        if (!IsArray(scenario.items, scenario.item_count)) {
            return BadArgument(kCreate, "no items of a scenario");
        }
        tables.scenarios.push_back(
            {scenario.scenario, ToRequest(scenario.items, scenario.item_count)});
    }
    return 0;
}

/// The event of that id and what it does to that QoS, both made when they are not there yet.
QosCommand& CommandOf(std::vector<ConfigurableEvent>& events, PerfEventId eventId,
                      PerfQosId qosId) {
    auto event = std::ranges::find(events, eventId, &ConfigurableEvent::eventId);
    if (event == events.end()) {
        event = events.insert(events.end(), {eventId, {}});
    }
    auto command = std::ranges::find(event->qosCommands, qosId, &QosCommand::qosId);
    if (command == event->qosCommands.end()) {
        command = event->qosCommands.insert(command, {qosId, {}});
    }
    return *command;
}

int TakeEvents(const corebeacon_options& options, Tables& tables) {
    if (options.event_steps == nullptr && options.event_step_count == 0) {
        tables.events = GetConfigurableEventVec(tables.config.controlInfo.chipType);
        return 0;
    }
    if (!IsArray(options.event_steps, options.event_step_count)) {
        return BadArgument(kCreate, "no event steps");
    }
    for (std::size_t i = 0; i < options.event_step_count; ++i) {
        const corebeacon_event_step& step = options.event_steps[i];
        if (!IsArray(step.items, step.item_count)) {
            return BadArgument(kCreate, "no items of an event step");
        }
        std::vector<PerfRequestInfo> values = ToRequest(step.items, step.item_count);
        if (values.size() != 1) {
            return BadArgument(kCreate, "the items of an event step name no QoS or several");
        }
        CommandOf(tables.events, step.event, values.front().qosId)
            .sequence.push_back({step.duration_ms, std::move(values.front().groups)});
    }
    return 0;
}

int TakeProbe(const corebeacon_options& options, ProbeEvent& probe) {
    if (options.probe == nullptr) {
        return 0;
    }
    corebeacon_probe told = {};
    if (!TakeRecord(options.probe, options.probe->size, kProbeSizes, &told)) {
        return BadArgument(kCreate, "a probe of an unknown size");
    }
    if (told.node_path == nullptr || told.bind_text == nullptr || told.unbind_text == nullptr) {
        return BadArgument(kCreate, "a probe without its texts");
    }
    probe = {.nodePath = told.node_path,
             .bindText = told.bind_text,
             .unbindText = told.unbind_text,
             .startDelayMs = told.start_delay_ms,
             .spanMs = told.span_ms,
             .cpuM = told.cpu_m,
             .cpuB = told.cpu_b,
             .gpu = told.gpu};
    return 0;
}

int TakeTables(const corebeacon_options& options, Tables& tables) {
    tables.limits = LimitsOf(options);
    tables.config.workMode = static_cast<PerfWorkMode>(options.work_mode);
    tables.config.qosConfigMap = GetPerfQosConfigMap();
    const bool isTaken = TakeMachine(options, tables.config.controlInfo) == 0 &&
                         TakeOwnQos(options, tables) == 0 &&
                         NarrowToQos(options, tables.config.qosConfigMap) == 0 &&
                         TakeScenarios(options, tables) == 0 && TakeEvents(options, tables) == 0 &&
                         TakeProbe(options, tables.probe) == 0;
    return isTaken ? 0 : -1;
}

int Create(const corebeacon_options& options, corebeacon_engine*& engine) {
    MutexLock lock(SetUpMutex());
    Tables tables;
    if (TakeTables(options, tables) != 0) {
        return -1;
    }
    auto created = std::make_unique<corebeacon_engine>(tables.limits);
    if (created->front.Init(tables.config, tables.events, tables.scenarios, tables.probe) != 0) {
        return -1;
    }
    engine = created.release();
    ++LiveEngines();
    return 0;
}

}  // namespace

Mutex& SetUpMutex() {
    static Mutex mutex;
    return mutex;
}

std::size_t& LiveEngines() {
    static std::size_t count = 0;
    return count;
}

}  // namespace corebeacon::c_interface

using namespace corebeacon;
using namespace corebeacon::c_interface;

int corebeacon_create(const corebeacon_options* options, corebeacon_engine** engine) noexcept {
    if (engine == nullptr) {
        return BadArgument(__func__, "nowhere to put the engine");
    }
    *engine = nullptr;
    corebeacon_options told = {};
    if (options != nullptr && !TakeRecord(options, options->size, kOptionsSizes, &told)) {
        return BadArgument(__func__, "options of an unknown size");
    }
    return Guarded(__func__, [&] { return Create(told, *engine); });
}

void corebeacon_destroy(corebeacon_engine* engine) noexcept {
    if (engine == nullptr) {
        return;
    }
    delete engine;
    MutexLock lock(SetUpMutex());
    --LiveEngines();
}
