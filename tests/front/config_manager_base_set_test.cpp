#include <gtest/gtest.h>

#include "front/front_fixture.h"
#include "sim/eas_example.h"

namespace corebeacon::test {
namespace {

constexpr unsigned int kTopApp = 0;
constexpr unsigned int kVip = 7;

PerfRequestInfo AskBase(unsigned int groupId, int level,
                        PerfOperationType operation = PERF_OPERATION_BOOST) {
    return {PERF_QOS_EAS_BASE, {{groupId, {{operation, level}}}}};
}

class BaseSetTest : public FrontFixture {
protected:
    void SetUp() override {
        sim::AddEasNodes(*mDevice);
        PerfQosEasConfig eas = sim::MakeEasConfig();
        PerfDefaultConfig config = FrequencyConfig();
        config.qosConfigMap.emplace(PERF_QOS_EAS, eas);
        ASSERT_EQ(InitFront(config), 0);
        mIdleTopApp = Value(kTopAppNode);
        mIdleVip = Value(kVipNode);
    }

    int Request(unsigned int duration, const std::vector<PerfRequestInfo>& request) {
        return mFront->PerfRequest(kPid, duration, request, mHandle);
    }

    const std::string kTopAppNode = sim::EasBoostNode(kTopApp);
    const std::string kVipNode = sim::EasBoostNode(kVip);
    std::string mIdleTopApp;
    std::string mIdleVip;
};

TEST_F(BaseSetTest, ARequestOfNothingButBaseValuesSucceedsWithoutAHandle) {
    EXPECT_EQ(Request(0, {AskBase(kTopApp, 10), AskBase(kVip, 20), AskBase(kVip, 30)}), 0);
    EXPECT_EQ(mHandle, ~0UL);
    EXPECT_NE(Value(kTopAppNode), mIdleTopApp);
    EXPECT_NE(Value(kVipNode), mIdleVip);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "PERF_COMMAND_BASE_SET not need allocate handle!"), 1U);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{});

    // The later element won, as in any request.
    const std::string merged = Value(kVipNode);
    EXPECT_EQ(Request(0, {AskBase(kVip, 30)}), 0);
    EXPECT_EQ(Value(kVipNode), merged);
}

TEST_F(BaseSetTest, ABaseValueStandsWhateverIsReleased) {
    EXPECT_EQ(Request(0, {AskBase(kTopApp, 10)}), 0);
    const std::string raised = Value(kTopAppNode);
    EXPECT_EQ(mFront->PerfRelease(kPid, mHandle), 0);
    EXPECT_EQ(mFront->PerfReleaseAll(kPid), 0);
    EXPECT_EQ(mFront->Reset(), 0);
    EXPECT_EQ(Value(kTopAppNode), raised);
    EXPECT_EQ(Request(0, {AskBase(kTopApp, sim::kEasDefaultLevel)}), 0);
    EXPECT_EQ(Value(kTopAppNode), mIdleTopApp);
}

TEST_F(BaseSetTest, BaseValuesAreNeitherTimedNorMixedNorLimits) {
    EXPECT_EQ(Request(19, {AskBase(kTopApp, 10)}), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{"duration(19) out of range(20, 60000)"});
    mLog.Clear();
    EXPECT_EQ(Request(100, {AskBase(kTopApp, 10)}), -1);
    EXPECT_EQ(Request(0, {AskBase(kTopApp, 10), Ask(PERF_QOS_EAS, PERF_OPERATION_BOOST, 10)}), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Names{"invalid set base command!", "PreHandleEasBaseCommand failed",
                     "invalid set base command!", "PreHandleEasBaseCommand failed"}));
    mLog.Clear();
    EXPECT_EQ(Request(0, {AskBase(kTopApp, 10, PERF_OPERATION_LIMIT)}), -1);
    EXPECT_EQ(
        mLog.Count(LOG_LEVEL_ERROR, "[TOP_APP] PERF_COMMAND_BASE_SET long term limit not allowed "),
        1U);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "RequestValidate failed, pid=1001, invalidQosId=9"), 1U);
    EXPECT_EQ(Value(kTopAppNode), mIdleTopApp);
}

TEST_F(BaseSetTest, ABaseValueNeedsAClientAllTheSame) {
    EXPECT_EQ(mFront->PerfRequest(0, 0, {AskBase(kTopApp, 10)}, mHandle), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Names{"invalid pid: 0", "RequestHandle failed for pid 0"}));
    EXPECT_EQ(Value(kTopAppNode), mIdleTopApp);
}

class NoEasTest : public FrontFixture {};

TEST_F(NoEasTest, WithoutTheResourceABaseValueIsRefusedUnderItsId) {
    Start();
    EXPECT_EQ(mFront->PerfRequest(kPid, 0, {AskBase(kTopApp, 10)}, mHandle), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              Names{"RequestValidate failed, pid=1001, invalidQosId=9"});
}

}  // namespace
}  // namespace corebeacon::test
