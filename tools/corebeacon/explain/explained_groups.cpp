// Which groups the words of an explanation name.
#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>

#include "explain/explanation.h"
#include "near_match.h"

namespace corebeacon::tool {

namespace {

std::optional<unsigned> Number(std::string_view text) {
    unsigned number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

/// `part` is the path or what follows one of its slashes.
bool EndsIn(const std::string& path, const std::string& part) {
    return path == part || (!part.empty() && path.ends_with("/" + part));
}

std::string Upper(std::string_view text) {
    std::string upper(text);
    std::ranges::transform(upper, upper.begin(), [](char letter) {
        return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
    });
    return upper;
}

bool IsGroup(const GroupState& group, std::string_view word) {
    const std::optional<unsigned> id = Number(word);
    return id ? group.groupId == *id : Upper(group.name) == Upper(word);
}

/// Looks up one word after the other.
class GroupFinder {
public:
    explicit GroupFinder(EngineSession& session) : mSession(session) {}

    /// Whether the word names anything.
    bool Add(const std::string& word) {
        const std::size_t dot = word.find('.');
        if (const std::optional<PerfQosId> qosId = QosOf(word)) {
            return AddGroups(*qosId, [](const GroupState&) { return true; });
        }
        if (dot != std::string::npos) {
            const std::string group = word.substr(dot + 1);
            const std::optional<PerfQosId> qosId = QosOf(word.substr(0, dot));
            if (qosId && AddGroups(*qosId, [&group](const GroupState& state) {
                    return IsGroup(state, group);
                })) {
                return true;
            }
        }
        return AddNode(word);
    }

    /// Of a word that names nothing.
    std::string WhyNot(const std::string& word) const {
        const std::optional<PerfQosId> named = QosOf(word.substr(0, word.find('.')));
        for (const UnsupportedQos& qos : mSession.Unsupported()) {
            if (named == qos.id) {
                return qos.name + " is not in service: " + qos.reason;
            }
        }
        std::vector<std::string_view> names;
        for (const auto& [qosId, config] : mSession.Table()) {
            names.emplace_back(config.get().name);
        }
        return "nothing here is called '" + word + "'" + DidYouMean(word, names);
    }

    std::vector<GroupState> Take() { return std::move(mFound); }

private:
    std::optional<PerfQosId> QosOf(std::string_view word) const {
        const std::optional<unsigned> id = Number(word);
        for (const auto& [qosId, config] : mSession.Table()) {
            if (id ? qosId == *id : Upper(config.get().name) == Upper(word)) {
                return qosId;
            }
        }
        return std::nullopt;
    }

    template <typename Wanted>
    bool AddGroups(PerfQosId qosId, Wanted isWanted) {
        std::vector<GroupState> groups;
        mSession.Engine().Inspect(qosId, groups);
        bool isAny = false;
        for (GroupState& group : groups) {
            if (isWanted(group)) {
                isAny = true;
                AddOnce(std::move(group));
            }
        }
        return isAny;
    }

    /// Several groups may write one node.
    bool AddNode(const std::string& part) {
        bool isAny = false;
        for (const auto& [qosId, config] : mSession.Table()) {
            isAny |= AddGroups(qosId, [&part](const GroupState& group) {
                return std::ranges::any_of(group.nodes, [&part](const NodeState& node) {
                    return EndsIn(node.path, part);
                });
            });
        }
        return isAny;
    }

    void AddOnce(GroupState group) {
        if (std::ranges::none_of(mFound, [&group](const GroupState& found) {
                return found.qosId == group.qosId && found.groupId == group.groupId;
            })) {
            mFound.push_back(std::move(group));
        }
    }

    EngineSession& mSession;
    std::vector<GroupState> mFound;
};

}  // namespace

std::optional<std::vector<GroupState>> FindGroups(EngineSession& session,
                                                  const std::vector<std::string>& words,
                                                  std::string& problem) {
    GroupFinder finder(session);
    for (const std::string& word : words) {
        if (!finder.Add(word)) {
            problem = finder.WhyNot(word);
            return std::nullopt;
        }
    }
    return finder.Take();
}

}  // namespace corebeacon::tool
