// The elements that ask for values: <scenario>, <event>, <probe>.
#include <algorithm>
#include <utility>

#include "board/reading.h"
#include "near_match.h"

namespace corebeacon::board {

namespace {

constexpr std::int64_t kMaxEventId = 19;
constexpr std::int64_t kMinStepMs = 20;
constexpr std::int64_t kMaxStepMs = 60000;

/// The QoS that the attribute `qos` tells, by name or by id.
std::optional<PerfQosId> ReadQosReference(Element& element, const Board& board) {
    const auto text = element.Text("qos", true);
    if (!text) {
        return std::nullopt;
    }
    const std::optional<PerfQosId> found = QosByReference(board, *text);
    if (!found) {
        element.Complain("qos",
                         "unknown QoS " + Quoted(*text) + tool::DidYouMean(*text, QosNames(board)));
    }
    return found;
}

/// The values of a <set>, added to its group.
void ReadValues(Element& element, std::optional<PerfQosId> qosId, std::vector<GroupInfo>& groups,
                BoardPlaces& places) {
    GroupInfo group;
    group.groupId = static_cast<unsigned>(element.Number("group", false, 0).value_or(0));
    const std::pair<const char*, PerfOperationType> kinds[] = {{"boost", PERF_OPERATION_BOOST},
                                                               {"limit", PERF_OPERATION_LIMIT}};
    bool hasAny = false;
    for (const auto& [attribute, operation] : kinds) {
        hasAny = element.Has(attribute) || hasAny;
        if (const auto value = element.Number(attribute)) {
            group.values.emplace_back(operation, static_cast<int>(*value));
            places.values.push_back({element.WhereIs(attribute), qosId.value_or(PERF_QOS_INVALID),
                                     group.groupId, operation, static_cast<int>(*value)});
        }
    }
    element.Finish({});
    if (!hasAny) {
        element.Complain("<set> needs a 'boost' or a 'limit'");
    }
    if (std::ranges::find(groups, group.groupId, &GroupInfo::groupId) != groups.end()) {
        element.Complain("group " + std::to_string(group.groupId) + " of the QoS is set twice");
        return;
    }
    groups.push_back(std::move(group));
}

SequenceCommand ReadStep(Element element, std::optional<PerfQosId> qosId, BoardPlaces& places) {
    SequenceCommand step;
    step.duration = static_cast<std::uint32_t>(
        element.Number("ms", true, kMinStepMs, kMaxStepMs).value_or(kMinStepMs));
    for (Element set : element.Finish({"set"})) {
        ReadValues(set, qosId, step.groups, places);
    }
    if (step.groups.empty()) {
        element.Complain("<step> needs a <set>");
    }
    return step;
}

QosCommand ReadSequence(Element element, ReadBoard& read) {
    const std::optional<PerfQosId> qosId = ReadQosReference(element, read.board);
    QosCommand command{qosId.value_or(PERF_QOS_INVALID), {}};
    for (const Element& step : element.Finish({"step"})) {
        command.sequence.push_back(ReadStep(step, qosId, read.places));
    }
    if (command.sequence.empty()) {
        element.Complain("<sequence> needs a <step>");
    }
    return command;
}

}  // namespace

void ReadScenario(Element element, ReadBoard& read) {
    ConfigurableScenario scenario;
    const auto id = element.Number("id", true, 0);
    scenario.scenarioId = static_cast<PerfScenarioId>(id.value_or(0));
    std::vector<PerfRequestInfo>& requests = scenario.requests;
    for (Element set : element.Finish({"set"})) {
        const std::optional<PerfQosId> qosId = ReadQosReference(set, read.board);
        const PerfQosId target = qosId.value_or(PERF_QOS_INVALID);
        auto request = std::ranges::find(requests, target, &PerfRequestInfo::qosId);
        if (request == requests.end()) {
            request = requests.insert(requests.end(), {target, {}});
        }
        ReadValues(set, qosId, request->groups, read.places);
    }
    if (requests.empty()) {
        element.Complain("<scenario> needs a <set>");
    }
    auto& scenarios = read.board.scenarios;
    if (id && std::ranges::find(scenarios, scenario.scenarioId,
                                &ConfigurableScenario::scenarioId) != scenarios.end()) {
        element.Complain("id", "scenario " + std::to_string(*id) + " is described twice");
    }
    scenarios.push_back(std::move(scenario));
}

void ReadEvent(Element element, ReadBoard& read) {
    ConfigurableEvent event;
    const auto id = element.Number("id", true, 0, kMaxEventId);
    event.eventId = static_cast<PerfEventId>(id.value_or(0));
    for (const Element& sequence : element.Finish({"sequence"})) {
        event.qosCommands.push_back(ReadSequence(sequence, read));
    }
    if (event.qosCommands.empty()) {
        element.Complain("<event> needs a <sequence>");
    }
    auto& events = read.board.events;
    if (id &&
        std::ranges::find(events, event.eventId, &ConfigurableEvent::eventId) != events.end()) {
        element.Complain("id", "event " + std::to_string(*id) + " is described twice");
    }
    events.push_back(std::move(event));
}

void ReadProbe(Element element, ProbeEvent& probe) {
    const auto number = [&element](const char* attribute) {
        return element.Number(attribute, false, 0).value_or(0);
    };
    probe.nodePath = element.Text("node", true).value_or("");
    probe.bindText = element.Text("bind", true).value_or("");
    probe.unbindText = element.Text("unbind", true).value_or("");
    probe.startDelayMs = static_cast<std::uint32_t>(number("delay-ms"));
    probe.spanMs = static_cast<std::uint32_t>(number("span-ms"));
    probe.cpuM = static_cast<int>(number("cpu-m"));
    probe.cpuB = static_cast<int>(number("cpu-b"));
    probe.gpu = static_cast<int>(number("gpu"));
    element.Finish({});
}

}  // namespace corebeacon::board
