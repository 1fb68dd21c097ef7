/// Why nodes have the values that they have: the state of groups as the engine tells it, with the
/// names by which the script knows the requests. Made by the player, of its session; plain values
/// on one thread.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "corebeacon/group_state.h"
#include "engine_session.h"
#include "run_observer.h"

namespace corebeacon::tool {

struct Explanation {
    TimePoint begin;  ///< of the run, from which times are counted
    std::vector<GroupState> groups;
    std::map<unsigned long, HeldRequest> held;  ///< by handle
};

/// The groups that the words name, each once, in their order: a QoS by name or id, a group of it by
/// QOS.GROUP with its id or its name, a node by its path or the last parts of it. Nothing, and
/// `problem` a clause, for a word that names none.
std::optional<std::vector<GroupState>> FindGroups(EngineSession& session,
                                                  const std::vector<std::string>& words,
                                                  std::string& problem);

/// By what the script calls it: "h1", "event 4", "the base value".
std::string NameOf(const GroupItemState& item, const Explanation& explanation);
std::string NameOf(unsigned long handle, const GroupState& group, const Explanation& explanation);

/// What the script asked for, where the engine took it for another value.
std::optional<int> AskedOtherwise(const GroupItemState& item, const GroupState& group,
                                  const Explanation& explanation);

/// The rule that beat an item, in words that name the winner; "" for one in force.
std::string RuleText(const GroupItemState& item, const GroupState& group,
                     const Explanation& explanation);

/// For a person: a paragraph a group.
std::string ExplanationText(const Explanation& explanation);

}  // namespace corebeacon::tool
