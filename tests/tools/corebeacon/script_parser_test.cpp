#include "script_parser.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "script_values.h"

namespace corebeacon::tool {
namespace {

using std::chrono::milliseconds;

/// "LINE:COLUMN: message" of each error.
std::vector<std::string> ErrorsOf(const std::string& script) {
    std::vector<std::string> texts;
    for (const ScriptError& error : ParseScript(script).errors) {
        texts.push_back(std::to_string(error.position.line) + ":" +
                        std::to_string(error.position.column) + ": " + error.message);
    }
    return texts;
}

std::vector<Statement> StatementsOf(const std::string& script) {
    const ParsedScript parsed = ParseScript(script);
    EXPECT_TRUE(parsed.errors.empty());
    return parsed.statements;
}

using Texts = std::vector<std::string>;

const std::string kRequest = "request pid=1 CPU_B.boost=1";

TEST(ScriptParser, ARequestCarriesAllThatItsLineSays) {
    const auto statements =
        StatementsOf("request pid=1001 for=500ms CPU_B.boost=2000000 GPU.limit=500000000 as h1\n");
    ASSERT_EQ(statements.size(), 1U);
    const Statement& request = statements[0];
    EXPECT_EQ(request.verb, Verb::REQUEST);
    EXPECT_EQ(request.position.line, 1U);
    EXPECT_EQ(request.pid, 1001);
    EXPECT_EQ(request.time, milliseconds(500));
    EXPECT_EQ(request.name, "h1");
    ASSERT_EQ(request.request.size(), 2U);
    EXPECT_EQ(request.request[0].qosId, PERF_QOS_CPU_B);
    ASSERT_EQ(request.request[0].groups.size(), 1U);
    EXPECT_EQ(request.request[0].groups[0].groupId, 0U);
    using Values = std::vector<std::pair<PerfOperationType, int>>;
    EXPECT_EQ(request.request[0].groups[0].values, (Values{{PERF_OPERATION_BOOST, 2000000}}));
    EXPECT_EQ(request.request[1].qosId, PERF_QOS_GPU);
    EXPECT_EQ(request.request[1].groups[0].values, (Values{{PERF_OPERATION_LIMIT, 500000000}}));
}

TEST(ScriptParser, WithoutATimeARequestIsUntimedAndWithoutANameNameless) {
    const auto statements = StatementsOf(kRequest);
    EXPECT_EQ(statements.at(0).time, milliseconds(0));
    EXPECT_EQ(statements.at(0).name, "");
}

TEST(ScriptParser, AQosIsNamedByNameOrIdAndAGroupByItsNumber) {
    const auto statements =
        StatementsOf("request pid=1 9.7.boost=30 EAS.0.boost=-5 2.limit=3 CPU_B.boost=1");
    const std::vector<PerfRequestInfo>& request = statements.at(0).request;
    ASSERT_EQ(request.size(), 2U);
    EXPECT_EQ(request[0].qosId, PERF_QOS_EAS);
    ASSERT_EQ(request[0].groups.size(), 2U);
    EXPECT_EQ(request[0].groups[0].groupId, 7U);
    EXPECT_EQ(request[0].groups[0].values[0].second, 30);
    EXPECT_EQ(request[0].groups[1].groupId, 0U);
    EXPECT_EQ(request[0].groups[1].values[0].second, -5);
    EXPECT_EQ(request[1].qosId, PERF_QOS_CPU_B);
    EXPECT_EQ(request[1].groups[0].values.size(), 2U);
}

TEST(ScriptParser, EveryVerbIsUnderstood) {
    const auto statements =
        StatementsOf(kRequest + " as a\nrelease a\nrelease-all pid=7\nwait 2s\nlog 3");
    ASSERT_EQ(statements.size(), 5U);
    EXPECT_EQ(statements[1].verb, Verb::RELEASE);
    EXPECT_EQ(statements[1].name, "a");
    EXPECT_EQ(statements[2].verb, Verb::RELEASE_ALL);
    EXPECT_EQ(statements[2].pid, 7);
    EXPECT_EQ(statements[3].verb, Verb::WAIT);
    EXPECT_EQ(statements[3].time, milliseconds(2000));
    EXPECT_EQ(statements[4].verb, Verb::LOG);
    EXPECT_EQ(statements[4].number, 3U);
    EXPECT_EQ(statements[4].position.line, 5U);
}

TEST(ScriptParser, BlanksAndTrailingCommentsDoNotMatter) {
    const auto statements = StatementsOf("\n \t\n  wait\t 1ms # a nap\r\n\n");
    ASSERT_EQ(statements.size(), 1U);
    EXPECT_EQ(statements[0].text, "wait 1ms");
    EXPECT_EQ(statements[0].position.line, 3U);
    EXPECT_EQ(statements[0].position.column, 3U);
}

TEST(ScriptParser, ACommentOnALineOfItsOwnIsANoteUnlessEmpty) {
    const auto statements = StatementsOf("#  First things first. \n#\n  # \nwait 1ms");
    ASSERT_EQ(statements.size(), 2U);
    EXPECT_EQ(statements[0].verb, Verb::NOTE);
    EXPECT_EQ(statements[0].text, "First things first.");
}

TEST(ScriptParser, AnEmptyScriptHasNothingToSay) {
    EXPECT_TRUE(StatementsOf("").empty());
}

TEST(ScriptParser, AnUnknownVerbIsCorrectedOrAllAreTold) {
    EXPECT_EQ(ErrorsOf("requst pid=1"),
              Texts{"1:1: there is no verb 'requst'; did you mean 'request'?"});
    EXPECT_EQ(ErrorsOf("wait 1ms\n  frobnicate"),
              Texts{"2:3: there is no verb 'frobnicate'; the verbs are request, base-set, "
                    "scenario, mode, release, release-all, suspend, resume, event, probe, wait, "
                    "explain, dump, debug, log, version"});
}

TEST(ScriptParser, AnUnknownQosIsCorrectedWhenSomethingIsNear) {
    EXPECT_EQ(ErrorsOf("request pid=1 CPU_X.boost=1"),
              Texts{"1:15: there is no QoS named 'CPU_X'; did you mean 'CPU_L'?"});
    EXPECT_EQ(ErrorsOf("request pid=1 gpu.boost=1"),
              Texts{"1:15: there is no QoS named 'gpu'; did you mean 'GPU'?"});
    EXPECT_EQ(ErrorsOf("request pid=1 NPU_SC.boost=1"),
              Texts{"1:15: there is no QoS named 'NPU_SC'; did you mean 'NPU_SC_PRIO'?"});
    EXPECT_EQ(ErrorsOf("request pid=1 TOASTER.boost=1"),
              Texts{"1:15: there is no QoS named 'TOASTER'"});
    EXPECT_EQ(ErrorsOf("request pid=1 .boost=1"), Texts{"1:15: there is no QoS named ''"});
}

TEST(ScriptParser, AQosIdIsInRange) {
    EXPECT_TRUE(ErrorsOf("request pid=1 104.boost=1").empty());
    EXPECT_EQ(ErrorsOf("request pid=1 105.boost=1"),
              Texts{"1:15: a QoS id takes a number from 0 to 104, not '105'"});
}

TEST(ScriptParser, AnUnknownOperationIsPointedAt) {
    EXPECT_EQ(ErrorsOf("request pid=1 CPU_B.bost=1"),
              Texts{"1:21: a QoS has boost and limit, but no 'bost'; did you mean 'boost'?"});
    EXPECT_EQ(ErrorsOf("request pid=1 CPU_B.3.=1"),
              Texts{"1:23: a QoS has boost and limit, but no ''"});
}

TEST(ScriptParser, AGroupIsANumber) {
    EXPECT_EQ(ErrorsOf("request pid=1 EAS.VIP.boost=1"),
              Texts{"1:19: a group takes a number from 0 to 2147483647, not 'VIP'"});
}

TEST(ScriptParser, AValueIsAWholeNumberOf32Bits) {
    EXPECT_TRUE(ErrorsOf("request pid=1 GPU.boost=2147483647 GPU.limit=-2147483648").empty());
    EXPECT_EQ(ErrorsOf("request pid=1 GPU.boost=2147483648"),
              Texts{"1:25: GPU.boost takes a whole number of 32 bits, not '2147483648'"});
    EXPECT_EQ(ErrorsOf("request pid=1 GPU.limit=500MHz"),
              Texts{"1:25: GPU.limit takes a whole number of 32 bits, not '500MHz'"});
    EXPECT_EQ(ErrorsOf("request pid=1 GPU.limit="),
              Texts{"1:25: GPU.limit takes a whole number of 32 bits, not ''"});
    EXPECT_EQ(ErrorsOf("request pid=1 GPU.limit"),
              Texts{"1:15: 'GPU.limit' lacks its value: write '=' and a number"});
}

TEST(ScriptParser, AKeyThatCannotBePrintedIsNoSubjectOfAnError) {
    EXPECT_EQ(ErrorsOf("request pid=1 GPU.boost\x1b[2J=x"),
              (Texts{"1:19: a QoS has boost and limit, but no 'boost\\x1b[2J'",
                     "1:29: the value takes a whole number of 32 bits, not 'x'"}));
}

TEST(ScriptParser, AValueIsGivenOnce) {
    EXPECT_EQ(ErrorsOf("request pid=1 GPU.boost=1 GPU.limit=2 GPU.0.boost=3"),
              Texts{"1:39: 'GPU.0.boost' is given twice"});
}

TEST(ScriptParser, AWordWithoutADotIsNoQosValue) {
    EXPECT_EQ(ErrorsOf("request pid=1 GPU.boost=1 far=3s"),
              Texts{"1:27: 'far' is no parameter of a request; a QoS is asked for by "
                    "QOS.boost=VALUE or QOS.limit=VALUE; did you mean 'for'?"});
    EXPECT_EQ(ErrorsOf("request pid=1 GPU.boost=1 quickly"),
              Texts{"1:27: request does not take 'quickly'; usage: request pid=PID [for=TIME] "
                    "QOS.boost=VALUE QOS.limit=VALUE ... [as NAME]"});
}

TEST(ScriptParser, APidIsAPositiveNumber) {
    const std::string expected = "1:13: pid= takes a number from 1 to 2147483647, not ";
    EXPECT_EQ(ErrorsOf("request pid=0 GPU.boost=1"), Texts{expected + "'0'"});
    EXPECT_EQ(ErrorsOf("request pid=x GPU.boost=1"), Texts{expected + "'x'"});
    EXPECT_EQ(ErrorsOf("request pid=2147483648 GPU.boost=1"), Texts{expected + "'2147483648'"});
    EXPECT_EQ(ErrorsOf("request pid=1 pid=2 GPU.boost=1"), Texts{"1:15: pid= is given twice"});
}

TEST(ScriptParser, ATimeHasAUnitAndAnUpperBound) {
    const auto expected = [](const std::string& text) {
        return Texts{"1:6: wait takes a time such as 500ms or 2s, at most 3600s, not '" + text +
                     "'"};
    };
    EXPECT_TRUE(ErrorsOf("wait 3600s\nwait 3600000ms\nwait 1ms").empty());
    for (const char* bad : {"500", "ms", "0ms", "-1s", "3601s", "3600001ms", "1.5s", "2m", "+3s",
                            "99999999999999999999s"}) {
        EXPECT_EQ(ErrorsOf(std::string("wait ") + bad), expected(bad));
    }
    EXPECT_EQ(ErrorsOf("request pid=1 for=soon GPU.boost=1"),
              Texts{"1:19: for= takes a time such as 500ms or 2s, at most 3600s, not 'soon'"});
    EXPECT_EQ(ErrorsOf("request pid=1 for=1s for=2s GPU.boost=1"),
              Texts{"1:22: for= is given twice"});
}

TEST(ScriptParser, WhatAVerbNeedsIsDemanded) {
    EXPECT_EQ(ErrorsOf("request"),
              (Texts{"1:1: request needs pid=; usage: request pid=PID [for=TIME] QOS.boost=VALUE "
                     "QOS.limit=VALUE ... [as NAME]",
                     "1:1: request needs at least one QOS.boost=VALUE or QOS.limit=VALUE; usage: "
                     "request pid=PID [for=TIME] QOS.boost=VALUE QOS.limit=VALUE ... [as NAME]"}));
    EXPECT_EQ(ErrorsOf("release"),
              Texts{"1:1: release needs the name of a request; usage: release NAME"});
    EXPECT_EQ(ErrorsOf("release-all"),
              Texts{"1:1: release-all needs pid=; usage: release-all pid=PID"});
    EXPECT_EQ(ErrorsOf("wait"), Texts{"1:1: wait needs a time; usage: wait TIME"});
    EXPECT_EQ(ErrorsOf("log"), Texts{"1:1: log needs a number; usage: log N"});
}

TEST(ScriptParser, WhatAVerbDoesNotTakeIsRejected) {
    EXPECT_EQ(ErrorsOf("wait 1ms 2ms"), Texts{"1:10: wait does not take '2ms'; usage: wait TIME"});
    EXPECT_EQ(ErrorsOf("wait 1ms pid=3"),
              Texts{"1:10: wait does not take 'pid=3'; usage: wait TIME"});
    EXPECT_EQ(ErrorsOf("release-all pid=1 GPU.boost=1"),
              Texts{"1:19: release-all does not take 'GPU.boost=1'; usage: release-all pid=PID"});
}

TEST(ScriptParser, BaseValuesAreThoseOfTaskGroups) {
    const auto statements = StatementsOf("base-set pid=1 EAS.7.boost=20 EAS_BASE.0.boost=10");
    EXPECT_EQ(statements.at(0).verb, Verb::BASE_SET);
    ASSERT_EQ(statements[0].request.size(), 1U);
    EXPECT_EQ(statements[0].request[0].qosId, PERF_QOS_EAS_BASE);
    EXPECT_EQ(statements[0].request[0].groups.size(), 2U);
    EXPECT_EQ(ErrorsOf("base-set pid=1 GPU.boost=1"),
              Texts{"1:16: only EAS has base values to set, unlike 'GPU.boost'"});
    EXPECT_EQ(ErrorsOf("base-set pid=1"),
              Texts{"1:1: base-set needs at least one QOS.boost=VALUE or QOS.limit=VALUE; usage: "
                    "base-set pid=PID EAS.GROUP.boost=VALUE ..."});
}

TEST(ScriptParser, ScenariosAndModesAreNumberedAndCanBeReleased) {
    const auto statements =
        StatementsOf("scenario pid=1001 4 as s\nmode pid=7 2 as m\nrelease s\nrelease m");
    ASSERT_EQ(statements.size(), 4U);
    EXPECT_EQ(statements[0].verb, Verb::SCENARIO);
    EXPECT_EQ(statements[0].pid, 1001);
    EXPECT_EQ(statements[0].number, 4U);
    EXPECT_EQ(statements[0].name, "s");
    EXPECT_EQ(statements[1].verb, Verb::MODE);
    EXPECT_EQ(statements[1].number, 2U);
    EXPECT_EQ(statements[3].name, "m");
    EXPECT_EQ(ErrorsOf("mode pid=1 3"), Texts{"1:12: mode takes a number from 0 to 2, not '3'"});
    EXPECT_EQ(ErrorsOf("scenario pid=1 game"),
              Texts{"1:16: scenario takes a number from 0 to 4294967295, not 'game'"});
    EXPECT_EQ(ErrorsOf("scenario pid=1"),
              Texts{"1:1: scenario needs a number; usage: scenario pid=PID ID [as NAME]"});
    EXPECT_EQ(ErrorsOf("mode 1"),
              Texts{"1:1: mode needs pid=; usage: mode pid=PID MODE [as NAME]"});
}

TEST(ScriptParser, AnyNumberOfQosIsSuspendedAndResumed) {
    const auto statements = StatementsOf("suspend CPU_B 3\nresume GPU");
    EXPECT_EQ(statements.at(0).verb, Verb::SUSPEND);
    EXPECT_EQ(statements[0].qosIds, (std::vector<PerfQosId>{PERF_QOS_CPU_B, PERF_QOS_GPU}));
    EXPECT_EQ(statements.at(1).verb, Verb::RESUME);
    EXPECT_EQ(statements[1].qosIds, std::vector<PerfQosId>{PERF_QOS_GPU});
    EXPECT_EQ(ErrorsOf("suspend GPU 3"), Texts{"1:13: '3' is given twice"});
    EXPECT_EQ(ErrorsOf("suspend gpu"),
              Texts{"1:9: there is no QoS named 'gpu'; did you mean 'GPU'?"});
    EXPECT_EQ(ErrorsOf("resume"),
              Texts{"1:1: resume needs at least one QoS; usage: resume QOS ..."});
}

TEST(ScriptParser, EventsAndProbesStartAndStop) {
    const auto statements =
        StatementsOf("event start 1 for=2s\nevent stop 1\nprobe start 4242\nprobe stop 4242");
    ASSERT_EQ(statements.size(), 4U);
    EXPECT_EQ(statements[0].verb, Verb::EVENT);
    EXPECT_EQ(statements[0].word, "start");
    EXPECT_EQ(statements[0].number, 1U);
    EXPECT_EQ(statements[0].time, milliseconds(2000));
    EXPECT_EQ(statements[1].word, "stop");
    EXPECT_EQ(statements[2].verb, Verb::PROBE);
    EXPECT_EQ(statements[3].number, 4242U);
    EXPECT_EQ(ErrorsOf("event strat 1"),
              Texts{"1:7: event takes start or stop, not 'strat'; did you mean 'start'?"});
    EXPECT_EQ(ErrorsOf("event stop 1 for=2s"), Texts{"1:14: event stop does not take a time"});
    EXPECT_EQ(ErrorsOf("event start"),
              Texts{"1:1: event needs a number; usage: event start|stop ID [for=TIME]"});
    EXPECT_EQ(ErrorsOf("event"),
              (Texts{"1:1: event needs a choice; usage: event start|stop ID [for=TIME]",
                     "1:1: event needs a number; usage: event start|stop ID [for=TIME]"}));
    EXPECT_EQ(ErrorsOf("probe start 0"),
              Texts{"1:13: probe takes a number from 1 to 2147483647, not '0'"});
    EXPECT_EQ(ErrorsOf("probe start 1 for=1s"),
              Texts{"1:15: probe does not take 'for=1s'; usage: probe start|stop TID"});
}

TEST(ScriptParser, ADumpIsOneOfThoseThatThereAre) {
    for (const char* type :
         {"task", "base_info", "workMode", "scenario", "event", "limit_history"}) {
        EXPECT_EQ(StatementsOf(std::string("dump ") + type).at(0).word, type);
    }
    EXPECT_EQ(ErrorsOf("dump tsk"),
              Texts{"1:6: dump takes task, base_info, workMode, scenario, event or limit_history, "
                    "not 'tsk'; did you mean 'task'?"});
    EXPECT_EQ(ErrorsOf("dump task event"),
              Texts{"1:11: dump does not take 'event'; usage: dump "
                    "task|base_info|workMode|scenario|event|limit_history"});
}

TEST(ScriptParser, ADebugOptionIsAWordAndAVersionNeedsNone) {
    EXPECT_EQ(StatementsOf("debug game_mode_enable").at(0).word, "game_mode_enable");
    EXPECT_EQ(StatementsOf("version").at(0).verb, Verb::VERSION);
    EXPECT_EQ(ErrorsOf("debug"), Texts{"1:1: debug needs an option; usage: debug OPTION"});
    EXPECT_EQ(ErrorsOf("version 2"), Texts{"1:9: version does not take '2'; usage: version"});
}

TEST(ScriptParser, TheLogSwitchHasTwoBits) {
    EXPECT_EQ(ErrorsOf("log 4"), Texts{"1:5: log takes a number from 0 to 3, not '4'"});
}

TEST(ScriptParser, ANameIsAWordThatOnlyOneRequestHas) {
    EXPECT_EQ(ErrorsOf(kRequest + " as"), Texts{"1:29: 'as' is followed by a name"});
    EXPECT_EQ(ErrorsOf(kRequest + " as a as b"), Texts{"1:34: as NAME is given twice"});
    EXPECT_EQ(ErrorsOf(kRequest + " as a/b"),
              Texts{"1:32: a name has up to 64 letters, digits, '_' and '-', unlike 'a/b'"});
    EXPECT_EQ(ErrorsOf(kRequest + " as " + std::string(65, 'n')).size(), 1U);
    EXPECT_TRUE(ErrorsOf(kRequest + " as " + std::string(64, 'n')).empty());
    EXPECT_EQ(ErrorsOf(kRequest + " as a\n\n" + kRequest + " as a"),
              Texts{"3:32: the name 'a' was given in line 1 already"});
}

TEST(ScriptParser, OnlyAnEarlierRequestCanBeReleased) {
    EXPECT_EQ(ErrorsOf("release launch\n" + kRequest + " as launch"),
              Texts{"1:9: no request before is named 'launch'"});
    EXPECT_EQ(ErrorsOf(kRequest + " as launch\nrelease lunch"),
              Texts{"2:9: no request before is named 'lunch'; did you mean 'launch'?"});
}

TEST(ScriptParser, ABadRequestKeepsItsName) {
    EXPECT_EQ(ErrorsOf("request pid=0 GPU.boost=1 as a\nrelease a").size(), 1U);
}

TEST(ScriptParser, AllErrorsAreTold) {
    EXPECT_EQ(ErrorsOf("request pid=0 for=x GPU.bost=y\nwait").size(), 5U);
}

TEST(ScriptParser, ErrorsEndWhereNobodyReadsOn) {
    std::string script;
    for (int i = 0; i < 1000; ++i) {
        script += "frobnicate\n";
    }
    const auto errors = ErrorsOf(script);
    ASSERT_EQ(errors.size(), ErrorList::kMaxErrors);
    EXPECT_EQ(errors.back(), "50:1: too many errors; what follows was not looked at");
}

TEST(ScriptParser, WhatIsShownOfAWordIsShortAndPrintable) {
    EXPECT_EQ(Quoted("a\x01\xff'"), "'a\\x01\\xff''");
    EXPECT_EQ(Quoted(std::string(49, 'a')), "'" + std::string(48, 'a') + "...'");
    EXPECT_EQ(ErrorsOf(std::string("wait\0x 1ms", 10)).size(), 1U);
}

TEST(ScriptParser, ScriptsAndLinesAreBounded) {
    EXPECT_EQ(ErrorsOf(std::string(kMaxScriptBytes + 1, '\n')),
              Texts{"1:1: the script is longer than 1048576 bytes"});
    EXPECT_TRUE(ErrorsOf(std::string(kMaxScriptBytes, '\n')).empty());
    EXPECT_TRUE(ErrorsOf("#" + std::string(4095, 'x')).empty());
    EXPECT_EQ(ErrorsOf("\n#" + std::string(4096, 'x')),
              Texts{"2:1: the line is longer than 4096 bytes"});
}

TEST(ScriptParser, AnyTextGivesStatementsOrErrors) {
    const std::vector<std::string> pieces = {"request",
                                             "release",
                                             "wait",
                                             "log",
                                             " ",
                                             "\n",
                                             "=",
                                             ".",
                                             "pid=",
                                             "for=",
                                             "1",
                                             "ms",
                                             "s",
                                             "CPU_B",
                                             "boost",
                                             "as",
                                             "#",
                                             "a",
                                             "-",
                                             "9",
                                             "\t",
                                             "\r",
                                             std::string(1, '\0'),
                                             "\xff",
                                             "99999999999999999999"};
    std::mt19937 random(7);
    for (int round = 0; round < 3000; ++round) {
        std::string script;
        for (auto i = random() % 40; i > 0; --i) {
            script += pieces[random() % pieces.size()];
        }
        const ParsedScript parsed = ParseScript(script);
        for (const ScriptError& error : parsed.errors) {
            ASSERT_GE(error.position.line, 1U);
            ASSERT_GE(error.position.column, 1U);
            ASSERT_FALSE(error.message.empty());
            for (const char c : error.message) {
                ASSERT_TRUE(c >= ' ' && c <= '~') << script;
            }
        }
        for (const Statement& statement : parsed.statements) {
            ASSERT_FALSE(statement.text.empty());
        }
    }
}

}  // namespace
}  // namespace corebeacon::tool
