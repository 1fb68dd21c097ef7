#include "script_completion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "line_editor.h"
#include "verb_table.h"

namespace corebeacon::tool::test {
namespace {

using Words = std::vector<std::string>;

ScriptWords SomeWords() {
    return {.qos = {{"CPU_L", {{0, {}}}},
                    {"CPU_B", {{0, {}}}},
                    {"LATENCY_CPU", {{0, {100, 110}}}},
                    {"EAS", {{0, {0, 10}}, {7, {0, 30}}}},
                    {"90", {{0, {}}}}},
            .requestNames = {"game", "h1"},
            .scenarios = {0, 12},
            .events = {1, 2}};
}

Words Complete(const std::string& line) {
    return CompleteScript(line, SomeWords());
}

TEST(ScriptCompletion, BeginsWithTheVerbs) {
    EXPECT_EQ(Complete("").size(), VerbTable().size());
    EXPECT_EQ(Complete("re"), (Words{"request", "release", "release-all", "resume"}));
    EXPECT_EQ(Complete("  rele"), (Words{"release", "release-all"}));
    EXPECT_EQ(Complete("frob"), Words{});
    EXPECT_EQ(Complete("frob "), Words{});
}

TEST(ScriptCompletion, OffersEachParameterOnce) {
    EXPECT_EQ(Complete("request "),
              (Words{"pid=", "for=", "CPU_L.", "CPU_B.", "LATENCY_CPU.", "EAS.", "90.", "as"}));
    EXPECT_EQ(Complete("request pid=1 f"), Words{"for="});
    EXPECT_EQ(Complete("request pid=1 for=1s f"), Words{});
    EXPECT_EQ(Complete("request pid=1 p"), Words{});
    EXPECT_EQ(Complete("request as h1 a"), Words{});
}

TEST(ScriptCompletion, LeadsFromTheQosToItsValue) {
    EXPECT_EQ(Complete("request pid=1 CPU_"), (Words{"CPU_L.", "CPU_B."}));
    EXPECT_EQ(Complete("request pid=1 CPU_B."), (Words{"CPU_B.boost=", "CPU_B.limit="}));
    EXPECT_EQ(Complete("request pid=1 CPU_B.boost="), Words{});
    EXPECT_EQ(Complete("request pid=1 CPU_L.boost=1 CPU_B.l"), Words{"CPU_B.limit="});
    EXPECT_EQ(Complete("request pid=1 9"), Words{"90."});
}

TEST(ScriptCompletion, KnowsGroupsAndLevels) {
    EXPECT_EQ(Complete("base-set pid=1 EAS."), (Words{"EAS.boost=", "EAS.limit=", "EAS.7."}));
    EXPECT_EQ(Complete("request EAS.7."), (Words{"EAS.7.boost=", "EAS.7.limit="}));
    EXPECT_EQ(Complete("request EAS.7.boost="), (Words{"EAS.7.boost=0", "EAS.7.boost=30"}));
    EXPECT_EQ(Complete("request EAS.boost=1"), Words{"EAS.boost=10"});
    EXPECT_EQ(Complete("request LATENCY_CPU.boost="),
              (Words{"LATENCY_CPU.boost=100", "LATENCY_CPU.boost=110"}));
}

TEST(ScriptCompletion, TakesWordsWithoutAKeyInTheirOrder) {
    EXPECT_EQ(Complete("event "), (Words{"start", "stop", "for="}));
    EXPECT_EQ(Complete("event start "), (Words{"1", "2", "for="}));
    EXPECT_EQ(Complete("event start 1 "), Words{"for="});
    EXPECT_EQ(Complete("scenario pid=1 "), (Words{"0", "12", "as"}));
    EXPECT_EQ(Complete("mode pid=1 "), (Words{"0", "1", "2", "as"}));
    EXPECT_EQ(Complete("dump li"), Words{"limit_history"});
    EXPECT_EQ(Complete("probe start "), Words{});
}

TEST(ScriptCompletion, NamesWhatCanBeReleasedAndSuspended) {
    EXPECT_EQ(Complete("release "), (Words{"game", "h1"}));
    EXPECT_EQ(Complete("release h"), Words{"h1"});
    EXPECT_EQ(Complete("suspend CPU_L C"), (Words{"CPU_L", "CPU_B"}));
    EXPECT_EQ(Complete("resume E"), Words{"EAS"});
}

TEST(ScriptCompletion, HasNothingToSayOfNamesTimesAndComments) {
    EXPECT_EQ(Complete("request pid=1 as "), Words{});
    EXPECT_EQ(Complete("wait "), Words{});
    EXPECT_EQ(Complete("debug "), Words{});
    EXPECT_EQ(Complete("# req"), Words{});
    EXPECT_EQ(Complete("wait 1s # r"), Words{});
}

TEST(ScriptCompletion, KnowsTheBuiltInTables) {
    const ScriptWords words = BuiltinWords(0);
    const Words candidates = CompleteScript("request pid=1 GP", words);
    EXPECT_EQ(candidates, Words{"GPU."});
    EXPECT_FALSE(words.scenarios.empty());
    EXPECT_FALSE(words.events.empty());
    EXPECT_EQ(CompleteScript("request pid=1 EAS.7.b", words), Words{"EAS.7.boost="});
    EXPECT_FALSE(CompleteScript("request pid=1 LATENCY_DDR.boost=", words).empty());
}

TEST(LineEditor, GoesAsFarAsAllCandidatesAgree) {
    EXPECT_EQ(CommonBeginning({"CPU_L.", "CPU_B."}), "CPU_");
    EXPECT_EQ(CommonBeginning({"release", "release-all"}), "release");
    EXPECT_EQ(CommonBeginning({"a", "b"}), "");
    EXPECT_EQ(CommonBeginning({"wait"}), "wait");
    EXPECT_EQ(CommonBeginning({}), "");
}

TEST(LineEditor, ShowsCandidatesInColumns) {
    EXPECT_EQ(InColumns({"a", "bb", "c", "d", "e"}, 10), "a   c   e\nbb  d\n");
    EXPECT_EQ(InColumns({"a", "b"}, 80), "a  b\n");
    EXPECT_EQ(InColumns({"wider-than-all", "b"}, 3), "wider-than-all\nb\n");
    EXPECT_EQ(InColumns({}, 80), "");
}

/// Sets a variable of the environment for the test's time; null takes it away.
class Variable {
public:
    Variable(const char* name, const char* value) : mName(name) {
        const char* const former = std::getenv(name);
        mWasSet = former != nullptr;
        mFormer = mWasSet ? former : "";
        Set(value);
    }
    ~Variable() { Set(mWasSet ? mFormer.c_str() : nullptr); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    void Set(const char* value) {
        value != nullptr ? ::setenv(mName, value, 1) : ::unsetenv(mName);
    }
    const char* const mName;
    bool mWasSet = false;
    std::string mFormer;
};

TEST(LineEditor, KeepsItsHistoryAmongTheUsersState) {
    const Variable home("HOME", "/home/ada");
    {
        const Variable state("XDG_STATE_HOME", "/var/state");
        EXPECT_EQ(HistoryFile(), "/var/state/corebeacon/history");
    }
    {
        const Variable relative("XDG_STATE_HOME", "state");
        EXPECT_EQ(HistoryFile(), "/home/ada/.local/state/corebeacon/history");
    }
    const Variable state("XDG_STATE_HOME", nullptr);
    EXPECT_EQ(HistoryFile(), "/home/ada/.local/state/corebeacon/history");
    const Variable nowhere("HOME", nullptr);
    EXPECT_EQ(HistoryFile(), "");
}

}  // namespace
}  // namespace corebeacon::tool::test
