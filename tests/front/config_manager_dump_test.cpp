#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "front/front_fixture.h"
#include "support/grouped_digits.h"

namespace corebeacon::test {
namespace {

const std::string kTaskText =
    "CPU_L: boostBase(418000, *)limitBase(1530000, *)effectiveBase: 418000~1530000 "
    "effective: 418000~1530000\n"
    "boostBaseList(0) limitBaseList(0) boostList(0) limitList(0) final: 418000~1530000\n"
    "*****CPU_L: limit history cmd log is empty\n\n"
    "CPU_M: boostBase(418000, *)limitBase(2150000, *)effectiveBase: 418000~2150000 "
    "effective: 418000~2150000\n"
    "boostBaseList(0) limitBaseList(0) boostList(0) limitList(0) final: 418000~2150000\n"
    "*****CPU_M: limit history cmd log is empty\n\n"
    "CPU_B: boostBase(1239000, *)limitBase(2487000, *)effectiveBase: 1239000~2487000 "
    "effective: 1239000~2487000\n"
    "boostBaseList(0) limitBaseList(0) boostList(0) limitList(0) final: 1239000~2487000\n"
    "*****CPU_B: limit history cmd log is empty\n\n"
    "GPU: boostBase(279000000, *)limitBase(750000000, *)effectiveBase: 279000000~750000000 "
    "effective: 279000000~750000000\n"
    "boostBaseList(0) limitBaseList(0) boostList(0) limitList(0) final: 279000000~750000000\n"
    "*****GPU: limit history cmd log is empty\n\n";

std::string BaseBlock(const std::string& name, int id, const std::string& range,
                      const std::string& minNode, const std::string& maxNode) {
    return name + " id=" + std::to_string(id) + "\n  group=" + name + "  base=" + range +
           "  mapped=" + range + "  nodes=" + minNode + "," + maxNode + "\n";
}

const std::string kBaseInfoText =
    BaseBlock("CPU_L", 0, "418000~1530000", kMinL, kMaxL) +
    BaseBlock("CPU_M", 1, "418000~2150000", kMinM, kMaxM) +
    BaseBlock("CPU_B", 2, "1239000~2487000", kMinB,
              "/sys/devices/system/cpu/cpufreq/policy2/scaling_max_freq") +
    BaseBlock("GPU", 3, "279000000~750000000", kMinGpu, kMaxGpu);

const std::string kHistoryText =
    "*****CPU_L: limit history cmd log is empty\n\n"
    "*****CPU_M: limit history cmd log is empty\n\n"
    "*****CPU_B: limit history cmd log is empty\n\n"
    "*****GPU: limit history cmd log is empty\n\n";

const std::string kWorkModeText = "\ncurrent mode = 0, modeNum(1) <value, handle>:\n<0,*>";

const std::string kScenarioText =
    "scenarioId[3] qosNum: 2\n"
    "  qosId[0] groupNum(1) <type, value>:\n"
    "    grpId[0] valueNum(1): <0, 893000> \n"
    "  qosId[3] groupNum(1) <type, value>:\n"
    "    grpId[0] valueNum(1): <1, 495000000> \n";

const std::string kEventText =
    "event(4): 3 steps\n"
    "  qos:   0  startTime:      0  endTime:    150  group: 0 boost/limit: 0 value: 1211000\n"
    "  qos:   1  startTime:      0  endTime:    100  group: 0 boost/limit: 0 value: 1407000\n"
    "  qos:   1  startTime:    100  endTime:    300  group: 0 boost/limit: 0 value: 1160000\n"
    "event(5): 1 steps\n"
    "  qos:   2  startTime:      0  endTime:  60000  group: 0 boost/limit: 0 value: 1952000\n";

const std::pair<std::string, std::string> kTexts[] = {
    {"--task", kTaskText},         {"--base_info", kBaseInfoText},
    {"--workMode", kWorkModeText}, {"--scenario", kScenarioText},
    {"--event", kEventText},       {"--limit_history", kHistoryText},
};

class DumpTest : public FrontFixture {
protected:
    void SetUp() override { Start(); }

    std::string Dump(const std::string& type) {
        std::ostringstream out;
        EXPECT_EQ(mFront->Dump(out, {type}), 0);
        return out.str();
    }

    /// The debug lines of the front itself.
    Names FrontTraces() const {
        Names texts;
        for (const LogLine& line : mLog.Lines()) {
            if (line.level == LOG_LEVEL_DEBUG && line.tag == "PF_CFG_MGR") {
                texts.push_back(line.text);
            }
        }
        return texts;
    }
};

TEST_F(DumpTest, EachTypeHasItsText) {
    for (const auto& [type, text] : kTexts) {
        EXPECT_EQ(Dump(type), text) << type;
    }
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{});
}

TEST_F(DumpTest, TheHostsLocaleDoesNotMatter) {
    const GlobalGroupedDigits grouped;
    for (const auto& [type, text] : kTexts) {
        EXPECT_EQ(Dump(type), text) << type;
    }
}

TEST_F(DumpTest, ATextNeitherFollowsNorUndoesTheFormatOfTheCallersStream) {
    for (const auto& [type, text] : kTexts) {
        std::ostringstream out;
        AskForOddFormat(out);
        EXPECT_EQ(mFront->Dump(out, {type}), 0);
        EXPECT_EQ(out.str(), text) << type;
        EXPECT_TRUE(HasOddFormat(out)) << type;
    }
    std::ostringstream out;
    AskForOddFormat(out);
    EXPECT_EQ(mFront->Dump(out, {"x"}), -1);
    EXPECT_EQ(out.str(), "invalid type x\n");
    EXPECT_TRUE(HasOddFormat(out));
    AskForOddFormat(out);
    out.str("");
    mFront->DumpCoreVersion(out);
    EXPECT_EQ(out.str(), "core version: 5.1.0");
    EXPECT_TRUE(HasOddFormat(out));
}

TEST_F(DumpTest, OnlyTheFirstArgumentCounts) {
    std::ostringstream out;
    EXPECT_EQ(mFront->Dump(out, {"--workMode", "--event"}), 0);
    EXPECT_EQ(out.str(), kWorkModeText);
    EXPECT_EQ(FrontTraces(), Names{"Dump info success"});
}

TEST_F(DumpTest, WithoutAnArgumentThereIsNothingToDump) {
    std::ostringstream out;
    EXPECT_EQ(mFront->Dump(out, {}), -1);
    EXPECT_EQ(out.str(), "");
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{"args is empty."});
}

TEST_F(DumpTest, AnUnknownTypeIsToldToTheCaller) {
    for (const char* type : {"--tasks", "task", "", "--WORKMODE"}) {
        std::ostringstream out;
        EXPECT_EQ(mFront->Dump(out, {type}), -1);
        EXPECT_EQ(out.str(), std::string("invalid type ") + type + "\n");
        EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, std::string("invalid type ") + type), 1U);
    }
    std::ostringstream out;
    EXPECT_FALSE(mFront->DumpInfo(out, "--tasks"));
    EXPECT_EQ(out.str(), "");
}

TEST_F(DumpTest, ADumpIsAppended) {
    std::ostringstream out;
    out << "before ";
    EXPECT_TRUE(mFront->DumpInfo(out, "--limit_history"));
    EXPECT_EQ(out.str(), "before " + kHistoryText);
    EXPECT_EQ(FrontTraces(), Names{"Dump limit_history success"});
}

TEST_F(DumpTest, ATaskDumpTracesItsWayThroughTheResources) {
    Dump("--task");
    Names traces = FrontTraces();
    EXPECT_EQ(traces.front(), "before task Dump");
    ASSERT_EQ(traces.size(), 7U);
    for (std::size_t i = 1; i <= 4; ++i) {
        // Where the line comes from stands in it twice.
        EXPECT_TRUE(traces[i].starts_with("[TaskDump:")) << traces[i];
        EXPECT_TRUE(traces[i].ends_with("] res " + std::to_string(i - 1) + " log finish"))
            << traces[i];
    }
    EXPECT_EQ(traces[5], "after task Dump");
    EXPECT_EQ(traces[6], "Dump info success");
}

TEST_F(DumpTest, ABaseInfoDumpSaysBeforeTwice) {
    Dump("--base_info");
    Names traces = FrontTraces();
    ASSERT_EQ(traces.size(), 7U);
    EXPECT_EQ(traces[0], "before base_info Dump");
    EXPECT_EQ(traces[5], "before base_info Dump");
}

TEST_F(DumpTest, ATaskDumpShowsAllThatWasAskedForBefore) {
    ASSERT_EQ(mFront->PerfRequest(kPid, 500, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 893000)},
                                  mHandle),
              0);
    ASSERT_EQ(
        mFront->PerfRequest(kPid, 0, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_LIMIT, 1211000)}, mHandle),
        0);
    const std::string text = Dump("--task");
    EXPECT_TRUE(text.starts_with(
        "CPU_L: boostBase(418000, *)limitBase(1211000, 2)effectiveBase: 418000~1211000 "
        "boost(893000, 1)effective: 893000~1530000\n"
        "boostBaseList(0) limitBaseList(1) 1530000:* boostList(0) limitList(0) "
        "final: 893000~1530000\n"))
        << text;
}

TEST_F(DumpTest, TheLimitHistoryNamesWhatWasInForce) {
    ASSERT_EQ(
        mFront->PerfRequest(kPid, 0, {Ask(PERF_QOS_GPU, PERF_OPERATION_LIMIT, 495000000)}, mHandle),
        0);
    Settle(*mFront);
    std::ostringstream out;
    AskForOddFormat(out);
    EXPECT_TRUE(mFront->DumpInfo(out, "--limit_history"));
    const std::string text = out.str();
    EXPECT_NE(text.find("*****GPU: \nfreq=495000000 "), std::string::npos) << text;
    EXPECT_TRUE(HasOddFormat(out));
    EXPECT_NE(text.find("*****CPU_L: limit history cmd log is empty\n\n"), std::string::npos);
}

TEST_F(DumpTest, OnlyTheFourFrequencyQosOfTheCpusAndTheGpuHaveAHistory) {
    PerfDefaultConfig config = BuiltinConfig();
    config.qosConfigMap.erase(PERF_QOS_CPU_M);
    ASSERT_EQ(InitFront(config), 0);
    EXPECT_EQ(Dump("--limit_history"),
              "*****CPU_L: limit history cmd log is empty\n\n"
              "*****CPU_B: limit history cmd log is empty\n\n"
              "*****GPU: limit history cmd log is empty\n\n");
}

TEST_F(DumpTest, TheCoreVersionIsThatOfTheHeaders) {
    std::ostringstream out;
    mFront->DumpCoreVersion(out);
    EXPECT_EQ(out.str(), "core version: 5.1.0");
}

TEST_F(DumpTest, AStreamThatTakesNoMoreFailsATaskDump) {
    Start();
    std::ostringstream out;
    EXPECT_EQ(mFront->TaskDump(true, out), 0);
    out.setstate(std::ios_base::badbit);
    EXPECT_EQ(mFront->TaskDump(true, out), -1);
}

TEST_F(DumpTest, WithoutResourcesThereIsNothingToCollect) {
    DropResources();
    std::ostringstream out;
    EXPECT_EQ(mFront->TaskDump(false, out), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Names{"empty command wrapper", "TaskDump SendCmdToResources failed"}));
    EXPECT_TRUE(mFront->DumpInfo(out, "--task"));
    EXPECT_TRUE(mFront->DumpInfo(out, "--base_info"));
    EXPECT_TRUE(mFront->DumpInfo(out, "--limit_history"));
    EXPECT_EQ(out.str(), "");
}

TEST_F(DumpTest, SixteenThreadsEachGetTheirOwnWholeTexts) {
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < 16; ++thread) {
        threads.emplace_back([&, thread] {
            for (std::size_t round = 0; round < 12; ++round) {
                const auto& [type, text] = kTexts[(thread + round) % std::size(kTexts)];
                std::ostringstream out;
                wrong += (mFront->Dump(out, {type}) == 0 && out.str() == text) ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
    // They took turns: each went through all resources before the next one began.
    std::size_t finished = 0;
    for (const std::string& trace : FrontTraces()) {
        if (trace.ends_with(" log finish")) {
            const std::string id = std::to_string(finished++ % 4);
            EXPECT_TRUE(trace.ends_with("res " + id + " log finish")) << trace;
        }
    }
    EXPECT_EQ(finished, 16U * 4 * 4);
}

TEST_F(DumpTest, ADumpThatIsUnderWayAtTheDestructionReturnsWithWhatItHas) {
    auto gate = std::make_shared<sim::Gate>();
    mDevice->Inject(kMinM, sim::OperationKind::WRITE, sim::Fault::Hold(gate));
    ASSERT_EQ(
        mFront->PerfRequest(kPid, 0, {Ask(PERF_QOS_CPU_M, PERF_OPERATION_BOOST, 1160000)}, mHandle),
        0);
    ASSERT_TRUE(gate->AwaitWaiting(1));
    std::ostringstream out;
    int result = -1;
    std::thread dumper([&] { result = mFront->TaskDump(false, out); });
    // Past the first resource, it is inside and stuck at the second one.
    const auto logged = [this](const std::string& end) {
        return Eventually([&] {
            return std::ranges::any_of(
                mLog.Texts(), [&](const std::string& text) { return text.ends_with(end); });
        });
    };
    ASSERT_TRUE(logged("res 0 log finish"));
    std::thread destroyer([&] { delete mFront.release(); });
    // The last one ends only after all were told to.
    ASSERT_TRUE(logged("[GPU] work thread exit"));
    gate->Open();
    dumper.join();
    destroyer.join();
    EXPECT_EQ(result, 0);
    // Those after it may have answered before they were stopped.
    EXPECT_TRUE(out.str().starts_with(kTaskText.substr(0, kTaskText.find("CPU_M"))));
    EXPECT_EQ(out.str().find("CPU_M"), std::string::npos);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "fail to get log for res CPU_M"), 1U);
}

}  // namespace
}  // namespace corebeacon::test
