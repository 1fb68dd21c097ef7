#include "script_parser.h"

#include <algorithm>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "near_match.h"
#include "script_values.h"
#include "verb_table.h"

namespace corebeacon::tool {

namespace {

constexpr std::string_view kBlanks = " \t\r\v\f";
constexpr std::string_view kNameLetters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-";
constexpr std::size_t kMaxNameBytes = 64;
constexpr std::size_t kMaxLineBytes = 4096;

std::vector<Token> Split(const Token& line) {
    std::vector<Token> tokens;
    std::size_t begin = line.text.find_first_not_of(kBlanks);
    while (begin != std::string_view::npos) {
        const std::size_t end = std::min(line.text.find_first_of(kBlanks, begin), line.text.size());
        tokens.push_back(line.Part(begin, end - begin));
        begin = line.text.find_first_not_of(kBlanks, end);
    }
    return tokens;
}

std::string Join(const std::vector<Token>& tokens) {
    std::string text;
    for (const Token& token : tokens) {
        text += (text.empty() ? "" : " ") + std::string(token.text);
    }
    return text;
}

std::string UsageOf(const VerbRow& row) {
    return "; usage: " + std::string(row.name) + (row.usage.empty() ? "" : " ") +
           std::string(row.usage);
}

const char* NameOf(Parameter kind) {
    switch (kind) {
        case Parameter::PID:
            return "pid=";
        case Parameter::FOR:
            return "for=";
        case Parameter::QOS_VALUES:
            return "at least one QOS.boost=VALUE or QOS.limit=VALUE";
        case Parameter::REQUEST_NAME:
            return "the name of a request";
        case Parameter::TIME:
            return "a time";
        case Parameter::NUMBER:
            return "a number";
        case Parameter::QOS_NAMES:
            return "at least one QoS";
        case Parameter::TARGETS:
            return "at least one QoS, group or node";
        case Parameter::CHOICE:
            return "a choice";
        case Parameter::WORD:
            return "an option";
        default:
            return "as NAME";
    }
}

/// Takes any number of words.
bool IsList(Parameter kind) {
    return kind == Parameter::QOS_NAMES || kind == Parameter::TARGETS;
}

/// The verb that was meant, or else all there are.
std::string HintAtVerb(std::string_view word) {
    std::vector<std::string_view> names;
    std::string all;
    for (const VerbRow& row : VerbTable()) {
        names.push_back(row.name);
        all += (all.empty() ? "; the verbs are " : ", ") + std::string(row.name);
    }
    const std::string meant = DidYouMean(word, names);
    return meant.empty() ? all : meant;
}

class ScriptParser {
public:
    /// Both must outlive the parser.
    ScriptParser(std::string_view script, const ScriptContext& context)
        : mScript(script),
          mFirstLine(context.firstLine),
          mNames(context.names.begin(), context.names.end()) {}

    ParsedScript Parse();

private:
    void ParseLine(const Token& line);
    void AddNote(const Token& comment);
    void ParseStatement(const std::vector<Token>& tokens);
    void ParseParameters(const std::vector<Token>& tokens);
    void ParseKeyed(const Token& token, std::size_t equals);
    void ParseQosWord(const Token& key, const Token& value);
    void DirectAtBase(const Token& key, QosValue& value);
    void ParseAsName(const Token& as, const Token* name);
    void ParsePositional(const Token& token);
    void ParsePositional(Parameter kind, const Token& token);
    void ParseRequestName(const Token& token);
    void ParseChoice(const Token& token);
    void ParseQosName(const Token& token);
    void RejectTimeOfStop(const std::vector<Token>& tokens);
    void RejectWord(const Token& token);
    void DemandRequired(const Position& verb);
    bool IsFirst(Parameter kind, const Position& position);

    const std::string_view mScript;
    const unsigned mFirstLine;
    ErrorList mErrors;
    std::vector<Statement> mStatements;
    std::map<std::string_view, unsigned> mNames;  // of requests, with their lines

    // Of the line at hand.
    const VerbRow* mRow = nullptr;
    Statement mStatement;
    std::set<Parameter> mSeen;  // also those with a bad value, which are not missing
};

ParsedScript ScriptParser::Parse() {
    if (mScript.size() > kMaxScriptBytes) {
        mErrors.Add({1, 1},
                    "the script is longer than " + std::to_string(kMaxScriptBytes) + " bytes");
        return {{}, mErrors.Take()};
    }
    std::size_t begin = 0;
    for (unsigned line = mFirstLine; begin < mScript.size() && !mErrors.IsFull(); ++line) {
        const std::size_t end = std::min(mScript.find('\n', begin), mScript.size());
        ParseLine({mScript.substr(begin, end - begin), {line, 1}});
        begin = end + 1;
    }
    return {std::move(mStatements), mErrors.Take()};
}

void ScriptParser::ParseLine(const Token& line) {
    if (line.text.size() > kMaxLineBytes) {
        mErrors.Add(line.position,
                    "the line is longer than " + std::to_string(kMaxLineBytes) + " bytes");
        return;
    }
    const std::size_t hash = line.text.find('#');
    const std::vector<Token> tokens = Split(line.Part(0, hash));
    if (!tokens.empty()) {
        ParseStatement(tokens);
    } else if (hash != std::string_view::npos) {
        AddNote(line.Part(hash + 1));
    }
}

/// A comment with a line of its own tells the story of the script, and so belongs in its output.
void ScriptParser::AddNote(const Token& comment) {
    const std::size_t begin = comment.text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos) {
        return;
    }
    const std::size_t end = comment.text.find_last_not_of(kBlanks) + 1;
    Statement note;
    note.position = comment.position;
    note.text = comment.text.substr(begin, end - begin);
    mStatements.push_back(std::move(note));
}

void ScriptParser::ParseStatement(const std::vector<Token>& tokens) {
    const Token& verb = tokens.front();
    mRow = FindVerb(verb.text);
    if (mRow == nullptr) {
        mErrors.Add(verb.position, "there is no verb " + Quoted(verb.text) + HintAtVerb(verb.text));
        return;
    }
    mStatement = Statement();
    mStatement.verb = mRow->verb;
    mStatement.position = verb.position;
    mStatement.text = Join(tokens);
    mSeen.clear();
    ParseParameters(tokens);
    RejectTimeOfStop(tokens);
    DemandRequired(verb.position);
    mStatements.push_back(std::move(mStatement));
}

void ScriptParser::ParseParameters(const std::vector<Token>& tokens) {
    for (std::size_t i = 1; i < tokens.size(); ++i) {
        const Token& token = tokens[i];
        const std::size_t equals = token.text.find('=');
        if (equals != std::string_view::npos) {
            ParseKeyed(token, equals);
        } else if (token.text == "as" && mRow->Takes(Parameter::AS_NAME)) {
            ++i;
            ParseAsName(token, i < tokens.size() ? &tokens[i] : nullptr);
        } else {
            ParsePositional(token);
        }
    }
}

void ScriptParser::ParseKeyed(const Token& token, std::size_t equals) {
    const Token key = token.Part(0, equals);
    const Token value = token.Part(equals + 1);
    if (key.text == "pid" && mRow->Takes(Parameter::PID)) {
        if (IsFirst(Parameter::PID, key.position)) {
            mStatement.pid = static_cast<int>(
                ParseNumber(value, "pid=", 1, std::numeric_limits<int>::max(), mErrors)
                    .value_or(0));
        }
    } else if (key.text == "for" && mRow->Takes(Parameter::FOR)) {
        if (IsFirst(Parameter::FOR, key.position)) {
            mStatement.time = ParseTime(value, "for=", mErrors).value_or(mStatement.time);
        }
    } else if (mRow->Takes(Parameter::QOS_VALUES)) {
        ParseQosWord(key, value);
    } else {
        RejectWord(token);
    }
}

void ScriptParser::ParseQosWord(const Token& key, const Token& value) {
    mSeen.insert(Parameter::QOS_VALUES);
    std::optional<QosValue> parsed = ParseQosValue(key, value, mErrors);
    if (!parsed) {
        return;
    }
    if (mRow->verb == Verb::BASE_SET) {
        DirectAtBase(key, *parsed);
    }
    std::vector<PerfRequestInfo>& request = mStatement.request;
    auto element = std::ranges::find(request, parsed->qosId, &PerfRequestInfo::qosId);
    if (element == request.end()) {
        element = request.insert(element, {parsed->qosId, {}});
    }
    auto group = std::ranges::find(element->groups, parsed->groupId, &GroupInfo::groupId);
    if (group == element->groups.end()) {
        group = element->groups.insert(group, {parsed->groupId, {}});
    }
    for (const auto& [operation, given] : group->values) {
        if (operation == parsed->operation) {
            mErrors.Add(key.position, Quoted(key.text) + " is given twice");
            return;
        }
    }
    group->values.emplace_back(parsed->operation, parsed->value);
}

/// Base values have an id of their own, which nobody should have to know.
void ScriptParser::DirectAtBase(const Token& key, QosValue& value) {
    if (value.qosId == PERF_QOS_EAS) {
        value.qosId = PERF_QOS_EAS_BASE;
    } else if (value.qosId != PERF_QOS_EAS_BASE) {
        mErrors.Add(key.position, "only EAS has base values to set, unlike " + Quoted(key.text));
    }
}

void ScriptParser::ParseAsName(const Token& as, const Token* name) {
    if (!IsFirst(Parameter::AS_NAME, as.position)) {
        return;
    }
    if (name == nullptr) {
        mErrors.Add(as.position, "'as' is followed by a name");
        return;
    }
    if (name->text.size() > kMaxNameBytes ||
        name->text.find_first_not_of(kNameLetters) != std::string_view::npos) {
        mErrors.Add(name->position, "a name has up to " + std::to_string(kMaxNameBytes) +
                                        " letters, digits, '_' and '-', unlike " +
                                        Quoted(name->text));
        return;
    }
    const auto [entry, isNew] = mNames.emplace(name->text, as.position.line);
    if (!isNew) {
        mErrors.Add(name->position, "the name " + Quoted(name->text) + " was given in line " +
                                        std::to_string(entry->second) + " already");
        return;
    }
    mStatement.name = name->text;
}

void ScriptParser::ParsePositional(const Token& token) {
    for (const ParameterRow& parameter : mRow->parameters) {
        const Parameter kind = parameter.kind;
        if (IsPositional(kind) && (!mSeen.contains(kind) || IsList(kind))) {
            mSeen.insert(kind);
            ParsePositional(kind, token);
            return;
        }
    }
    RejectWord(token);
}

void ScriptParser::ParsePositional(Parameter kind, const Token& token) {
    switch (kind) {
        case Parameter::REQUEST_NAME:
            ParseRequestName(token);
            break;
        case Parameter::TIME:
            mStatement.time = ParseTime(token, mRow->name, mErrors).value_or(mStatement.time);
            break;
        case Parameter::NUMBER:
            mStatement.number = static_cast<unsigned>(
                ParseNumber(token, mRow->name, mRow->minNumber, mRow->maxNumber, mErrors)
                    .value_or(0));
            break;
        case Parameter::CHOICE:
            ParseChoice(token);
            break;
        case Parameter::QOS_NAMES:
            ParseQosName(token);
            break;
        case Parameter::TARGETS:
            mStatement.targets.emplace_back(token.text);
            break;
        default:
            mStatement.word = token.text;
            break;
    }
}

void ScriptParser::ParseChoice(const Token& token) {
    const std::vector<std::string_view> choices(mRow->choices.begin(), mRow->choices.end());
    if (std::ranges::find(choices, token.text) != choices.end()) {
        mStatement.word = token.text;
        return;
    }
    std::string all;
    for (const std::string_view choice : choices) {
        all += (all.empty() ? "" : choice == choices.back() ? " or " : ", ") + std::string(choice);
    }
    mErrors.Add(token.position, std::string(mRow->name) + " takes " + all + ", not " +
                                    Quoted(token.text) + DidYouMean(token.text, choices));
}

void ScriptParser::ParseQosName(const Token& token) {
    const std::optional<PerfQosId> qosId = ParseQos(token, mErrors);
    if (!qosId) {
        return;
    }
    if (std::ranges::find(mStatement.qosIds, *qosId) != mStatement.qosIds.end()) {
        mErrors.Add(token.position, Quoted(token.text) + " is given twice");
        return;
    }
    mStatement.qosIds.push_back(*qosId);
}

/// A stop is at once.
void ScriptParser::RejectTimeOfStop(const std::vector<Token>& tokens) {
    if (mStatement.word != "stop" || !mSeen.contains(Parameter::FOR)) {
        return;
    }
    for (const Token& token : tokens) {
        if (token.text.starts_with("for=")) {
            mErrors.Add(token.position, std::string(mRow->name) + " stop does not take a time");
        }
    }
}

void ScriptParser::ParseRequestName(const Token& token) {
    if (mNames.contains(token.text)) {
        mStatement.name = token.text;
        return;
    }
    std::vector<std::string_view> names;
    for (const auto& [name, line] : mNames) {
        names.push_back(name);
    }
    mErrors.Add(token.position,
                "no request before is named " + Quoted(token.text) + DidYouMean(token.text, names));
}

void ScriptParser::RejectWord(const Token& token) {
    if (mRow->Takes(Parameter::QOS_VALUES) && token.text.find('.') != std::string_view::npos) {
        mSeen.insert(Parameter::QOS_VALUES);
        mErrors.Add(token.position,
                    Quoted(token.text) + " lacks its value: write '=' and a number");
        return;
    }
    mErrors.Add(token.position,
                std::string(mRow->name) + " does not take " + Quoted(token.text) + UsageOf(*mRow));
}

void ScriptParser::DemandRequired(const Position& verb) {
    for (const ParameterRow& parameter : mRow->parameters) {
        if (parameter.isRequired && !mSeen.contains(parameter.kind)) {
            mErrors.Add(verb, std::string(mRow->name) + " needs " + NameOf(parameter.kind) +
                                  UsageOf(*mRow));
        }
    }
}

bool ScriptParser::IsFirst(Parameter kind, const Position& position) {
    if (mSeen.insert(kind).second) {
        return true;
    }
    mErrors.Add(position, std::string(NameOf(kind)) + " is given twice");
    return false;
}

}  // namespace

ParsedScript ParseScript(std::string_view script, const ScriptContext& context) {
    return ScriptParser(script, context).Parse();
}

}  // namespace corebeacon::tool
