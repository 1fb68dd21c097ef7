#include "board/board_reader.h"

#include <gtest/gtest.h>

namespace corebeacon::board {
namespace {

const std::string kRow = "<row min='1' max='9'><node>/a</node></row>";

std::string InBoard(const std::string& parts) {
    return "<board version='1'>" + parts + "</board>";
}

/// "LINE:COLUMN: message" of every error.
std::vector<std::string> ErrorsOf(const std::string& text) {
    std::vector<std::string> errors;
    for (const BoardError& error : ParseBoard(text).errors) {
        errors.push_back(std::to_string(error.place.line) + ":" +
                         std::to_string(error.place.column) + ": " + error.message);
    }
    return errors;
}

using Errors = std::vector<std::string>;

/// The messages alone of a board of these parts.
Errors MessagesOf(const std::string& parts) {
    Errors messages;
    for (const BoardError& error : ParseBoard(InBoard(parts)).errors) {
        messages.push_back(error.message);
    }
    return messages;
}

TEST(BoardReader, AnEmptyBoardIsABoard) {
    const ReadBoard read = ParseBoard("<board version='1' name='bare'/>");
    EXPECT_TRUE(read.errors.empty());
    EXPECT_EQ(read.board.name, "bare");
    EXPECT_TRUE(read.board.qos.empty());
    EXPECT_TRUE(read.board.probe.nodePath.empty());
    EXPECT_FALSE(read.board.machine.chip.has_value());
}

TEST(BoardReader, ARowTakesItsDefaultsFromQosAndRange) {
    const ReadBoard read = ParseBoard(InBoard("<qos id='90' name='DEPTH'>" + kRow + "</qos>"));
    ASSERT_TRUE(read.errors.empty());
    const PerfQosXmlLoadConfig& config = read.board.qos.at(static_cast<PerfQosId>(90));
    EXPECT_EQ(config.type, "plain");
    ASSERT_EQ(config.groups.size(), 1U);
    const PerfGroupConfig& row = config.groups[0];
    EXPECT_EQ(row.name, "DEPTH");
    EXPECT_EQ(row.groupId, 0U);
    EXPECT_EQ(row.chipType, CHIP_TYPE_COMMON);
    EXPECT_FALSE(row.rangeFlag);
    EXPECT_EQ(row.availableMin, 1);
    EXPECT_EQ(row.availableMax, 9);
    EXPECT_EQ(row.baseMin, 1);
    EXPECT_EQ(row.baseMax, 9);
    EXPECT_EQ(row.sysNodePaths, std::vector<std::string>{"/a"});
}

TEST(BoardReader, LevelsGiveTheRange) {
    const ReadBoard read = ParseBoard(
        InBoard("<qos name='LATENCY_CPU'><row base-min='100'><node>/a</node>"
                "<level value='110'><text> 5 </text></level><level value='100'><text/></level>"
                "</row></qos>"));
    ASSERT_TRUE(read.errors.empty());
    const PerfGroupConfig& row = read.board.qos.at(PERF_QOS_LATENCY_CPU).groups.at(0);
    EXPECT_EQ(row.level2ValueMap, (Level2ValueMap{{100, {""}}, {110, {" 5 "}}}));
    EXPECT_EQ(row.availableMin, 100);
    EXPECT_EQ(row.availableMax, 110);
    EXPECT_EQ(row.baseMax, 110);
    EXPECT_EQ(read.places.qos.at(PERF_QOS_LATENCY_CPU).rows.at(0).levels.at(100).column, 122U);
}

TEST(BoardReader, ATextOfBlanksAloneIsKept) {
    const ReadBoard read =
        ParseBoard(InBoard("<qos name='LATENCY_CPU'><row base-min='1'><node>/a</node>"
                           "<level value='1'><text> </text></level></row></qos>"));
    ASSERT_TRUE(read.errors.empty());
    EXPECT_EQ(read.board.qos.at(PERF_QOS_LATENCY_CPU).groups.at(0).level2ValueMap.at(1),
              std::vector<std::string>{" "});
}

TEST(BoardReader, ParametersServeBothTables) {
    const ReadBoard read = ParseBoard(InBoard(
        "<qos name='GPU' type='freq' frequencies='/f' overwrite-max='true' property='p'"
        " top-frequency-node='/t' bandwidth-coefficient='-1.5' soc-switch='7' board-switch='8'>"
        "<row min='1'><node>/a</node></row></qos>"));
    ASSERT_TRUE(read.errors.empty());
    const PerfQosXmlLoadConfig& config = read.board.qos.at(PERF_QOS_GPU);
    EXPECT_EQ(config.availableFreqsPath, "/f");
    EXPECT_TRUE(config.overwriteMaxFreq);
    EXPECT_EQ(config.property, "p");
    for (const bool isLoaded : {false, true}) {
        EXPECT_EQ(config.gpuTopFreqPath.Of(isLoaded), "/t");
        EXPECT_EQ(config.bandwidthCoefficient.Of(isLoaded), -1.5F);
        EXPECT_EQ(config.thresholds.Of(isLoaded).socSwitch, 7);
        EXPECT_EQ(config.thresholds.Of(isLoaded).boardSwitch, 8);
    }
}

TEST(BoardReader, ReadsTaskGroups) {
    const ReadBoard read =
        ParseBoard(InBoard("<qos name='EAS' type='eas'><row base-min='0'><node>/a</node></row>"
                           "<eas min-boost='-5' max-boost='50'><level value='0' boost='0'/>"
                           "<level value='30' boost='35' global-boost='1'/>"
                           "<switch node='/s'><level value='30' state='1'/></switch></eas></qos>"));
    ASSERT_TRUE(read.errors.empty());
    const PerfQosXmlLoadConfig& eas = read.board.qos.at(PERF_QOS_EAS);
    EXPECT_EQ(eas.minBoost, -5);
    EXPECT_EQ(eas.maxBoost, 50);
    ASSERT_EQ(eas.levelToValueMap.size(), 2U);
    EXPECT_EQ(eas.levelToValueMap.at(30).boost, 35);
    EXPECT_EQ(eas.levelToValueMap.at(30).globalBoost, 1U);
    EXPECT_EQ(eas.globalBoost.loaded.nodePath, "/s");
    EXPECT_EQ(eas.globalBoost.loaded.levelToGlobalBoost, (std::map<int, std::uint32_t>{{30, 1}}));
}

TEST(BoardReader, ReadsMachineAndProbe) {
    const ReadBoard read = ParseBoard(
        InBoard("<machine chip='2' cpu-boost='true' board-ipa='false'><absent>policy2</absent>"
                "</machine><probe node='/p' bind='on' unbind='off' delay-ms='1' span-ms='2'"
                " cpu-m='3' cpu-b='4' gpu='5'/>"));
    ASSERT_TRUE(read.errors.empty());
    EXPECT_EQ(read.board.machine.chip, 2U);
    EXPECT_EQ(read.board.machine.cpuBoost, true);
    EXPECT_EQ(read.board.machine.boardIpa, false);
    EXPECT_EQ(read.board.machine.absent, std::vector<std::string>{"policy2"});
    const ProbeEvent& probe = read.board.probe;
    EXPECT_EQ(probe.nodePath + probe.bindText + probe.unbindText, "/ponoff");
    EXPECT_EQ(probe.startDelayMs, 1U);
    EXPECT_EQ(probe.spanMs, 2U);
    EXPECT_EQ(probe.cpuM, 3);
    EXPECT_EQ(probe.cpuB, 4);
    EXPECT_EQ(probe.gpu, 5);
}

TEST(BoardReader, ScenariosMayNameQosThatComeLater) {
    const ReadBoard read = ParseBoard(
        InBoard("<scenario id='4'><set qos='OWN' boost='1' limit='2'/><set qos='3' group='1'"
                " limit='5'/><set qos='OWN' group='1' boost='3'/></scenario>"
                "<qos id='90' name='OWN'>" +
                kRow + "</qos>"));
    ASSERT_TRUE(read.errors.empty());
    ASSERT_EQ(read.board.scenarios.size(), 1U);
    const ConfigurableScenario& scenario = read.board.scenarios[0];
    EXPECT_EQ(scenario.scenarioId, 4U);
    ASSERT_EQ(scenario.requests.size(), 2U);
    EXPECT_EQ(scenario.requests[0].qosId, 90U);
    ASSERT_EQ(scenario.requests[0].groups.size(), 2U);
    EXPECT_EQ(scenario.requests[0].groups[0].values,
              (std::vector<std::pair<PerfOperationType, int>>{{PERF_OPERATION_BOOST, 1},
                                                              {PERF_OPERATION_LIMIT, 2}}));
    EXPECT_EQ(scenario.requests[0].groups[1].groupId, 1U);
    EXPECT_EQ(scenario.requests[1].qosId, PERF_QOS_GPU);
    ASSERT_EQ(read.places.values.size(), 4U);
    EXPECT_EQ(read.places.values[1].value, 2);
    EXPECT_EQ(read.places.values[1].place.column, 62U);
}

TEST(BoardReader, ReadsEvents) {
    const ReadBoard read =
        ParseBoard(InBoard("<event id='3'><sequence qos='GPU'><step ms='20'><set boost='7'/></step>"
                           "<step ms='60000'><set limit='8'/></step></sequence></event>"));
    ASSERT_TRUE(read.errors.empty());
    const ConfigurableEvent& event = read.board.events.at(0);
    EXPECT_EQ(event.eventId, 3U);
    ASSERT_EQ(event.qosCommands.at(0).sequence.size(), 2U);
    EXPECT_EQ(event.qosCommands[0].qosId, PERF_QOS_GPU);
    EXPECT_EQ(event.qosCommands[0].sequence[1].duration, 60000U);
    EXPECT_EQ(event.qosCommands[0].sequence[1].groups[0].values[0].second, 8);
}

TEST(BoardReader, TellsLineAndColumn) {
    EXPECT_EQ(ErrorsOf("<?xml version='1.0'?>\n"
                       "<!-- a remark -->\n"
                       "<board version='1'>\n"
                       "  <qos name='CPU_L' tpye=\"plain\">\n"
                       "    <row min='1' max='9a'\n"
                       "         clamp='yes'><node>/a</node></row>\n"
                       "    <rwo/>\n"
                       "  </qos>\n"
                       "</board>\n"),
              (Errors{"4:21: <qos> has no attribute 'tpye'; did you mean 'type'?",
                      "5:18: 'max' takes a whole number from -2147483648 to 2147483647, not '9a'",
                      "6:10: 'clamp' takes true or false, not 'yes'",
                      "7:5: <qos> has no element 'rwo'; did you mean 'row'?"}));
}

TEST(BoardReader, AnAttributeInAValueIsNotMistakenForOne) {
    EXPECT_EQ(ErrorsOf("<board name=' version=1 > ' version='2'/>"),
              (Errors{"1:29: 'version' takes a whole number from 1 to 1, not '2'"}));
}

TEST(BoardReader, RefusesWhatIsNoXml) {
    EXPECT_EQ(ErrorsOf("<board version='1'>\n  <qos>\n</board>"),
              (Errors{"3:3: this is no XML: Start-end tags mismatch"}));
    EXPECT_EQ(ErrorsOf(""), (Errors{"1:1: this is no XML: No document element found"}));
}

TEST(BoardReader, RefusesAnotherRoot) {
    EXPECT_EQ(ErrorsOf("<bord/>"),
              (Errors{"1:1: the root element is <board>, not <bord>; did you mean 'board'?"}));
}

TEST(BoardReader, RefusesAFileThatIsTooLong) {
    EXPECT_EQ(ErrorsOf(std::string(kMaxBoardBytes + 1, ' ')),
              (Errors{"1:1: the file is longer than 4194304 bytes"}));
}

TEST(BoardReader, ReadsAnUnknownNameOnlyWithAnId) {
    EXPECT_EQ(MessagesOf("<qos name='CPU_BB'>" + kRow + "</qos>"),
              (Errors{"'CPU_BB' needs an 'id': no QoS of the engine has that name; did you mean "
                      "'CPU_B'?"}));
    EXPECT_EQ(MessagesOf("<qos>" + kRow + "</qos>"),
              (Errors{"<qos> needs the attribute 'id', or a 'name' that the engine knows"}));
    EXPECT_EQ(MessagesOf("<qos id='105'>" + kRow + "</qos>"),
              (Errors{"'id' takes a whole number from 0 to 104, not '105'"}));
    EXPECT_EQ(ParseBoard(InBoard("<qos id='90'>" + kRow + "</qos>"))
                  .board.qos.at(static_cast<PerfQosId>(90))
                  .name,
              "QOS_90");
}

TEST(BoardReader, RefusesDoubles) {
    EXPECT_EQ(MessagesOf("<qos id='0'>" + kRow + "</qos><qos name='CPU_L'>" + kRow + "</qos>"),
              (Errors{"QoS 0 is described twice"}));
    EXPECT_EQ(MessagesOf("<qos id='0'><row base-min='1'><node>/a</node><level value='1'/>"
                         "<level value='1'/></row></qos>"),
              (Errors{"level 1 is there twice"}));
    EXPECT_EQ(MessagesOf("<scenario id='1'><set qos='0' boost='1'/></scenario>"
                         "<scenario id='1'><set qos='0' boost='1'/></scenario>"),
              (Errors{"scenario 1 is described twice"}));
    const std::string event =
        "<event id='1'><sequence qos='0'><step ms='20'><set boost='1'/></step></sequence></event>";
    EXPECT_EQ(MessagesOf(event + event), (Errors{"event 1 is described twice"}));
    EXPECT_EQ(MessagesOf("<scenario id='1'><set qos='0' boost='1'/><set qos='0' limit='1'/>"
                         "</scenario>"),
              (Errors{"group 0 of the QoS is set twice"}));
    EXPECT_EQ(MessagesOf("<machine/><machine/>"), (Errors{"there is a second <machine>"}));
    const std::string probe = "<probe node='/p' bind='a' unbind='b'/>";
    EXPECT_EQ(MessagesOf(probe + probe), (Errors{"there is a second <probe>"}));
    EXPECT_EQ(MessagesOf("<machine chip='1' chip='2'/>"),
              (Errors{"attribute 'chip' is given twice"}));
    EXPECT_EQ(
        MessagesOf("<qos id='9' type='eas'><row base-min='1'><node>/a</node></row><eas>"
                   "<level value='1' boost='1'/><level value='1' boost='2'/>"
                   "<switch node='/s'><level value='1' state='1'/><level value='1' state='0'/>"
                   "</switch></eas></qos>"),
        (Errors{"level 1 is there twice", "level 1 is there twice"}));
}

TEST(BoardReader, RefusesWhatIsIncomplete) {
    EXPECT_EQ(MessagesOf("<qos id='0'/>"), (Errors{"<qos> needs a <row>"}));
    EXPECT_EQ(MessagesOf("<qos id='0'><row min='1' max='2'/></qos>"),
              (Errors{"<row> needs a <node>"}));
    EXPECT_EQ(
        MessagesOf("<qos id='0'><row><node/></row></qos>"),
        (Errors{"<row> needs the attribute 'min', or levels",
                "<row> needs the attribute 'max', or levels", "<node> holds the path of a node"}));
    EXPECT_EQ(MessagesOf("<qos id='0'><row min='1'><node>/a</node><level value='1'/></row></qos>"),
              (Errors{"<row> needs the attribute 'base-min', the level in force by default",
                      "a row of levels takes its range from them, not from 'min'"}));
    EXPECT_EQ(MessagesOf("<qos id='0' type='freq'>" + kRow + "</qos>"),
              (Errors{"a <qos> of the type 'freq' needs the attribute 'frequencies'"}));
    EXPECT_EQ(MessagesOf("<scenario id='1'/><event id='1'/>"),
              (Errors{"<scenario> needs a <set>", "<event> needs a <sequence>"}));
    EXPECT_EQ(MessagesOf("<scenario id='1'><set qos='0'/></scenario>"),
              (Errors{"<set> needs a 'boost' or a 'limit'"}));
    EXPECT_EQ(MessagesOf("<event id='1'><sequence qos='0'/></event>"),
              (Errors{"<sequence> needs a <step>"}));
    EXPECT_EQ(MessagesOf("<event id='1'><sequence qos='0'><step ms='20'/></sequence></event>"),
              (Errors{"<step> needs a <set>"}));
    EXPECT_EQ(MessagesOf("<probe node='/p' bind='a'/>"),
              (Errors{"<probe> needs the attribute 'unbind'"}));
}

TEST(BoardReader, RefusesWhatTheEngineWouldNotTake) {
    EXPECT_EQ(MessagesOf("<event id='20'><sequence qos='0'><step ms='19'><set boost='1'/></step>"
                         "</sequence></event>"),
              (Errors{"'id' takes a whole number from 0 to 19, not '20'",
                      "'ms' takes a whole number from 20 to 60000, not '19'"}));
    EXPECT_EQ(MessagesOf("<scenario id='1'><set qos='GPV' boost='1'/></scenario>"),
              (Errors{"unknown QoS 'GPV'; did you mean 'GPU'?"}));
    EXPECT_EQ(MessagesOf("<scenario id='1'><set boost='1'/></scenario>"),
              (Errors{"<set> needs the attribute 'qos'"}));
    EXPECT_EQ(MessagesOf("<qos id='0' type='frq'>" + kRow + "</qos>"),
              (Errors{"unknown type 'frq'; did you mean 'freq'?"}));
    EXPECT_EQ(MessagesOf("<qos id='0' bandwidth-coefficient='nan'>" + kRow + "</qos>"),
              (Errors{"'bandwidth-coefficient' takes a number, not 'nan'"}));
}

TEST(BoardReader, RefusesTextAndElementsInTheWrongPlace) {
    EXPECT_EQ(MessagesOf("stray"), (Errors{"<board> takes no text, but has 'stray'"}));
    EXPECT_EQ(MessagesOf("<machine><absent>a<b/></absent></machine>"),
              (Errors{"<absent> holds text, no elements"}));
}

TEST(BoardReader, ShowsNoControlCharactersAndNoLongTexts) {
    EXPECT_EQ(MessagesOf("<machine chip='&#7;" + std::string(100, 'x') + "'/>"),
              (Errors{"'chip' takes a whole number from 0 to 2147483647, not '?" +
                      std::string(59, 'x') + "...'"}));
}

TEST(BoardReader, NeverTakesANameThatCannotBePrintedForTheOneThatWasMeant) {
    EXPECT_EQ(MessagesOf("<qos id='80' name='GPUX&#7;'>" + kRow +
                         "</qos><scenario id='0'><set qos='GPUX' boost='1'/></scenario>"),
              (Errors{"unknown QoS 'GPUX'; did you mean 'GPU'?"}));
}

TEST(BoardReader, ReportsNoMoreErrorsThanAnybodyReads) {
    std::string parts;
    for (int i = 0; i < 60; ++i) {
        parts += "<x/>";
    }
    EXPECT_EQ(MessagesOf(parts).size(), Source::kMaxErrors);
}

TEST(BoardReader, AFileMayNameItsSchema) {
    EXPECT_TRUE(ErrorsOf("<board version='1' xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance'"
                         " xsi:noNamespaceSchemaLocation='board.xsd'/>")
                    .empty());
}

}  // namespace
}  // namespace corebeacon::board
