#include "resources/frequency_group.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <ctime>
#include <memory>
#include <thread>
#include <utility>

#include "corebeacon/group_state.h"
#include "sim/simulated_device.h"
#include "support/log_capture.h"
#include "support/manual_clock.h"
#include "support/scoped_node_io.h"

namespace corebeacon {
namespace {

using sim::Fault;
using sim::OperationKind;
using test::LogCapture;
using test::ManualClock;
using test::ScopedNodeIo;
using Texts = std::vector<std::string>;
using Writes = std::vector<std::pair<std::string, std::string>>;

constexpr const char* kMin = "/freq/min";
constexpr const char* kMax = "/freq/max";
constexpr const char* kGpuTop = "/freq/gpu_top";
constexpr int kHighest = 2000000;

PerfGroupConfig Config(std::vector<std::string> nodes = {kMin, kMax}) {
    return PerfGroupConfig("GPU", true, 300000, kHighest, 300000, kHighest, std::move(nodes),
                           CHIP_TYPE_COMMON);
}

class FrequencyGroupTest : public testing::Test {
protected:
    FrequencyGroupTest() {
        for (const char* path : {kMin, kMax, kGpuTop}) {
            mDevice.AddText(path, "-");
        }
    }

    FrequencyGroup& Group() { return *mGroup; }

    /// The writes since the last call, with the nodes they reached.
    Writes TakeWrites() {
        Writes writes;
        for (const sim::Operation& write : mDevice.Writes()) {
            writes.emplace_back(write.path, write.bytes);
        }
        mDevice.ClearRecord();
        return writes;
    }

    std::string History() {
        std::ostringstream out;
        EXPECT_EQ(mGroup->DumpLimitHistoryLog(out), 0);
        return out.str();
    }

    /// The present wall-clock time as the history shows it.
    std::string Now() const {
        const std::int64_t millis = std::chrono::duration_cast<std::chrono::milliseconds>(
                                        mClock.WallNow().time_since_epoch())
                                        .count();
        const std::time_t seconds = millis / 1000;
        std::tm local{};
        localtime_r(&seconds, &local);
        std::ostringstream out;
        out << local.tm_mon << "-" << local.tm_mday << " " << local.tm_hour << ":" << local.tm_min
            << ":" << local.tm_sec << "." << millis % 1000;
        return out.str();
    }

    ManualClock mClock;
    sim::SimulatedDevice mDevice;
    ScopedNodeIo mScope{mDevice};
    LogCapture mLog;
    std::unique_ptr<FrequencyGroup> mGroup =
        std::make_unique<FrequencyGroup>(Config(), PERF_WORK_MODE_0, kGpuTop);
};

TEST_F(FrequencyGroupTest, ALimitIsWrittenToMaximumMinimumMaximumAndTheGpuSwitch) {
    EXPECT_EQ(Group().DoConfig(800000, 1200000), 0);
    EXPECT_EQ(TakeWrites(), (Writes{
                                {kMax, "1200000"},
                                {kMin, "800000"},
                                {kMax, "1200000"},
                                {kGpuTop, "0"},
                            }));
    EXPECT_EQ(mLog.Texts(), (Texts{
                                "############ [GPU] final write: (800000, 1200000) \n",
                                "[GPU] start limit freq 800000 ~ 1200000",
                                "############ [GPU] final write gpu top: (0) \n",
                            }));
    EXPECT_EQ(mLog.Texts(4).size(), 3U);
    EXPECT_EQ(mLog.Lines()[0].tag, "PF_FREQ_GRP");
    EXPECT_EQ(mLog.Lines()[0].function, "DoConfig");
    EXPECT_EQ(mLog.Lines()[1].function, "RecordLimitCmd");
    EXPECT_EQ(mLog.Lines()[2].function, "WriteGpuTopFreq");
    EXPECT_EQ(History(), "*****GPU: \nfreq=1200000 " + Now() + "\n");
}

TEST_F(FrequencyGroupTest, AnInspectionTellsTheGpuSwitchToo) {
    Group().DoConfig(800000, 1200000);
    GroupState state;
    Group().Inspect(mClock.SteadyNow(), state);
    Writes told;
    for (const NodeState& node : state.nodes) {
        told.emplace_back(node.path, node.text);
    }
    EXPECT_EQ(told, (Writes{{kMin, "800000"}, {kMax, "1200000"}, {kGpuTop, "0"}}));
}

TEST_F(FrequencyGroupTest, TheSamePairAgainWritesOnlyTheTwoNodes) {
    Group().DoConfig(800000, 1200000);
    const std::string history = History();
    TakeWrites();
    mLog.Clear();
    mClock.Advance(std::chrono::seconds(1));
    Group().DoConfig(800000, 1200000);
    EXPECT_EQ(TakeWrites(), (Writes{{kMax, "1200000"}, {kMin, "800000"}, {kMax, "1200000"}}));
    EXPECT_EQ(mLog.Texts(), (Texts{
                                "############ [GPU] final write: (800000, 1200000) \n",
                                "############ [GPU] finalLimit is the same with last! \n",
                            }));
    EXPECT_EQ(mLog.Texts(3), Texts{"############ [GPU] finalLimit is the same with last! \n"});
    EXPECT_EQ(History(), history);
}

TEST_F(FrequencyGroupTest, LiftingTheLimitClosesItsRecord) {
    Group().DoConfig(800000, 1200000);
    const std::string start = Now();
    TakeWrites();
    mLog.Clear();
    mClock.Advance(std::chrono::milliseconds(61007));
    Group().DoConfig(800000, kHighest);
    EXPECT_EQ(TakeWrites(), (Writes{
                                {kMax, "2000000"},
                                {kMin, "800000"},
                                {kMax, "2000000"},
                                {kGpuTop, "5000"},
                            }));
    EXPECT_EQ(mLog.Texts(), (Texts{
                                "############ [GPU] final write: (800000, 2000000) \n",
                                "[GPU] end limit freq 800000 ~ 2000000",
                                "############ [GPU] final write gpu top: (5000) \n",
                            }));
    EXPECT_EQ(Now().substr(Now().rfind('.')), ".7");  // no leading zeros
    const std::string closed = "*****GPU: \nfreq=1200000 " + start + "  " + Now() + "\n";
    EXPECT_EQ(History(), closed);

    mClock.Advance(std::chrono::seconds(1));
    Group().DoConfig(900000, kHighest);
    EXPECT_EQ(History(), closed);
    EXPECT_EQ(mLog.Count(4, "[GPU] end limit freq 900000 ~ 2000000"), 0U);
}

TEST_F(FrequencyGroupTest, EvenALimitOfOneIsToldEachTimeItBeginsAndEnds) {
    for (const std::size_t times : {1U, 2U}) {
        Group().DoConfig(0, 1);
        EXPECT_EQ(mLog.Count(4, "[GPU] start limit freq 0 ~ 1"), times);
        Group().DoConfig(0, kHighest);
        EXPECT_EQ(mLog.Count(4, "[GPU] end limit freq 0 ~ 2000000"), times);
    }
}

TEST_F(FrequencyGroupTest, WithoutALimitThereIsNothingToTell) {
    Group().DoConfig(300000, kHighest);
    EXPECT_EQ(TakeWrites(), (Writes{{kMax, "2000000"}, {kMin, "300000"}, {kMax, "2000000"}}));
    EXPECT_EQ(mLog.Texts(4), Texts{"############ [GPU] final write: (300000, 2000000) \n"});
    EXPECT_EQ(History(), "*****GPU: limit history cmd log is empty\n\n");
}

TEST_F(FrequencyGroupTest, APinnedFrequencyIsNotAnnouncedButRemembered) {
    Group().DoConfig(1200000, 1200000);
    EXPECT_EQ(mLog.Texts(4), (Texts{
                                 "############ [GPU] final write: (1200000, 1200000) \n",
                                 "############ [GPU] final write gpu top: (0) \n",
                             }));
    EXPECT_EQ(History(), "*****GPU: \nfreq=1200000 " + Now() + "\n");

    // Pinned at the top: the limit is gone, but as nobody was told of it nobody is told so.
    Group().DoConfig(800000, 1000000);
    mLog.Clear();
    Group().DoConfig(kHighest, kHighest);
    EXPECT_EQ(mLog.Count(4, "[GPU] end limit freq 2000000 ~ 2000000"), 0U);
    Group().DoConfig(800000, kHighest);
    EXPECT_EQ(mLog.Count(4, "[GPU] end limit freq 800000 ~ 2000000"), 1U);
}

TEST_F(FrequencyGroupTest, ALimitThatReplacesAnotherLeavesItWithoutAnEnd) {
    Group().DoConfig(300000, 1200000);
    const std::string first = Now();
    mClock.Advance(std::chrono::milliseconds(1500));
    Group().DoConfig(300000, 1000000);
    const std::string second = Now();
    EXPECT_EQ(mLog.Count(4, "[GPU] start limit freq 300000 ~ 1000000"), 1U);
    EXPECT_EQ(History(), "*****GPU: \nfreq=1200000 " + first + "\nfreq=1000000 " + second + "\n");
    mClock.Advance(std::chrono::seconds(1));
    Group().DoConfig(300000, kHighest);
    EXPECT_EQ(History(), "*****GPU: \nfreq=1200000 " + first + "\nfreq=1000000 " + second + "  " +
                             Now() + "\n");
}

TEST_F(FrequencyGroupTest, TheSameLimitAfterAPauseIsANewRecord) {
    Group().DoConfig(300000, 1200000);
    Group().DoConfig(300000, kHighest);
    Group().DoConfig(300000, 1200000);
    const std::string now = Now();
    EXPECT_EQ(History(),
              "*****GPU: \nfreq=1200000 " + now + "  " + now + "\nfreq=1200000 " + now + "\n");
    EXPECT_EQ(mLog.Count(4, "[GPU] start limit freq 300000 ~ 1200000"), 2U);
}

TEST_F(FrequencyGroupTest, TheHistoryHoldsTheLastFiftyLimits) {
    constexpr int kFirst = 1000000;
    for (int i = 0; i < 51; ++i) {
        Group().DoConfig(300000, kFirst + i);
    }
    std::string expected = "*****GPU: \n";
    for (int i = 1; i < 51; ++i) {
        expected += "freq=" + std::to_string(kFirst + i) + " " + Now() + "\n";
    }
    EXPECT_EQ(History(), expected);
}

TEST_F(FrequencyGroupTest, AFailedFirstMaximumWriteDoesNotMatter) {
    mDevice.Inject(kMax, OperationKind::WRITE, Fault::Errno(EINVAL));
    EXPECT_EQ(Group().DoConfig(800000, 1200000), 0);
    EXPECT_EQ(TakeWrites(), (Writes{{kMin, "800000"}, {kMax, "1200000"}, {kGpuTop, "0"}}));
}

TEST_F(FrequencyGroupTest, AFailedMinimumWriteEndsThePass) {
    mDevice.Inject(kMin, OperationKind::WRITE, Fault::Errno(EINVAL));
    EXPECT_EQ(Group().DoConfig(800000, 1200000), 0);
    EXPECT_EQ(TakeWrites(), (Writes{{kMax, "1200000"}}));
    EXPECT_EQ(mLog.Count(4, "[GPU] start limit freq 800000 ~ 1200000"), 1U);
    EXPECT_EQ(History(), "*****GPU: \nfreq=1200000 " + Now() + "\n");
}

TEST_F(FrequencyGroupTest, AFailedSecondMaximumWriteEndsThePass) {
    mDevice.Inject(kMax, OperationKind::WRITE, Fault::Errno(EINVAL).StartingAt(2));
    EXPECT_EQ(Group().DoConfig(800000, 1200000), 0);
    EXPECT_EQ(TakeWrites(), (Writes{{kMax, "1200000"}, {kMin, "800000"}}));
    // The switch was not reached, so the same pair still has to write it.
    Group().DoConfig(800000, 1200000);
    EXPECT_EQ(TakeWrites().back(), (std::pair<std::string, std::string>{kGpuTop, "0"}));
}

TEST_F(FrequencyGroupTest, ADeviceThatCameBackIsWrittenInTheSamePassAndOrder) {
    Group().DoConfig(800000, 1200000);
    TakeWrites();
    for (const char* path : {kMin, kMax, kGpuTop}) {
        mDevice.Remove(path);
        mDevice.Restore(path);
    }
    Group().DoConfig(700000, 1100000);
    EXPECT_EQ(TakeWrites(), (Writes{
                                {kMax, "1100000"},
                                {kMin, "700000"},
                                {kMax, "1100000"},
                                {kGpuTop, "0"},
                            }));
    EXPECT_EQ(mDevice.OpenDescriptors(), 3U);
    EXPECT_TRUE(mLog.Texts(5).empty());
    EXPECT_TRUE(mLog.Texts(6).empty());
}

TEST_F(FrequencyGroupTest, AMissingMinimumNodeEndsThePassUntilItIsThere) {
    mDevice.Remove(kMin);
    Group().DoConfig(800000, 1200000);
    EXPECT_EQ(TakeWrites(), (Writes{{kMax, "1200000"}}));
    EXPECT_EQ(mLog.Texts(6),
              Texts{"[GPU] open file /freq/min failed, errno=2 (No such file or directory) \n"});
    mDevice.Restore(kMin);
    Group().DoConfig(800000, 1200000);
    EXPECT_EQ(TakeWrites().size(), 4U);
}

TEST_F(FrequencyGroupTest, AFailedGpuWriteIsTriedAgain) {
    mDevice.Inject(kGpuTop, OperationKind::WRITE, Fault::Errno(EIO));
    Group().DoConfig(800000, 1200000);
    EXPECT_EQ(mLog.Count(5, "[GPU] write to gpu top frequency failed! \n"), 1U);
    EXPECT_TRUE(mDevice.WritesTo(kGpuTop).empty());
    Group().DoConfig(800000, 1200000);
    EXPECT_EQ(mDevice.WritesTo(kGpuTop), Texts{"0"});
    Group().DoConfig(800000, 1200000);
    EXPECT_EQ(mDevice.WritesTo(kGpuTop), Texts{"0"});
    EXPECT_EQ(mLog.Texts(5).size(), 2U);  // the node's own failure, and this one
}

TEST_F(FrequencyGroupTest, EachLimitWritesTheGpuSwitch) {
    Group().DoConfig(300000, 1200000);
    Group().DoConfig(300000, 1100000);
    Group().DoConfig(300000, kHighest);
    EXPECT_EQ(mDevice.WritesTo(kGpuTop), (Texts{"0", "0", "5000"}));
}

TEST_F(FrequencyGroupTest, AGroupWithoutAGpuSwitchWritesTwoNodes) {
    FrequencyGroup group(Config(), PERF_WORK_MODE_0, "");
    group.DoConfig(800000, 1200000);
    EXPECT_EQ(mDevice.TouchedNodes(), (Texts{kMax, kMin}));
    EXPECT_TRUE(mLog.Texts(3).empty());
}

TEST_F(FrequencyGroupTest, TheLogSwitchSilencesAllButFailures) {
    mDevice.Inject(kGpuTop, OperationKind::WRITE, Fault::Errno(EIO));
    const LogCapture quiet(0);
    Group().DoConfig(800000, 1200000);
    Group().DoConfig(800000, 1200000);
    Group().DoConfig(800000, 1200000);
    EXPECT_EQ(quiet.Texts().size(), 2U);
    EXPECT_EQ(quiet.Count(5, "[GPU] write to gpu top frequency failed! \n"), 1U);
}

TEST_F(FrequencyGroupTest, NodesStayOpenUntilClosed) {
    Group().DoConfig(800000, 1200000);
    Group().DoConfig(800000, 1100000);
    EXPECT_EQ(mDevice.Operations(OperationKind::OPEN).size(), 3U);
    EXPECT_EQ(mDevice.OpenDescriptors(), 3U);
    Group().CloseAllFds();
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
    Group().CloseAllFds();
    EXPECT_EQ(mDevice.Operations(OperationKind::CLOSE).size(), 3U);
    Group().DoConfig(800000, 1000000);
    EXPECT_EQ(mDevice.OpenDescriptors(), 3U);
    mGroup.reset();
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
}

TEST_F(FrequencyGroupTest, TheBaseValuesAreWrittenAsTheyAre) {
    std::vector<SpecifiedGroupDumpInfo> info;
    Group().DumpBaseValueAfterMapping(info);
    ASSERT_EQ(info.size(), 1U);
    EXPECT_EQ(info[0].boostValue, "300000");
    EXPECT_EQ(info[0].limitValue, "2000000");
    EXPECT_EQ(info[0].boostNode, kMin);
    EXPECT_EQ(info[0].limitNode, kMax);
}

TEST_F(FrequencyGroupTest, OnlyAPairOfNodesMakesAGroup) {
    EXPECT_TRUE(FrequencyGroup::GroupParametersValidate(Config()));
    EXPECT_TRUE(mLog.Texts().empty());
    EXPECT_FALSE(FrequencyGroup::GroupParametersValidate(Config({})));
    EXPECT_FALSE(FrequencyGroup::GroupParametersValidate(Config({kMin})));
    EXPECT_FALSE(FrequencyGroup::GroupParametersValidate(Config({kMin, kMax, kGpuTop})));
    EXPECT_EQ(mLog.Texts(6), (Texts{
                                 "[GPU] SysNodePath num invalid: 0",
                                 "[GPU] SysNodePath num invalid: 1",
                                 "[GPU] SysNodePath num invalid: 3",
                             }));
    EXPECT_EQ(mLog.Lines()[0].function, "GroupParametersValidate");
}

TEST_F(FrequencyGroupTest, TheCommonChecksOfARowApplyToo) {
    EXPECT_FALSE(FrequencyGroup::GroupParametersValidate(Config({kMin, ""})));
    EXPECT_EQ(mLog.Texts(6), Texts{"[GPU] node path is empty!"});
}

TEST_F(FrequencyGroupTest, TheHistoryMayBeDumpedWhileLimitsChange) {
    std::thread dumper([this] {
        for (int i = 0; i < 200; ++i) {
            const std::string text = History();
            EXPECT_EQ(text.rfind("*****GPU: ", 0), 0U);
            EXPECT_EQ(text.back(), '\n');
        }
    });
    for (int i = 0; i < 200; ++i) {
        Group().UpdateLimitHistoryQue(i % 3 == 0 ? kHighest : 1000000 + i);
    }
    dumper.join();
    EXPECT_NE(History().find("freq=1000199 "), std::string::npos);
}

}  // namespace
}  // namespace corebeacon
