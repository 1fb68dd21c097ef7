#include <chrono>
#include <cstdio>
#include <cstring>

#include "explain/explanation.h"
#include "printable.h"
#include "text_table.h"

namespace corebeacon::tool {

namespace {

/// In seconds of the run.
std::string TimeText(TimePoint time, const Explanation& explanation) {
    using std::chrono::milliseconds;
    const auto millis = std::chrono::duration_cast<milliseconds>(time - explanation.begin).count();
    const auto size = millis < 0 ? -millis : millis;
    char text[40];
    std::snprintf(text, sizeof(text), "%s%lld.%03lld", millis < 0 ? "-" : "",
                  static_cast<long long>(size / 1000), static_cast<long long>(size % 1000));
    return text;
}

std::string PairText(const GroupPair& pair) {
    return std::to_string(pair.floor) + "~" + std::to_string(pair.ceiling);
}

const char* OperationText(PerfOperationType operation) {
    return operation == PERF_OPERATION_BOOST ? "boost" : "limit";
}

std::string OriginText(const GroupItemState& item) {
    switch (item.origin) {
        case RequestOrigin::CLIENT:
            return "pid " + std::to_string(item.pid);
        case RequestOrigin::EVENT:
            return "event " + std::to_string(item.eventId);
        case RequestOrigin::PROBE:
            return "the probe of thread " + std::to_string(item.pid);
        default:
            return "of nobody any more";
    }
}

std::string WhoText(const GroupItemState& item, const Explanation& explanation) {
    std::string name = NameOf(item, explanation);
    if (item.handle == GroupState::kNobody) {
        return name;
    }
    const std::string handle = "handle " + std::to_string(item.handle);
    const std::string origin = OriginText(item);
    return name == handle || name == origin ? handle + ", " + origin
                                            : name + " (" + handle + ", " + origin + ")";
}

std::string UntilText(const GroupItemState& item, const Explanation& explanation) {
    if (item.handle == GroupState::kNobody) {
        return "";
    }
    if (!item.isTimed) {
        return "until released";
    }
    return (item.rule == GroupRule::WAITING ? "from " + TimeText(item.start, explanation) + " "
                                            : std::string()) +
           "until " + TimeText(item.end, explanation);
}

/// What follows an item that decides a side.
std::string SequelText(const GroupItemState& item) {
    if (item.handle == GroupState::kNobody) {
        return "";
    }
    if (!item.isTimed) {
        return "; released, " + PairText(item.afterRelease);
    }
    if (item.afterEnd == item.afterRelease) {
        return "; then " + PairText(item.afterEnd);
    }
    return "; then " + PairText(item.afterEnd) + ", released now " + PairText(item.afterRelease);
}

std::string WhyText(const GroupItemState& item, const GroupState& group,
                    const Explanation& explanation) {
    std::string text;
    if (item.Decides()) {
        text = item.decidesFloor && item.decidesCeiling ? "decides floor and ceiling"
               : item.decidesFloor                      ? "decides the floor"
                                                        : "decides the ceiling";
        text += SequelText(item);
    }
    const std::string rule = RuleText(item, group, explanation);
    text += (text.empty() || rule.empty() ? "" : "; ") + rule;
    if (const std::optional<int> asked = AskedOtherwise(item, group, explanation)) {
        const bool isBound = item.value == group.rangeMin || item.value == group.rangeMax;
        text += "; asked for " + std::to_string(*asked) +
                (isBound ? ", brought into the range" : ", taken in the unit of the table");
    }
    return text;
}

std::string HeadText(const GroupState& group, const Explanation& explanation) {
    std::string text = Printable(group.qosName);
    if (group.name != group.qosName) {
        text += "." + std::to_string(group.groupId) + " " + Printable(group.name);
    }
    text +=
        ": " + PairText(group.inForce) + " in force at " + TimeText(group.inspectedAt, explanation);
    if (group.isSuspended) {
        text += ", but suspended: nothing is written";
    }
    return text + "\n  work mode " + std::to_string(group.workMode) + ", range " +
           std::to_string(group.rangeMin) + "~" + std::to_string(group.rangeMax) +
           (group.isClamping ? " (values beyond it are brought into it)" : "") + ", base " +
           PairText(group.base) + "\n";
}

std::string NodeText(const NodeState& node) {
    switch (node.status) {
        case NodeWriteStatus::WRITTEN:
            return node.text;
        case NodeWriteStatus::FAILED:
            return "did not take " + node.text + ": " +
                   (node.error == 0 ? std::string("cut short") : std::strerror(node.error));
        default:
            return "nothing written";
    }
}

std::string GroupText(const GroupState& group, const Explanation& explanation) {
    TextTable items;
    // Who decides comes first.
    for (const bool isWinner : {true, false}) {
        for (const GroupItemState& item : group.items) {
            if (item.Decides() == isWinner) {
                items.AddRow({OperationText(item.operation), std::to_string(item.value),
                              WhoText(item, explanation), UntilText(item, explanation),
                              WhyText(item, group, explanation)});
            }
        }
    }
    TextTable nodes;
    for (const NodeState& node : group.nodes) {
        nodes.AddRow({node.path, NodeText(node)});
    }
    return HeadText(group, explanation) + items.Text("  ") + nodes.Text("  node ");
}

}  // namespace

std::string ExplanationText(const Explanation& explanation) {
    std::string text;
    for (const GroupState& group : explanation.groups) {
        text += (text.empty() ? "" : "\n") + GroupText(group, explanation);
    }
    return text;
}

}  // namespace corebeacon::tool
