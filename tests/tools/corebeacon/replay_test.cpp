// Runs that are recorded and played again.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <sstream>
#include <streambuf>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "board/board_reader.h"
#include "board/board_writer.h"
#include "recording/replay_command.h"
#include "run_command.h"
#include "shell_command.h"
#include "sim/simulated_device.h"
#include "support/log_capture.h"
#include "support/scoped_node_io.h"
#include "tool_fixture.h"

namespace corebeacon::tool::test {
namespace {

const std::string kBig = "/sys/devices/system/cpu/cpufreq/policy2/";

const std::string kEveryVerb = R"(
request pid=1001 for=50ms CPU_B.boost=2000000 GPU.limit=500000000 as h1
request pid=1002 CPU_M.boost=1655000 NPU_SC_PRIO.boost=110 as h2
base-set pid=7 EAS.7.boost=10
wait 20ms
request pid=1003 for=30ms CPU_B.limit=1774000 LATENCY_CPU.boost=110
scenario pid=2 0 as game
mode pid=3 2 as strict
wait 30ms
release h1
event start 1 for=40ms
suspend GPU
request pid=5 GPU.boost=400000000
wait 10ms
resume GPU
probe start 42
dump task
wait 20ms
probe stop 42
event stop 1
release strict
release game
debug game_mode_enable
debug game_mode_disable
log 0
version
scenario pid=9 77
release-all pid=1002
release-all pid=5
)";

class Replaying : public ::testing::Test {
protected:
    Replaying() {
        std::string pattern = ::testing::TempDir() + "corebeacon-XXXXXX";
        mFolder = ::mkdtemp(pattern.data());
        mFile = mFolder + "/rec";
    }
    ~Replaying() override {
        std::remove(mFile.c_str());
        std::remove(mFolder.c_str());
    }

    int Record(const std::string& script, Pace pace = Pace::VIRTUAL, SessionOptions session = {}) {
        session.pace = pace;
        std::ostringstream out;
        std::ostringstream diagnostics;
        const int result =
            PlayScript(script, "story.qos", RunOptions{.session = session, .recordFile = mFile},
                       out, diagnostics);
        mRecorded = out.str();
        return result;
    }

    /// The same on nodes of a test's own.
    int RecordOn(NodeIo& nodes, const std::string& script) {
        const corebeacon::test::ScopedNodeIo nodeIo(nodes);
        SessionOptions session;
        session.device = DeviceKind::KERNEL;
        return Record(script, Pace::VIRTUAL, session);
    }

    Outcome Replay(bool isJson = false) const {
        std::ostringstream out;
        std::ostringstream diagnostics;
        const int exitCode = ReplayFile(mFile, isJson, out, diagnostics);
        return {exitCode, out.str(), diagnostics.str()};
    }

    void ExpectSame() const {
        const Outcome outcome = Replay();
        EXPECT_EQ(outcome.exitCode, kExitDone) << outcome.out;
        EXPECT_EQ(outcome.out, std::to_string(CountOf("{\"write\":") + CountOf("{\"ioctl\":")) +
                                   " writes, all as recorded\n");
        EXPECT_EQ(outcome.diagnostics, "");
    }

    std::vector<std::string> FileLines() const { return Lines(Text()); }

    std::string Text() const {
        std::ifstream file(mFile, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    void WriteText(const std::string& text) const {
        std::ofstream(mFile, std::ios::binary) << text;
    }

    void WriteLines(const std::vector<std::string>& lines) const {
        std::string text;
        for (const std::string& line : lines) {
            text += line + "\n";
        }
        WriteText(text);
    }

    std::size_t CountOf(const std::string& beginning) const {
        const std::vector<std::string> lines = FileLines();
        return static_cast<std::size_t>(std::count_if(
            lines.begin(), lines.end(),
            [&beginning](const std::string& line) { return line.starts_with(beginning); }));
    }

    const corebeacon::test::LogCapture mLog{0};
    std::string mFolder;
    std::string mFile;
    std::string mRecorded;
};

TEST_F(Replaying, EveryVerbWritesAsRecorded) {
    EXPECT_EQ(Record(kEveryVerb), kExitFailed);  // the last request is refused, then as now
    EXPECT_GT(CountOf("{\"write\":"), 100U);
    EXPECT_GT(CountOf("{\"ioctl\":"), 0U);
    ExpectSame();
}

TEST_F(Replaying, ARunInRealTimeWritesAsRecorded) {
    Record(kEveryVerb, Pace::REAL);
    ExpectSame();
    // A wait as long as a request: which comes first differs from run to run, but is recorded.
    std::string script;
    for (int i = 0; i < 8; ++i) {
        script +=
            "request pid=1 for=20ms CPU_B.boost=2000000\nwait 20ms\n"
            "request pid=1 for=20ms CPU_B.boost=2130000 GPU.boost=400000000\nwait 20ms\n";
    }
    Record(script, Pace::REAL);
    ExpectSame();
}

/// Lines that somebody types, the next one some time after the one before has been carried out.
class TypedLines : public std::streambuf {
public:
    explicit TypedLines(std::vector<std::string> lines) : mLines(std::move(lines)) {}

protected:
    int_type underflow() override {
        if (mNext == mLines.size()) {
            return traits_type::eof();
        }
        if (mNext > 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(60));
        }
        std::string& line = mLines[mNext++];
        setg(line.data(), line.data(), line.data() + line.size());
        return traits_type::to_int_type(line.front());
    }

private:
    std::vector<std::string> mLines;
    std::size_t mNext = 0;
};

TEST_F(Replaying, AShellWritesAsRecordedAndItsTimeGoesOnBetweenTheLines) {
    TypedLines lines({"request pid=1 for=30ms CPU_B.boost=2000000 as h1\n",
                      "request pid=1 for=30ms GPU.boost=400000000 as h2\n", "version\n"});
    std::istream in(&lines);
    std::ostringstream out;
    std::ostringstream diagnostics;
    EXPECT_EQ(RunShell({.recordFile = mFile}, false, in, out, diagnostics), kExitDone);
    EXPECT_EQ(diagnostics.str(), "");
    const auto at = [text = out.str()](const std::string& line) { return text.find(line); };
    EXPECT_LT(at("(h1 ends)"), at("as h2"));
    EXPECT_LT(at("as h2"), at("(h2 ends)"));
    EXPECT_LT(at("(h2 ends)"), at("version")) << out.str();
    EXPECT_GE(Times(out.str()).back(), 120);
    EXPECT_GT(CountOf("{\"write\":"), 0U);
    ExpectSame();
}

TEST_F(Replaying, AShellWhoseRecordingCannotBeWrittenDoesNotBegin) {
    std::istringstream in("version\n");
    std::ostringstream out;
    std::ostringstream diagnostics;
    const std::string path = mFolder + "/none/rec";
    EXPECT_EQ(RunShell({.recordFile = path}, false, in, out, diagnostics), kExitBadInput);
    EXPECT_EQ(out.str(), "");
    EXPECT_EQ(diagnostics.str(),
              "corebeacon: cannot write " + path + ": No such file or directory\n");
}

TEST_F(Replaying, EveryChipAndABoardWriteAsRecorded) {
    for (const unsigned chip : {0U, 1U, 2U}) {
        SessionOptions session;
        session.chip = chip;
        Record(kEveryVerb, Pace::VIRTUAL, session);
        ExpectSame();
    }
    SessionOptions session;
    session.board = board::BuiltinBoard(1);
    Record(kEveryVerb, Pace::VIRTUAL, session);
    EXPECT_NE(FileLines()[0].find("\"board\":\"<?xml"), std::string::npos);
    ExpectSame();
}

TEST_F(Replaying, AnswersOfFailingNodesAreKept) {
    const std::unique_ptr<sim::SimulatedDevice> device = sim::SimulatedDevice::ForChip(0);
    using sim::Fault;
    using sim::OperationKind;
    device->Inject(kBig + "scaling_min_freq", OperationKind::WRITE, Fault::Errno(ENODEV).Times(2));
    // Some of these meet the program, which looks first whether all nodes are there.
    device->Inject(kBig + "scaling_max_freq", OperationKind::OPEN, Fault::Errno(EACCES).Times(6));
    device->Inject("/sys/class/devfreq/gpufreq/min_freq", OperationKind::WRITE, Fault::Short(2));
    device->Inject("/dev/vexa_perf_ctrl", OperationKind::IOCTL, Fault::Errno(EIO));
    device->InjectEverywhere(OperationKind::WRITE, Fault::Errno(EBUSY).StartingAt(40).Times(5));
    RecordOn(*device, kEveryVerb);
    EXPECT_GE(CountOf("{\"open\":"), 3U);
    EXPECT_NE(Text().find("\"errno\":19"), std::string::npos);
    EXPECT_NE(Text().find("\"taken\":2"), std::string::npos);
    ExpectSame();
}

TEST_F(Replaying, OnlyWhatTheEngineReadsIsKept) {
    const std::string node = kBig + "scaling_min_freq";
    Record("request pid=1 for=50ms CPU_B.boost=2000000 as a\nwait 60ms\n");
    EXPECT_NE(mRecorded.find(node), std::string::npos) << mRecorded;  // its value in the end
    EXPECT_EQ(CountOf("{\"read\":\"" + node), 0U) << Text();
    ExpectSame();
}

TEST_F(Replaying, AnInterruptedReadIsReadAgain) {
    const std::unique_ptr<sim::SimulatedDevice> device = sim::SimulatedDevice::ForChip(0);
    const std::string list = kBig + "scaling_available_frequencies";
    device->Inject(list, sim::OperationKind::OPEN, sim::Fault::Errno(EINTR));
    device->Inject(list, sim::OperationKind::READ, sim::Fault::Errno(EINTR));
    RecordOn(*device, "request pid=1 for=50ms CPU_B.boost=2000000\n");
    EXPECT_NE(Text().find("scaling_available_frequencies\",\"open_errno\":4"), std::string::npos);
    ExpectSame();
}

TEST_F(Replaying, AnEngineThatDoesNotStartDoesNotStartAgain) {
    const std::unique_ptr<sim::SimulatedDevice> device = sim::SimulatedDevice::ForChip(0);
    device->AddText(kBig + "scaling_available_frequencies", "5 6 7", sim::Access::READ_ONLY);
    EXPECT_EQ(RecordOn(*device, "wait 1ms\n"), kExitFailed);
    EXPECT_EQ(Replay().out, "0 writes, all as recorded; the engine does not start\n");
    std::vector<std::string> lines = FileLines();
    EXPECT_EQ(lines.back(), "{\"end\":\"not started\",\"writes\":0}");
    lines.back() = "{\"end\":\"stopped\",\"writes\":0}";
    WriteLines(lines);
    const Outcome outcome = Replay();
    EXPECT_EQ(outcome.exitCode, kExitFailed);
    EXPECT_NE(outcome.out.find("  recorded: the engine started\n"), std::string::npos);
}

TEST_F(Replaying, AChangedWriteIsTheFirstDifference) {
    Record("request pid=1 for=50ms CPU_B.boost=2000000 as a\nwait 60ms\n");
    const std::vector<std::string> lines = FileLines();
    std::size_t writes = 0;
    for (std::size_t at = 0; at < lines.size(); ++at) {
        if (!lines[at].starts_with("{\"write\":")) {
            continue;
        }
        std::vector<std::string> changed = lines;
        changed[at].replace(changed[at].find("\"text\":\"") + 8, 1, "9");
        WriteLines(changed);
        const Outcome outcome = Replay();
        EXPECT_EQ(outcome.exitCode, kExitFailed);
        EXPECT_EQ(Lines(outcome.out)[0], mFile + ":" + std::to_string(at + 1) +
                                             ": the first difference, after " +
                                             std::to_string(writes) + " writes as recorded");
        EXPECT_EQ(outcome.out.find("  recorded: a write of 9"), outcome.out.find('\n') + 1);
        EXPECT_NE(outcome.out.find("\n  replayed: a write of "), std::string::npos);
        ++writes;
    }
    EXPECT_EQ(writes, 6U);
}

TEST_F(Replaying, ALineMoreOrLessIsADifference) {
    Record("request pid=1 for=50ms CPU_B.boost=2000000 as a\nwait 60ms\n");
    const std::vector<std::string> lines = FileLines();
    for (std::size_t at = 0; at < lines.size(); ++at) {
        if (lines[at].starts_with("{\"write\":")) {
            std::vector<std::string> less = lines;
            less.erase(less.begin() + static_cast<std::ptrdiff_t>(at));
            WriteLines(less);
            EXPECT_EQ(Replay().exitCode, kExitFailed) << at;
            std::vector<std::string> more = lines;
            more.insert(more.begin() + static_cast<std::ptrdiff_t>(at), lines[at]);
            WriteLines(more);
            EXPECT_EQ(Replay().exitCode, kExitFailed) << at;
        }
    }
}

TEST_F(Replaying, AChangedRequestIsADifference) {
    Record("request pid=1 for=50ms CPU_B.boost=2000000 as a\nwait 60ms\n");
    std::string text = Text();
    text.replace(text.find("2000000]]"), 7, "2130000");
    WriteText(text);
    const Outcome outcome = Replay();
    EXPECT_EQ(outcome.exitCode, kExitFailed);
    EXPECT_NE(outcome.out.find("recorded: a write of 2000000 to " + kBig), std::string::npos);
    EXPECT_NE(outcome.out.find("replayed: a write of 2130000 to " + kBig), std::string::npos);
}

TEST_F(Replaying, AnotherAnswerOfANodeIsADifference) {
    Record("request pid=1 for=50ms CPU_B.boost=2000000 as a\nwait 60ms\n");
    std::string text = Text();
    const std::string list = "policy2/scaling_available_frequencies\",\"text\":\"1239000 ";
    std::size_t answers = 0;  // the table is fitted to the device, then checked against it
    for (std::size_t at = text.find(list); at != std::string::npos; at = text.find(list, at + 1)) {
        text.replace(at + list.size() - 8, 7, "1240000");
        ++answers;
    }
    EXPECT_EQ(answers, 2U);
    WriteText(text);
    EXPECT_EQ(Replay().exitCode, kExitFailed);
}

TEST_F(Replaying, TellsAsJson) {
    Record("request pid=1 for=50ms CPU_B.boost=2000000 as a\n");
    auto document = nlohmann::json::parse(Replay(true).out);
    EXPECT_EQ(document.at("command"), "replay");
    EXPECT_EQ(document.at("schema_version"), 1);
    EXPECT_EQ(document.at("writes"), 6);
    EXPECT_EQ(document.at("same"), true);
    std::string text = Text();
    text.replace(text.find("\"text\":\"2000000") + 8, 1, "1");
    WriteText(text);
    const Outcome outcome = Replay(true);
    EXPECT_EQ(outcome.exitCode, kExitFailed);
    document = nlohmann::json::parse(outcome.out);
    EXPECT_EQ(document.at("same"), false);
    EXPECT_EQ(document.at("difference").at("recorded"),
              "a write of 1000000 to " + kBig + "scaling_min_freq");
}

TEST_F(Replaying, ACutRecordingIsToldWithItsPlace) {
    Record("request pid=1 for=50ms CPU_B.boost=2000000 as a\n");
    const std::string whole = Text();
    for (std::size_t size = 0; size < whole.size(); size += size < 400 ? 7 : 101) {
        WriteText(whole.substr(0, size));
        const Outcome outcome = Replay();
        EXPECT_EQ(outcome.exitCode, kExitBadInput) << size;
        EXPECT_EQ(outcome.out, "");
        const auto newlines =
            std::count(whole.begin(), whole.begin() + static_cast<long>(size), '\n');
        EXPECT_EQ(outcome.diagnostics.find(mFile + ":" + std::to_string(newlines + 1) + ": "), 0U)
            << outcome.diagnostics;
    }
    WriteText(whole.substr(0, whole.size() - 1));
    EXPECT_NE(Replay().diagnostics.find("ends in the middle of a line"), std::string::npos);
    WriteLines({Lines(whole)[0]});
    EXPECT_EQ(Replay().diagnostics, mFile + ":2: is missing: the recording was cut off here\n");
}

TEST_F(Replaying, WhatIsNoRecordingIsToldWithItsPlace) {
    Record("wait 1ms\n");
    const std::string head = FileLines()[0];
    const std::string end = "{\"end\":\"stopped\",\"writes\":0}";
    const auto diagnosticsOf = [this](const std::vector<std::string>& lines) {
        WriteLines(lines);
        EXPECT_EQ(Replay().exitCode, kExitBadInput);
        const std::string text = Replay().diagnostics;
        EXPECT_EQ(text.find(mFile + ":"), 0U);
        return text.substr(mFile.size() + 1);
    };
    EXPECT_EQ(diagnosticsOf({"# A story"}), "1:1: is no JSON from here on\n");
    EXPECT_EQ(diagnosticsOf({"{}"}), "1: has no \"document\"\n");
    EXPECT_EQ(diagnosticsOf({"[]"}), "1: must be an object\n");
    EXPECT_EQ(diagnosticsOf({"{\"document\":\"x\"}"}),
              "1: document: must be \"corebeacon recording\"\n");
    std::string newer = head;
    newer.replace(newer.find("\"schema_version\":1"), 18, "\"schema_version\":2");
    EXPECT_EQ(diagnosticsOf({newer, end}), "1: schema_version: must be a number from 1 to 1\n");
    EXPECT_EQ(diagnosticsOf({head, "{\"at\":5,\"call\":\"fly\",\"result\":0}", end}),
              "2: call: names no operation of the engine\n");
    EXPECT_EQ(diagnosticsOf({head, "{\"at\":5,\"round\":\"some\"}", end}),
              "2: round: must be all or due\n");
    EXPECT_EQ(
        diagnosticsOf({head, "{\"at\":5,\"round\":\"due\"}", "{\"at\":4,\"round\":\"due\"}", end}),
        "3: at: is before that of an earlier line\n");
    EXPECT_EQ(diagnosticsOf({head, "{\"write\":\"/x\",\"hex\":\"0g\"}", end}),
              "2: hex: must be bytes of two hexadecimal digits each\n");
    EXPECT_EQ(diagnosticsOf({head, "{\"write\":\"/x\",\"text\":\"a\",\"taken\":2}", end}),
              "2: taken: must be a number from 0 to 1\n");
    EXPECT_EQ(diagnosticsOf({head, "{\"open\":\"/x\"}", end}),
              "2: has no \"errno\": only opens that failed are recorded\n");
    EXPECT_EQ(diagnosticsOf({head, "{\"sing\":1}", end}),
              "2: is neither a call nor a round, nor what a node answered, nor the end\n");
    EXPECT_EQ(diagnosticsOf({head, end, end}), "3: comes after the end\n");
    EXPECT_EQ(diagnosticsOf({head, std::string(40, '[')}), "2:1: is nested too deeply\n");
    EXPECT_EQ(diagnosticsOf({}), "1: is empty\n");
    std::remove(mFile.c_str());
    EXPECT_EQ(Replay().diagnostics,
              "corebeacon: cannot read " + mFile + ": No such file or directory\n");
}

TEST_F(Replaying, AFolderOrADeviceWithoutEndIsNoRecording) {
    const auto diagnosticsOf = [](const std::string& path) {
        std::ostringstream out;
        std::ostringstream diagnostics;
        EXPECT_EQ(ReplayFile(path, false, out, diagnostics), kExitBadInput);
        return diagnostics.str();
    };
    EXPECT_EQ(diagnosticsOf(mFolder), "corebeacon: cannot read " + mFolder + ": Is a directory\n");
    EXPECT_EQ(diagnosticsOf("/dev/zero"), "/dev/zero:1: is longer than 4194304 bytes\n");
}

TEST_F(Replaying, ARecordingThatCannotBeWrittenIsBadInput) {
    mFile = mFolder + "/none/rec";
    EXPECT_EQ(Record("wait 1ms\n"), kExitBadInput);
    mFile = "/dev/full";
    EXPECT_EQ(Record("wait 1ms\n"), kExitFailed);
    mFile = mFolder + "/rec";
}

/// A statement that any state of the engine may meet.
std::string RandomStatement(std::mt19937& random, int line) {
    const auto one = [&random](const std::vector<std::string>& words) {
        return words[random() % words.size()];
    };
    const auto number = [&random](unsigned from, unsigned to) {
        return std::to_string(from + random() % (to - from + 1));
    };
    const std::string pid = "pid=" + number(1, 4);
    const std::string name = "n" + std::to_string(line);
    const std::string value = one(
        {"CPU_B.boost=2130000", "CPU_B.boost=1952000", "CPU_B.limit=1774000", "CPU_M.boost=1655000",
         "CPU_M.limit=1364000", "GPU.boost=400000000", "GPU.limit=500000000",
         "LATENCY_CPU.boost=110", "NPU_SC_PRIO.boost=110", "IPA_POWER.boost=2", "DDR.boost=1"});
    switch (random() % 12) {
        case 0:
        case 1:
        case 2:
            return "request " + pid + " for=" + number(20, 200) + "ms " + value;
        case 3:
            return "request " + pid + " " + value + " as " + name + "\nwait " + number(1, 60) +
                   "ms\nrelease " + name;
        case 4:
            return "scenario " + pid + " " + number(0, 3) + " as " + name + "\nwait " +
                   number(1, 60) + "ms\nrelease " + name;
        case 5:
            return "mode " + pid + " " + number(0, 2);
        case 6:
            return "event " + one({"start", "start", "stop"}) + " " + number(1, 4);
        case 7:
            return "probe " + one({"start", "start", "stop"}) + " " + number(40, 42);
        case 8:
            return one({"suspend ", "resume "}) + one({"CPU_B", "GPU", "CPU_M GPU"});
        case 9:
            return "release-all " + pid;
        default:
            return "wait " + number(1, 120) + "ms";
    }
}

class RandomReplay : public Replaying, public ::testing::WithParamInterface<unsigned> {};

TEST_P(RandomReplay, WritesAsRecorded) {
    std::mt19937 random(GetParam());
    std::string script;
    for (int line = 0; line < 60; ++line) {
        script += RandomStatement(random, line) + "\n";
    }
    const std::unique_ptr<sim::SimulatedDevice> device = sim::SimulatedDevice::ForChip(0);
    for (int fault = 0; fault < 12; ++fault) {
        const auto kind = random() % 2 == 0 ? sim::OperationKind::WRITE : sim::OperationKind::IOCTL;
        const int errors[] = {ENODEV, EBUSY, EINVAL, EIO};
        device->InjectEverywhere(kind, sim::Fault::Errno(errors[random() % 4])
                                           .StartingAt(1 + random() % 200)
                                           .Times(1 + random() % 3));
    }
    if (GetParam() % 2 == 0) {
        RecordOn(*device, script);
    } else {
        Record(script);
    }
    EXPECT_GT(CountOf("{\"write\":"), 20U);
    ExpectSame();
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomReplay, ::testing::Range(1U, 25U));

}  // namespace
}  // namespace corebeacon::tool::test
