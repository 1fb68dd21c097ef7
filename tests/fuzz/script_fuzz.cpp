// Any bytes as a script. What the parser makes of them must be in order, bounded, and the same when
// the statements that it understood are written down and parsed again.
#include <string>
#include <tuple>

#include "fuzz/demand.h"
#include "fuzz/fuzz_targets.h"
#include "script_parser.h"
#include "script_values.h"

namespace corebeacon::fuzz {

namespace {

using tool::ParsedScript;
using tool::Position;
using tool::Statement;

bool IsBefore(const Position& one, const Position& other) {
    return std::tie(one.line, one.column) < std::tie(other.line, other.column);
}

/// Errors come line by line; within a line, what is missing is told last, at the verb.
void CheckErrors(const ParsedScript& parsed) {
    Demand(parsed.errors.size() <= tool::ErrorList::kMaxErrors, "a bounded number of errors");
    unsigned line = 1;
    for (const tool::ScriptError& error : parsed.errors) {
        Demand(!error.message.empty() && error.position.column >= 1,
               "an error says what and where");
        Demand(error.position.line >= line, "errors in the order of the script");
        line = error.position.line;
        for (const char letter : error.message) {
            Demand(letter >= ' ' && letter <= '~', "errors that can be printed");
        }
    }
}

void CheckStatements(const ParsedScript& parsed) {
    Position last;
    for (const Statement& statement : parsed.statements) {
        Demand(IsBefore(last, statement.position), "statements in the order of the script");
        Demand(statement.pid >= 0 && statement.time.count() >= 0, "no negative pid or time");
        Demand(!statement.text.empty(), "a statement has a text");
        last = statement.position;
    }
}

bool AreEqual(const PerfRequestInfo& one, const PerfRequestInfo& other) {
    return one.qosId == other.qosId &&
           std::equal(one.groups.begin(), one.groups.end(), other.groups.begin(),
                      other.groups.end(), [](const GroupInfo& a, const GroupInfo& b) {
                          return a.groupId == b.groupId && a.values == b.values;
                      });
}

bool AreEqual(const Statement& one, const Statement& other) {
    return one.verb == other.verb && one.text == other.text && one.pid == other.pid &&
           one.time == other.time && one.number == other.number && one.qosIds == other.qosIds &&
           one.word == other.word && one.name == other.name &&
           std::equal(
               one.request.begin(), one.request.end(), other.request.begin(), other.request.end(),
               [](const PerfRequestInfo& a, const PerfRequestInfo& b) { return AreEqual(a, b); });
}

void CheckRewritten(const ParsedScript& parsed) {
    std::string script;
    for (const Statement& statement : parsed.statements) {
        script += (statement.verb == tool::Verb::NOTE ? "#" : "") + statement.text + "\n";
    }
    const ParsedScript again = tool::ParseScript(script);
    Demand(again.errors.empty(), "a good script, rewritten, is good");
    Demand(std::equal(parsed.statements.begin(), parsed.statements.end(), again.statements.begin(),
                      again.statements.end(),
                      [](const Statement& a, const Statement& b) { return AreEqual(a, b); }),
           "a script, rewritten, says the same");
}

}  // namespace

void FuzzScript(Bytes bytes) {
    const std::string script(bytes.begin(), bytes.end());
    const ParsedScript parsed = tool::ParseScript(script);
    CheckErrors(parsed);
    CheckStatements(parsed);
    if (parsed.errors.empty()) {
        CheckRewritten(parsed);
    }
}

}  // namespace corebeacon::fuzz
