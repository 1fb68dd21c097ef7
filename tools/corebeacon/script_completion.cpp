#include "script_completion.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <span>
#include <utility>

#include "corebeacon/builtin_config.h"
#include "sim/eas_example.h"
#include "verb_table.h"

namespace corebeacon::tool {

namespace {

constexpr std::string_view kBlanks = " \t";
constexpr std::array<std::string_view, 2> kOperations = {"boost", "limit"};

std::vector<std::string_view> Split(std::string_view line) {
    std::vector<std::string_view> words;
    std::size_t begin = line.find_first_not_of(kBlanks);
    while (begin != std::string_view::npos) {
        const std::size_t end = std::min(line.find_first_of(kBlanks, begin), line.size());
        words.push_back(line.substr(begin, end - begin));
        begin = line.find_first_not_of(kBlanks, end);
    }
    return words;
}

/// Collects the candidates that begin as the word at hand does.
class Candidates {
public:
    explicit Candidates(std::string_view word) : mWord(word) {}

    std::string_view Word() const { return mWord; }
    void Add(std::string candidate) {
        const bool isNew = std::ranges::find(mTaken, candidate) == mTaken.end();
        if (candidate.starts_with(mWord) && isNew) {
            mTaken.push_back(std::move(candidate));
        }
    }
    std::vector<std::string> Take() { return std::move(mTaken); }

private:
    const std::string_view mWord;
    std::vector<std::string> mTaken;
};

/// "CPU_B.", then "CPU_B.boost=", or of a QoS with groups "EAS.7." and "EAS.7.boost=", then
/// the levels.
void AddQosValues(const ScriptWords& words, Candidates& candidates) {
    for (const ScriptQos& qos : words.qos) {
        const std::string stem = qos.name + ".";
        if (!candidates.Word().starts_with(stem)) {
            candidates.Add(stem);
            continue;
        }
        for (const auto& [group, levels] : qos.groups) {
            const std::string withGroup = stem + std::to_string(group) + ".";
            const bool isNamed = candidates.Word().starts_with(withGroup);
            if (group != 0 && !isNamed) {
                candidates.Add(withGroup);
            }
            if (group != 0 && !isNamed) {
                continue;
            }
            for (const std::string_view operation : kOperations) {
                const std::string key = (isNamed ? withGroup : stem) + std::string(operation) + "=";
                if (!candidates.Word().starts_with(key)) {
                    candidates.Add(key);
                    continue;
                }
                for (const int level : levels) {
                    candidates.Add(key + std::to_string(level));
                }
            }
        }
    }
}

void AddNumbers(const VerbRow& verb, const ScriptWords& words, Candidates& candidates) {
    constexpr unsigned kFew = 10;
    if (verb.verb == Verb::SCENARIO || verb.verb == Verb::EVENT) {
        for (const unsigned id : verb.verb == Verb::SCENARIO ? words.scenarios : words.events) {
            candidates.Add(std::to_string(id));
        }
    } else if (verb.maxNumber < kFew) {
        for (unsigned number = verb.minNumber; number <= verb.maxNumber; ++number) {
            candidates.Add(std::to_string(number));
        }
    }
}

void AddParameter(Parameter kind, const VerbRow& verb, const ScriptWords& words,
                  Candidates& candidates) {
    switch (kind) {
        case Parameter::PID:
            candidates.Add("pid=");
            break;
        case Parameter::FOR:
            candidates.Add("for=");
            break;
        case Parameter::QOS_VALUES:
            AddQosValues(words, candidates);
            break;
        case Parameter::AS_NAME:
            candidates.Add("as");
            break;
        case Parameter::REQUEST_NAME:
            for (const std::string& name : words.requestNames) {
                candidates.Add(name);
            }
            break;
        case Parameter::NUMBER:
            AddNumbers(verb, words, candidates);
            break;
        case Parameter::CHOICE:
            for (const std::string_view choice : verb.choices) {
                candidates.Add(std::string(choice));
            }
            break;
        case Parameter::QOS_NAMES:
        case Parameter::TARGETS:
            for (const ScriptQos& qos : words.qos) {
                candidates.Add(qos.name);
            }
            break;
        default:
            break;  // times and free words are the user's own
    }
}

bool IsRepeatable(Parameter kind) {
    return kind == Parameter::QOS_VALUES || kind == Parameter::QOS_NAMES ||
           kind == Parameter::TARGETS;
}

/// Which parameter a finished word is, as far as it needs no table to tell.
Parameter KindOfWord(std::string_view word) {
    if (word.starts_with("pid=")) {
        return Parameter::PID;
    }
    if (word.starts_with("for=")) {
        return Parameter::FOR;
    }
    if (word.find('=') != std::string_view::npos) {
        return Parameter::QOS_VALUES;
    }
    return word == "as" ? Parameter::AS_NAME : Parameter::NONE;
}

/// The parameters that may still come after the words before. A word without a key stands for the
/// first parameter without one that has not been given.
std::vector<Parameter> Open(const VerbRow& verb, std::span<const std::string_view> before) {
    std::vector<Parameter> open;
    for (const ParameterRow& row : verb.parameters) {
        if (row.kind != Parameter::NONE) {
            open.push_back(row.kind);
        }
    }
    const auto close = [&open](auto found) {
        if (found != open.end() && !IsRepeatable(*found)) {
            open.erase(found);
        }
    };
    for (std::size_t i = 0; i < before.size(); ++i) {
        const Parameter kind = KindOfWord(before[i]);
        if (kind == Parameter::NONE) {
            close(std::ranges::find_if(open, IsPositional));
        } else {
            close(std::ranges::find(open, kind));
            i += kind == Parameter::AS_NAME ? 1 : 0;  // its name
        }
    }
    return open;
}

/// Of keyless parameters only the next counts: "event st" is no number.
void KeepFirstKeyless(std::vector<Parameter>& open) {
    bool isLater = false;
    std::erase_if(open, [&isLater](Parameter kind) {
        return IsPositional(kind) && std::exchange(isLater, true);
    });
}

void AddVerbs(Candidates& candidates) {
    for (const VerbRow& row : VerbTable()) {
        candidates.Add(std::string(row.name));
    }
}

}  // namespace

ScriptWords WordsOf(const PerfQosConfigMap& table,
                    const std::vector<ConfigurableScenario>& scenarios,
                    const std::vector<ConfigurableEvent>& events) {
    ScriptWords words;
    for (const auto& [qosId, config] : table) {
        // A board's own name means nothing to a script; its id does.
        const char* const name = PerfQosName(qosId);
        ScriptQos qos{name != nullptr ? name : std::to_string(qosId), {}};
        for (const PerfGroupConfig& row : config.get().groups) {
            std::vector<int>& levels = qos.groups[row.groupId];
            std::ranges::transform(row.level2ValueMap, std::back_inserter(levels),
                                   [](const auto& level) { return level.first; });
        }
        words.qos.push_back(std::move(qos));
    }
    std::ranges::transform(scenarios, std::back_inserter(words.scenarios),
                           &ConfigurableScenario::scenarioId);
    std::ranges::transform(events, std::back_inserter(words.events), &ConfigurableEvent::eventId);
    return words;
}

ScriptWords BuiltinWords(unsigned chip) {
    board::Board board = board::BuiltinBoard(chip);
    board.qos.emplace(PERF_QOS_EAS, board::AsLoaded(sim::MakeEasConfig()));
    return WordsOf(board.QosMap(), board.scenarios, board.events);
}

std::vector<std::string> CompleteScript(std::string_view line, const ScriptWords& words) {
    const std::string_view last = LastWordOf(line);
    const std::vector<std::string_view> before = Split(line.substr(0, line.size() - last.size()));
    Candidates candidates(last);
    const bool isComment = line.find('#') != std::string_view::npos;
    const bool isName = !before.empty() && before.back() == "as";
    if (isComment || isName) {
        return {};
    }
    if (before.empty()) {
        AddVerbs(candidates);
        return candidates.Take();
    }
    const VerbRow* const verb = FindVerb(before.front());
    if (verb == nullptr) {
        return {};
    }
    std::vector<Parameter> open = Open(*verb, std::span(before).subspan(1));
    KeepFirstKeyless(open);
    for (const Parameter kind : open) {
        AddParameter(kind, *verb, words, candidates);
    }
    return candidates.Take();
}

std::string_view LastWordOf(std::string_view line) {
    const std::size_t blank = line.find_last_of(kBlanks);
    return blank == std::string_view::npos ? line : line.substr(blank + 1);
}

}  // namespace corebeacon::tool
