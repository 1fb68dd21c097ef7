// What a recorder takes down of real runs.
#include "timeline_recorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "board/board_writer.h"
#include "script_parser.h"
#include "script_player.h"
#include "tool_fixture.h"

namespace corebeacon::tool::test {
namespace {

Timeline Record(const std::string& script, const SessionOptions& options = {}) {
    const corebeacon::test::LogCapture log(0);
    const DrivenClock clock;
    const ParsedScript parsed = ParseScript(script);
    EXPECT_TRUE(parsed.errors.empty());
    const auto session = EngineSession::Start(options);
    TimelineRecorder recorder("story.qos");
    RunObservers observers;
    observers.Add(recorder);
    std::ostringstream diagnostics;
    ScriptPlayer(*session, observers, diagnostics, "story.qos").Play(parsed.statements);
    return recorder.Result();
}

/// "TIME FLOOR~CEILING", times in milliseconds.
std::vector<std::string> Steps(const TimelineTrack& track) {
    std::vector<std::string> texts;
    for (const TimelineStep& step : track.steps) {
        texts.push_back(std::to_string(step.time / 1000) + " " + std::to_string(step.floor) + "~" +
                        std::to_string(step.ceiling));
    }
    return texts;
}

std::vector<std::string> Writes(const TimelineNode& node) {
    std::vector<std::string> texts;
    for (const TimelineWrite& write : node.writes) {
        texts.push_back(std::to_string(write.time / 1000) + " " + write.value + write.failure);
    }
    return texts;
}

std::vector<std::string> Names(const Timeline& timeline) {
    std::vector<std::string> names;
    for (const TimelineTrack& track : timeline.tracks) {
        names.push_back(track.qos);
    }
    return names;
}

using Texts = std::vector<std::string>;

TEST(TimelineRecorder, ATrackHasTheStepsOfFloorAndCeilingAndWhatWasWritten) {
    const Timeline timeline = Record(
        "wait 10ms\n"
        "request pid=1 for=50ms CPU_B.boost=1952000 as a\n"
        "wait 20ms\n"
        "request pid=2 for=70ms CPU_B.limit=2130000 as b\n"
        "wait 100ms\n");
    ASSERT_EQ(Names(timeline), Texts{"CPU_B"});
    const TimelineTrack& track = timeline.tracks[0];
    EXPECT_EQ(Steps(track), (Texts{"0 1239000~2487000", "10 1952000~2487000", "30 1952000~2130000",
                                   "60 1239000~2130000", "100 1239000~2487000"}));
    EXPECT_TRUE(track.isRange);
    EXPECT_EQ(track.unit, "kHz");
    ASSERT_EQ(track.nodes.size(), 2U);
    EXPECT_EQ(track.nodes[0].name, "policy2/scaling_min_freq");
    EXPECT_EQ(Writes(track.nodes[0]),
              (Texts{"10 1952000", "30 1952000", "60 1239000", "100 1239000"}));
    EXPECT_EQ(track.nodes[1].path, "/sys/devices/system/cpu/cpufreq/policy2/scaling_max_freq");
    EXPECT_EQ(timeline.end, 130000);
}

TEST(TimelineRecorder, ARequestLastsUntilItsTimeIsOverItIsReleasedOrTheRunEnds) {
    const Timeline timeline = Record(
        "request pid=1 for=50ms CPU_B.boost=1952000 GPU.limit=400000000 as a\n"
        "scenario pid=2 0 as game\n"
        "wait 80ms\n"
        "request pid=3 CPU_B.boost=2130000\n"
        "release game\n");
    ASSERT_EQ(timeline.requests.size(), 3U);
    const TimelineRequest& timed = timeline.requests[0];
    EXPECT_EQ(timed.name, "a");
    EXPECT_EQ(timed.pid, 1);
    EXPECT_EQ(timed.kind, "request");
    EXPECT_EQ(timed.from, 0);
    EXPECT_EQ(timed.until, 50000);
    EXPECT_EQ(timed.ending, "its time was over");
    ASSERT_EQ(timed.parts.size(), 2U);
    EXPECT_EQ(timeline.tracks[timed.parts[0].track].qos, "CPU_B");
    EXPECT_EQ(timed.parts[0].value, 1952000);
    EXPECT_EQ(timeline.tracks[timed.parts[1].track].qos, "GPU");
    EXPECT_EQ(timed.parts[1].operation, PERF_OPERATION_LIMIT);
    const TimelineRequest& scenario = timeline.requests[1];
    EXPECT_EQ(scenario.kind, "scenario 0");
    EXPECT_EQ(scenario.until, 80000);
    EXPECT_EQ(scenario.ending, "released");
    EXPECT_GT(scenario.parts.size(), 2U);
    const TimelineRequest& standing = timeline.requests[2];
    EXPECT_EQ(standing.name, "the request of line 4");
    EXPECT_EQ(standing.until, timeline.end);
    EXPECT_EQ(standing.ending, "in force when the run ended");
    EXPECT_GT(standing.handle, scenario.handle);
}

TEST(TimelineRecorder, ASuspendedGroupMovesWithoutAWrite) {
    const Timeline timeline = Record(
        "suspend GPU\n"
        "wait 10ms\n"
        "request pid=1 for=20ms GPU.boost=495000000\n"
        "wait 30ms\n"
        "resume GPU\n");
    const auto gpu = std::ranges::find(timeline.tracks, "GPU", &TimelineTrack::qos);
    ASSERT_NE(gpu, timeline.tracks.end());
    EXPECT_EQ(gpu->unit, "Hz");
    EXPECT_EQ(Steps(*gpu),
              (Texts{"0 279000000~750000000", "10 495000000~750000000", "30 279000000~750000000"}));
    for (const TimelineNode& node : gpu->nodes) {
        for (const TimelineWrite& write : node.writes) {
            EXPECT_EQ(write.time, 40000);
        }
    }
}

TEST(TimelineRecorder, ANewModeLeavesOutWhatItOnlyRepeats) {
    const Timeline timeline = Record(
        "request pid=1 CPU_B.limit=1417000\n"
        "request pid=1 for=50ms CPU_B.boost=2130000\n"
        "mode pid=2 2 as strict\n");
    EXPECT_TRUE(std::ranges::count(Names(timeline), "CPU_B") == 1);
    EXPECT_TRUE(std::ranges::count(Names(timeline), "CPU_L") == 0);
    ASSERT_EQ(timeline.requests.size(), 3U);
    EXPECT_EQ(timeline.requests[2].kind, "work mode 2");
    EXPECT_TRUE(timeline.requests[2].parts.empty());
    ASSERT_EQ(timeline.marks.size(), 3U);
    EXPECT_TRUE(timeline.marks[2].text.starts_with("mode pid=2 2 as strict (and "));
    EXPECT_TRUE(timeline.marks[2].text.ends_with(" writes of what the nodes held already)"));
}

TEST(TimelineRecorder, ANoteHasTheTimeOfTheStatementBelowIt) {
    const Timeline timeline = Record(
        "wait 10ms\n"
        "# A note.\n"
        "wait 20ms\n"
        "# The last word.\n");
    ASSERT_EQ(timeline.marks.size(), 4U);
    EXPECT_EQ(timeline.marks[1].text, "A note.");
    EXPECT_TRUE(timeline.marks[1].isNote);
    EXPECT_EQ(timeline.marks[1].time, 10000);
    EXPECT_EQ(timeline.marks[2].text, "wait 20ms");
    EXPECT_FALSE(timeline.marks[2].isNote);
    EXPECT_EQ(timeline.marks[3].text, "The last word.");
    EXPECT_EQ(timeline.marks[3].time, 30000);
    EXPECT_EQ(timeline.title, "story.qos");
    EXPECT_EQ(timeline.device, "Simulated device, chip 0");
}

TEST(TimelineRecorder, ASnapshotIsCalledOne) {
    SessionOptions session;
    session.device = DeviceKind::SNAPSHOT;
    session.snapshot = std::make_shared<const DeviceSnapshot>();
    EXPECT_EQ(Record("wait 1ms\n", session).device, "A device simulated from a snapshot, chip 0");
}

TEST(TimelineRecorder, ANodeThatNoRowNamesHasATrackOfItsOwn) {
    const Timeline timeline = Record("probe start 4242\nwait 600ms\n");
    const auto other = std::ranges::find(timeline.tracks, "other nodes", &TimelineTrack::qos);
    ASSERT_NE(other, timeline.tracks.end());
    ASSERT_EQ(other->nodes.size(), 1U);
    EXPECT_EQ(other->nodes[0].path, "/sys/kernel/sched/probe_thread");
    EXPECT_EQ(other->nodes[0].writes.size(), 2U);
    ASSERT_EQ(timeline.requests.size(), 1U);
    EXPECT_EQ(timeline.requests[0].kind, "probe");
    EXPECT_EQ(timeline.requests[0].until, 500000);
}

TEST(TimelineRecorder, WhatTheDeviceLacksIsNoPartOfARequest) {
    SessionOptions options;
    options.board = board::BuiltinBoard(0);
    options.board->qos.erase(PERF_QOS_GPU);
    const Timeline timeline =
        Record("request pid=1 CPU_B.boost=1952000 GPU.boost=400000000\n", options);
    ASSERT_EQ(timeline.requests.size(), 1U);
    EXPECT_EQ(timeline.requests[0].parts.size(), 1U);
    EXPECT_EQ(Names(timeline), Texts{"CPU_B"});
}

TEST(TimelineRecorder, TheLimitHistoryIsTheEnginesOwn) {
    const Timeline timeline = Record("request pid=1 GPU.limit=400000000\n");
    ASSERT_EQ(timeline.limits.size(), 4U);
    EXPECT_EQ(timeline.limits[0].name, "CPU_L");
    EXPECT_TRUE(timeline.limits[0].entries.empty());
    EXPECT_EQ(timeline.limits[3].name, "GPU");
    EXPECT_EQ(timeline.limits[3].unit, "Hz");
    ASSERT_EQ(timeline.limits[3].entries.size(), 1U);
    EXPECT_EQ(timeline.limits[3].entries[0].value, 400000000);
}

}  // namespace
}  // namespace corebeacon::tool::test
