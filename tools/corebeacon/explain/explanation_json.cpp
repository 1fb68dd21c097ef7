#include "explain/explanation_json.h"

#include <array>
#include <chrono>
#include <cstring>

#include <nlohmann/json.hpp>

namespace corebeacon::tool {

namespace {

template <typename Enum, std::size_t Size>
const char* Word(Enum value, const std::array<const char*, Size>& words) {
    const auto at = static_cast<std::size_t>(value);
    return at < Size ? words[at] : "unknown";
}

constexpr std::array kKinds = {"other",        "frequency",       "ddr",       "single_node",
                               "level_map",    "ioctl_level_map", "ipa_power", "ipa_switch_temp",
                               "target_ratio", "monitor_enable"};
constexpr std::array kStatuses = {"nothing_written", "written", "failed"};
constexpr std::array kOrigins = {"nobody", "client", "event", "probe"};
constexpr std::array kRules = {"in_force",       "lower_boost", "higher_limit", "equal",
                               "limit_wins",     "boost_wins",  "escaped",      "replaced",
                               "not_tightening", "ignored",     "waiting",      "expired"};

class Writer {
public:
    explicit Writer(const Explanation& explanation) : mExplanation(explanation) {}

    Json Group(const GroupState& group) const {
        Json json;
        json["qos"] = group.qosName;
        json["qos_id"] = static_cast<unsigned>(group.qosId);
        json["group"] = group.name;
        json["group_id"] = group.groupId;
        json["kind"] = Word(group.kind, kKinds);
        json["time_us"] = Micros(group.inspectedAt);
        json["work_mode"] = static_cast<unsigned>(group.workMode);
        json["suspended"] = group.isSuspended;
        json["in_force"] = Pair(group.inForce);
        json["base"] = Pair(group.base);
        json["range"] = {{"min", group.rangeMin}, {"max", group.rangeMax}};
        json["clamping"] = group.isClamping;
        json["next_change_us"] =
            group.nextWakeUp == TimePoint{} ? Json() : Micros(group.nextWakeUp);
        json["requests"] = Json::array();
        for (const GroupItemState& item : group.items) {
            json["requests"].push_back(Item(item, group));
        }
        json["nodes"] = Json::array();
        for (const NodeState& node : group.nodes) {
            json["nodes"].push_back(Node(node));
        }
        return json;
    }

private:
    Json Micros(TimePoint time) const {
        using std::chrono::microseconds;
        return std::chrono::duration_cast<microseconds>(time - mExplanation.begin).count();
    }

    static Json Pair(const GroupPair& pair) {
        return {{"floor", pair.floor}, {"ceiling", pair.ceiling}};
    }

    static Json Node(const NodeState& node) {
        Json json = {{"path", node.path}, {"status", Word(node.status, kStatuses)}};
        if (node.status != NodeWriteStatus::NOTHING_WRITTEN) {
            json["text"] = node.text;
        }
        if (node.status == NodeWriteStatus::FAILED) {
            json["errno"] = node.error;
            json["error"] = node.error == 0 ? "cut short" : std::strerror(node.error);
        }
        return json;
    }

    Json Item(const GroupItemState& item, const GroupState& group) const {
        const bool isBase = item.handle == GroupState::kNobody;
        Json json;
        json["name"] = NameOf(item, mExplanation);
        json["operation"] = item.operation == PERF_OPERATION_BOOST ? "boost" : "limit";
        json["value"] = item.value;
        json["origin"] = isBase ? "base" : Word(item.origin, kOrigins);
        if (!isBase) {
            json["handle"] = item.handle;
            json["timed"] = item.isTimed;
            json["start_us"] = Micros(item.start);
            json["end_us"] = item.isTimed ? Micros(item.end) : Json();
        }
        if (item.origin == RequestOrigin::CLIENT || item.origin == RequestOrigin::PROBE) {
            json[item.origin == RequestOrigin::CLIENT ? "pid" : "tid"] = item.pid;
        } else if (item.origin == RequestOrigin::EVENT) {
            json["event"] = item.eventId;
        }
        if (const std::optional<int> asked = AskedOtherwise(item, group, mExplanation)) {
            json["asked"] = *asked;
        }
        AddVerdict(item, group, json);
        return json;
    }

    void AddVerdict(const GroupItemState& item, const GroupState& group, Json& json) const {
        json["decides_floor"] = item.decidesFloor;
        json["decides_ceiling"] = item.decidesCeiling;
        json["rule"] = Word(item.rule, kRules);
        if (item.beatenBy != 0) {
            json["beaten_by"] = NameOf(item.beatenBy, group, mExplanation);
        }
        if (const std::string why = RuleText(item, group, mExplanation); !why.empty()) {
            json["why"] = why;
        }
        if (item.Decides() && item.handle != GroupState::kNobody) {
            json["after_release"] = Pair(item.afterRelease);
            json["after_end"] = Pair(item.afterEnd);
        }
    }

    const Explanation& mExplanation;
};

}  // namespace

Json ExplanationJson(const Explanation& explanation) {
    Json document = JsonDocument("explain");
    document["groups"] = Json::array();
    const Writer writer(explanation);
    for (const GroupState& group : explanation.groups) {
        document["groups"].push_back(writer.Group(group));
    }
    return document;
}

}  // namespace corebeacon::tool
