#include "config/event_manager.h"

#include <gtest/gtest.h>

#include <iomanip>

#include "support/log_capture.h"

namespace corebeacon {
namespace {

using test::LogCapture;

constexpr PerfOperationType kBoost = PERF_OPERATION_BOOST;
constexpr PerfOperationType kLimit = PERF_OPERATION_LIMIT;

SequenceCommand Step(std::uint32_t duration, int value = 1364000) {
    return {duration, {{0, {{kBoost, value}}}}};
}

ConfigurableEvent OneQos(PerfEventId id, std::vector<SequenceCommand> sequence) {
    return {id, {{PERF_QOS_CPU_M, std::move(sequence)}}};
}

void ExpectRefused(const std::vector<ConfigurableEvent>& events,
                   const std::vector<std::string>& texts) {
    const LogCapture log(0);
    EXPECT_TRUE(EventManager().Init(events).empty());
    EXPECT_EQ(log.Texts(LOG_LEVEL_ERROR), texts);
    for (const auto& line : log.Lines()) {
        EXPECT_EQ(line.tag, "PF_EVENT_MGR");
    }
}

// "start-end" of each step, in the order of the table.
std::vector<std::string> Spans(const std::multimap<PerfQosId, PerfEventItemInt>& items) {
    std::vector<std::string> spans;
    for (const auto& [qosId, item] : items) {
        spans.push_back(std::to_string(qosId) + ":" + std::to_string(item.startTime) + "-" +
                        std::to_string(item.endTime));
    }
    return spans;
}

TEST(EventManager, StepsOf100And200MsSpan0To100And100To300) {
    const LogCapture log(0);
    const EventTable table = EventManager().Init({OneQos(0, {Step(100, 5), Step(200, 6)})});
    ASSERT_EQ(table.count(0), 1U);
    EXPECT_EQ(Spans(table.at(0)), (std::vector<std::string>{"1:0-100", "1:100-300"}));
    EXPECT_EQ(table.at(0).begin()->second.groups, (GroupValueMap{{0, {{kBoost, 5}}}}));
    EXPECT_EQ(std::next(table.at(0).begin())->second.groups, (GroupValueMap{{0, {{kBoost, 6}}}}));
    EXPECT_TRUE(log.Lines().empty());
}

TEST(EventManager, EveryQosOfAnEventStartsAtItsBeginning) {
    const EventTable table = EventManager().Init(
        {{3, {{PERF_QOS_GPU, {Step(50), Step(20)}}, {PERF_QOS_CPU_M, {Step(30), Step(40)}}}}});
    EXPECT_EQ(Spans(table.at(3)),
              (std::vector<std::string>{"1:0-30", "1:30-70", "3:0-50", "3:50-70"}));
}

TEST(EventManager, AStepOf19MsMakesTheWholeTableEmpty) {
    ExpectRefused({OneQos(0, {Step(20)}), OneQos(1, {Step(20), Step(19)})},
                  {"invalid duration: 19 ms", "LoadQosToEventItem fail!"});
}

TEST(EventManager, AStepOf60001MsMakesTheWholeTableEmpty) {
    ExpectRefused({OneQos(0, {Step(60001)})},
                  {"invalid duration: 60001 ms", "LoadQosToEventItem fail!"});
}

TEST(EventManager, StepsOf20And60000MsAreAccepted) {
    const EventTable table = EventManager().Init({OneQos(0, {Step(20), Step(60000)})});
    EXPECT_EQ(Spans(table.at(0)), (std::vector<std::string>{"1:0-20", "1:20-60020"}));
}

TEST(EventManager, ASequenceThatOutlastsItsTimesMakesTheWholeTableEmpty) {
    std::vector<SequenceCommand> steps(71582, Step(60000));
    steps.push_back(Step(47295));  // ends at the last ms that 32 bits hold
    steps.push_back(Step(20));
    ExpectRefused({OneQos(0, std::move(steps))},
                  {"invalid duration: 20 ms", "LoadQosToEventItem fail!"});
}

TEST(EventManager, EventId19IsAccepted) {
    EXPECT_EQ(EventManager().Init({OneQos(19, {Step(20)})}).count(19), 1U);
}

TEST(EventManager, EventId20IsRefused) {
    ExpectRefused({OneQos(0, {Step(20)}), OneQos(20, {Step(20)})}, {"invalid event id: 20"});
}

TEST(EventManager, AnEventIdMetTwiceMakesTheWholeTableEmpty) {
    ExpectRefused({OneQos(4, {Step(20)}), OneQos(4, {Step(30)})}, {"duplicate event id: 4"});
}

TEST(EventManager, AQosMetTwiceInOneEventMakesTheWholeTableEmpty) {
    ExpectRefused({{0, {{PERF_QOS_GPU, {Step(20)}}, {PERF_QOS_GPU, {Step(20)}}}}},
                  {"duplicate qos id: 3", "LoadQosToEventItem fail!"});
}

TEST(EventManager, AQosMetTwiceIsRefusedEvenWhereItHasNoSteps) {
    ExpectRefused({{0, {{PERF_QOS_GPU, {}}, {PERF_QOS_GPU, {Step(20)}}}}},
                  {"duplicate qos id: 3", "LoadQosToEventItem fail!"});
}

TEST(EventManager, AnEventWithoutStepsMakesTheWholeTableEmpty) {
    ExpectRefused({{0, {}}}, {"LoadQosToEventItem fail!"});
    ExpectRefused({OneQos(0, {})}, {"LoadQosToEventItem fail!"});
}

TEST(EventManager, TwoPairsOfOneOperationMakeTheWholeTableEmpty) {
    ExpectRefused({OneQos(0, {{100, {{0, {{kBoost, 1}, {kBoost, 2}}}}}})},
                  {"event init duplicate operation type: 0", "LoadGroupInfo fail!",
                   "LoadQosToEventItem fail!"});
}

TEST(EventManager, AGroupNamedTwiceMakesTheWholeTableEmpty) {
    ExpectRefused(
        {OneQos(0, {{100, {{2, {{kBoost, 1}}}, {2, {{kLimit, 2}}}}}})},
        {"event init duplicate group id: 2", "LoadGroupInfo fail!", "LoadQosToEventItem fail!"});
}

TEST(EventManager, AStepForNothingMakesTheWholeTableEmpty) {
    ExpectRefused({OneQos(0, {{100, {}}})}, {"LoadGroupInfo fail!", "LoadQosToEventItem fail!"});
}

TEST(EventManager, LookingUpAnUnknownEventGivesAnEmptyMapNotAnError) {
    const LogCapture log;
    EventManager manager;
    EXPECT_TRUE(manager.EventIdToQosInfo(0).empty());
    manager.Update(manager.Init({OneQos(1, {Step(20)})}), {});
    EXPECT_TRUE(manager.EventIdToQosInfo(0).empty());
    EXPECT_EQ(manager.EventIdToQosInfo(1).size(), 1U);
    EXPECT_TRUE(log.Lines().empty());
}

TEST(EventManager, TheProbeDescriptionIsKeptAlsoWithoutEvents) {
    ProbeEvent probe;
    probe.nodePath = "/proc/bind";
    probe.bindText = "1";
    probe.unbindText = "0";
    probe.startDelayMs = 5;
    probe.spanMs = 300;
    probe.cpuM = 1364000;
    probe.cpuB = 1805000;
    probe.gpu = 400000000;

    EventManager manager;
    manager.Update({}, probe);
    EXPECT_EQ(manager.GetProbeInfo().nodePath, "/proc/bind");
    EXPECT_EQ(manager.GetProbeInfo().bindText, "1");
    EXPECT_EQ(manager.GetProbeInfo().unbindText, "0");
    EXPECT_EQ(manager.GetProbeInfo().startDelayMs, 5U);
    EXPECT_EQ(manager.GetProbeInfo().spanMs, 300U);
    EXPECT_EQ(manager.GetProbeInfo().cpuM, 1364000);
    EXPECT_EQ(manager.GetProbeInfo().cpuB, 1805000);
    EXPECT_EQ(manager.GetProbeInfo().gpu, 400000000);
}

TEST(EventManager, UpdateReplacesTheFormerTable) {
    EventManager manager;
    manager.Update(manager.Init({OneQos(1, {Step(20)})}), {});
    manager.Update(manager.Init({OneQos(2, {Step(20)})}), {});
    EXPECT_TRUE(manager.EventIdToQosInfo(1).empty());
    EXPECT_EQ(manager.EventIdToQosInfo(2).size(), 1U);
}

TEST(EventManager, DumpWritesOneAlignedLineAStep) {
    EventManager manager;
    manager.Update(
        manager.Init(
            {OneQos(4, {Step(100), Step(60000, 1018000)}),
             {12,
              {{PERF_QOS_THERMAL_THRESHOLD_UP, {Step(20, 110)}},
               {PERF_QOS_EAS, {{50, {{0, {{kBoost, 30}, {kLimit, 40}}}, {7, {{kBoost, 20}}}}}}}}}}),
        {});
    std::ostringstream out;
    manager.Dump(out);
    EXPECT_EQ(out.str(),
              "event(4): 2 steps\n"
              "  qos:   1  startTime:      0  endTime:    100"
              "  group: 0 boost/limit: 0 value: 1364000\n"
              "  qos:   1  startTime:    100  endTime:  60100"
              "  group: 0 boost/limit: 0 value: 1018000\n"
              "event(12): 2 steps\n"
              "  qos:   9  startTime:      0  endTime:     50"
              "  group: 0 boost/limit: 0 value: 30"
              "  group: 0 boost/limit: 1 value: 40"
              "  group: 7 boost/limit: 0 value: 20\n"
              "  qos: 104  startTime:      0  endTime:     20"
              "  group: 0 boost/limit: 0 value: 110\n");
}

TEST(EventManager, DumpLeavesTheFormattingOfTheCallersStreamAlone) {
    EventManager manager;
    manager.Update(manager.Init({OneQos(0, {Step(20)})}), {});
    std::ostringstream out;
    out << std::left << std::setfill('*');
    manager.Dump(out);
    out.str("");
    out << std::setw(4) << 7;
    EXPECT_EQ(out.str(), "7***");
}

TEST(EventManager, DumpOfNoEventsIsEmpty) {
    std::ostringstream out;
    EventManager().Dump(out);
    EXPECT_EQ(out.str(), "");
}

}  // namespace
}  // namespace corebeacon
