#include <atomic>
#include <thread>

#include "engine/perf_resource_fixture.h"
#include "support/grouped_digits.h"

namespace corebeacon::test {

namespace {

using Texts = std::vector<std::string>;

constexpr bool kLog = false;
constexpr bool kBaseInfo = true;

const std::string kHistory = "history of g0\nhistory of g1\nhistory of g2\n";
const std::string kBaseText =
    "Q id=3\n"
    "  group=g0  base=100~1000  mapped=low~high  nodes=/sys/g0,/sys/g0_max\n"
    "  group=g1  base=100~1000  mapped=low~high  nodes=/sys/g1,/sys/g1_max\n"
    "  group=g2  base=100~1000  mapped=low~high  nodes=/sys/g2,/sys/g2_max\n";

class PerfResourceDump : public PerfResourceTest {
protected:
    void Ask(bool isBaseInfo) {
        Send(isBaseInfo ? PERF_COMMAND_GET_BASE_INFO : PERF_COMMAND_GET_LOG, Item(0, {}));
    }
    void Answer() { mResource->HandleCommand(WorkStatus::NEW_COMMAND); }
    std::string Fetch(bool isBaseInfo) {
        std::ostringstream out;
        EXPECT_TRUE(mResource->WaitLogFinish(isBaseInfo, out));
        return out.str();
    }
    /// What the groups say of themselves now.
    std::string GroupTexts() const {
        std::ostringstream out;
        for (unsigned int groupId = 0; groupId < 3; ++groupId) {
            mResource->GetPerfGroupPtr(groupId)->Dump(out);
        }
        return out.str();
    }
};

TEST_F(PerfResourceDump, TheLogIsEveryGroupAndThenTheLimitHistory) {
    Step(PERF_COMMAND_LONG_START, Item(5, Boost(1, 600)));
    Ask(kLog);
    Answer();
    EXPECT_EQ(Fetch(kLog), GroupTexts() + kHistory);
    EXPECT_NE(GroupTexts().find("g1: boostBase(600, 5)"), std::string::npos);
}

TEST_F(PerfResourceDump, TheLogShowsNumbersInOneWayWhateverLocaleTheHostHasSet) {
    Step(PERF_COMMAND_LONG_START, Item(5, Boost(1, 4000)));
    const std::string expected = GroupTexts() + kHistory;
    ASSERT_NE(expected.find("g1: boostBase(4000, 5)limitBase(1000, *)"), std::string::npos);
    std::ostringstream out;
    const GlobalGroupedDigits grouped;
    Ask(kLog);
    Answer();
    ASSERT_TRUE(mResource->WaitLogFinish(kLog, out));
    EXPECT_EQ(out.str(), expected);
}

TEST_F(PerfResourceDump, TheLimitHistoryCanBeHadWithoutTheWorker) {
    std::ostringstream out;
    mResource->DumpLimitHistoryLog(out);
    EXPECT_EQ(out.str(), kHistory);
}

TEST_F(PerfResourceDump, TheBaseInformationNamesTheResourceAndThenEachGroup) {
    Ask(kBaseInfo);
    Answer();
    EXPECT_EQ(Fetch(kBaseInfo), kBaseText);
}

TEST_F(PerfResourceDump, TheBaseInformationIsAlignedAndReadsBack) {
    PerfGroupConfig wide(1, "with blank", -20, 5000, -20, 5000,
                         std::vector<std::string>{"/sys/one", "/a,b/x"}, CHIP_TYPE_COMMON);
    PerfGroupConfig bare(2, "", 0, 1, 0, 1, std::vector<std::string>{}, CHIP_TYPE_COMMON);
    PerfQosConfig config("W", {MakeRow(0, "g"), wide, bare});
    RecordedResource resource({config, PERF_WORK_MODE_0, PERF_QOS_THERMAL_THRESHOLD_UP}, mKnobs);
    ASSERT_EQ(resource.InitResource(config, false), 0);
    resource.GetBaseInfo();
    std::ostringstream out;
    ASSERT_TRUE(resource.WaitLogFinish(kBaseInfo, out));
    EXPECT_EQ(out.str(),
              "W id=104\n"
              "  group=g             base=100~1000  mapped=low      nodes=/sys/g\n"
              "  group=\"with blank\"  base=-20~5000  mapped=low,low  nodes=/sys/one,\"/a,b/x\"\n"
              "  group=\"\"            base=0~1       mapped=         nodes=\n");
}

TEST_F(PerfResourceDump, GroupsThatWereNotBuiltAreLeftOut) {
    mResource->LoseGroup(1);
    mResource->GetBaseInfo();
    mResource->GetLog();
    EXPECT_EQ(Fetch(kBaseInfo).find("g1"), std::string::npos);
    EXPECT_EQ(Fetch(kLog).find("g1"), std::string::npos);
}

TEST_F(PerfResourceDump, DumpsAreAppendedToWhatTheStreamHolds) {
    std::ostringstream out;
    out << "before\n";
    mResource->GetBaseInfo();
    ASSERT_TRUE(mResource->WaitLogFinish(kBaseInfo, out));
    EXPECT_EQ(out.str(), "before\n" + kBaseText);
}

TEST_F(PerfResourceDump, TheTwoKindsDoNotTakeEachOthersPlace) {
    Ask(kLog);
    Ask(kBaseInfo);
    Answer();
    Answer();
    EXPECT_EQ(Fetch(kBaseInfo), kBaseText);
    EXPECT_EQ(Fetch(kLog), GroupTexts() + kHistory);
}

TEST_F(PerfResourceDump, ADumpThatNobodyFetchedIsNotTheAnswerToALaterQuestion) {
    Ask(kLog);
    Answer();
    Step(PERF_COMMAND_LONG_START, Item(5, Boost(1, 600)));
    Ask(kLog);
    std::atomic<bool> isFetched{false};
    std::string text;
    std::thread waiter([&] {
        text = Fetch(kLog);
        isFetched = true;
    });
    Answer();
    ASSERT_TRUE(Eventually([&] { return isFetched.load(); }));
    waiter.join();
    EXPECT_EQ(text, GroupTexts() + kHistory);
}

TEST_F(PerfResourceDump, NotEvenAStopMakesAnOldDumpTheAnswerToALaterQuestion) {
    for (const bool kind : {kLog, kBaseInfo}) {
        Ask(kind);
        Answer();
    }
    Ask(kLog);
    Ask(kBaseInfo);
    mResource->StopThread();
    for (const bool kind : {kLog, kBaseInfo}) {
        std::ostringstream out;
        EXPECT_FALSE(mResource->WaitLogFinish(kind, out));
        EXPECT_EQ(out.str(), "");
    }
}

TEST_F(PerfResourceDump, ADeliveredDumpIsGone) {
    for (const bool kind : {kLog, kBaseInfo}) {
        Ask(kind);
        Answer();
        Fetch(kind);
    }
    mResource->StopThread();
    for (const bool kind : {kLog, kBaseInfo}) {
        std::ostringstream out;
        EXPECT_FALSE(mResource->WaitLogFinish(kind, out));
        EXPECT_EQ(out.str(), "");
    }
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "fail to get log for res Q"), 2U);
    EXPECT_EQ(mLog.Lines().back().tag, "PF_RES");
}

TEST_F(PerfResourceDump, ADumpThatWasReadyBeforeTheStopIsStillDelivered) {
    Ask(kLog);
    Answer();
    mResource->StopThread();
    EXPECT_EQ(Fetch(kLog), GroupTexts() + kHistory);
}

TEST_F(PerfResourceDump, AStopReleasesThoseWhoWait) {
    std::atomic<int> failures{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 4; ++i) {
        Ask(i % 2 == 0);
        waiters.emplace_back([&, i] {
            std::ostringstream out;
            failures += mResource->WaitLogFinish(i % 2 == 0, out) ? 0 : 1;
        });
    }
    mResource->StopThread();
    for (std::thread& waiter : waiters) {
        waiter.join();
    }
    EXPECT_EQ(failures, 4);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "fail to get log for res Q"), 4U);
}

TEST_F(PerfResourceDump, AQuestionWithoutAnItemIsNotWaitedFor) {
    Step(PERF_COMMAND_GET_LOG, nullptr);
    Step(PERF_COMMAND_GET_BASE_INFO, nullptr);
    Ask(kLog);
    Answer();
    EXPECT_EQ(Fetch(kLog), GroupTexts() + kHistory);
}

TEST_F(PerfResourceDump, SixteenCallersEachGetAWholeDump) {
    const std::string expected = GroupTexts() + kHistory;
    ASSERT_EQ(mResource->InitThread(), 0);
    std::vector<std::thread> callers;
    for (int caller = 0; caller < 16; ++caller) {
        callers.emplace_back([&, caller] {
            for (int i = 0; i < 25; ++i) {
                const bool kind = (caller + i) % 2 == 0;
                Ask(kind);
                EXPECT_EQ(Fetch(kind), kind ? kBaseText : expected);
            }
        });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
}

}  // namespace

}  // namespace corebeacon::test
