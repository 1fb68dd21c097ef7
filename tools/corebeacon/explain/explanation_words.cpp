// What an explanation calls requests and rules.
#include <algorithm>

#include "explain/explanation.h"

namespace corebeacon::tool {

namespace {

const GroupItemState* FindItem(const GroupState& group, unsigned long handle,
                               PerfOperationType operation) {
    const auto found =
        std::ranges::find_if(group.items, [handle, operation](const GroupItemState& item) {
            return item.handle == handle && item.operation == operation;
        });
    return found == group.items.end() ? nullptr : &*found;
}

/// "the limit 1000 of h1".
std::string Winner(const GroupItemState& item, PerfOperationType operation, const GroupState& group,
                   const Explanation& explanation) {
    const GroupItemState* const winner = FindItem(group, item.beatenBy, operation);
    std::string text = operation == PERF_OPERATION_BOOST ? "the boost" : "the limit";
    if (winner != nullptr) {
        text += " " + std::to_string(winner->value);
    }
    return text + " of " + NameOf(item.beatenBy, group, explanation);
}

std::string ModeText(const GroupState& group) {
    return " in work mode " + std::to_string(group.workMode);
}

}  // namespace

std::string NameOf(const GroupItemState& item, const Explanation& explanation) {
    if (item.handle == GroupState::kNobody) {
        return "the base value";
    }
    const auto held = explanation.held.find(item.handle);
    if (held != explanation.held.end()) {
        return held->second.label;
    }
    return item.origin == RequestOrigin::EVENT ? "event " + std::to_string(item.eventId)
                                               : "handle " + std::to_string(item.handle);
}

std::string NameOf(unsigned long handle, const GroupState& group, const Explanation& explanation) {
    const auto found = std::ranges::find(group.items, handle, &GroupItemState::handle);
    return found == group.items.end() ? "handle " + std::to_string(handle)
                                      : NameOf(*found, explanation);
}

std::optional<int> AskedOtherwise(const GroupItemState& item, const GroupState& group,
                                  const Explanation& explanation) {
    const auto held = explanation.held.find(item.handle);
    // Of an event nobody knows here which step the item is.
    if (held == explanation.held.end() || held->second.event) {
        return std::nullopt;
    }
    for (const PerfRequestInfo& request : held->second.request) {
        for (const GroupInfo& part : request.groups) {
            for (const auto& [operation, value] : part.values) {
                if (request.qosId == group.qosId && part.groupId == group.groupId &&
                    operation == item.operation && value != item.value) {
                    return value;
                }
            }
        }
    }
    return std::nullopt;
}

std::string RuleText(const GroupItemState& item, const GroupState& group,
                     const Explanation& explanation) {
    const auto winner = [&](PerfOperationType operation) {
        return Winner(item, operation, group, explanation);
    };
    switch (item.rule) {
        case GroupRule::IN_FORCE:
            return "";
        case GroupRule::LOWER_BOOST:
            return "lower than the floor of " + NameOf(item.beatenBy, group, explanation);
        case GroupRule::HIGHER_LIMIT:
            return "higher than " + winner(PERF_OPERATION_LIMIT);
        case GroupRule::EQUAL:
            return "no more than " + NameOf(item.beatenBy, group, explanation) +
                   " gives, which was there first";
        case GroupRule::LIMIT_WINS:
            return winner(PERF_OPERATION_LIMIT) + " wins over it" + ModeText(group);
        case GroupRule::BOOST_WINS:
            return winner(PERF_OPERATION_BOOST) + " wins over it" + ModeText(group);
        case GroupRule::ESCAPED:
            return "escaped by " + winner(PERF_OPERATION_BOOST) + ", which is timed";
        case GroupRule::REPLACED:
            return winner(PERF_OPERATION_LIMIT) + " counts in its place, being timed";
        case GroupRule::NOT_TIGHTENING:
            return "being timed, it does not tighten " + winner(PERF_OPERATION_LIMIT);
        case GroupRule::IGNORED:
            return "a timed limit counts for nothing" + ModeText(group);
        case GroupRule::WAITING:
            return "waits for its start";
        case GroupRule::EXPIRED:
            return "has ended";
    }
    return "";
}

}  // namespace corebeacon::tool
