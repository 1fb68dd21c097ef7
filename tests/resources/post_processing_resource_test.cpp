#include "resources/post_processing_resource.h"

#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "support/log_capture.h"
#include "support/manual_clock.h"

namespace corebeacon {
namespace {

using std::chrono::milliseconds;
using test::LogCapture;
using test::ManualClock;
using Texts = std::vector<std::string>;

/// A group that notes what it is told to write.
class NotedGroup : public PerfGroup {
public:
    NotedGroup(const PerfGroupConfig& config, PerfWorkMode mode, Texts& steps)
        : PerfGroup(config, mode), mSteps(steps) {}

    void DumpBaseValueAfterMapping(std::vector<SpecifiedGroupDumpInfo>&) const override {}
    int DoConfig(int boost, int /*limit*/) override {
        mSteps.push_back(mName + "=" + std::to_string(boost));
        return 0;
    }

private:
    Texts& mSteps;
};

/// Three groups, of which the middle one was not built, and post-process steps that a test decides
/// on.
class NotedResource : public PostProcessingResource {
public:
    NotedResource(const ResConstructParam& param, Texts& steps)
        : PostProcessingResource(param), mSteps(steps) {}
    ~NotedResource() override { StopThread(); }

    int InitGroups(const PerfQosConfig& config, bool) override {
        for (const PerfGroupConfig& row : config.groups) {
            mGroups.push_back(std::make_shared<NotedGroup>(row, mWorkMode, mSteps));
        }
        mGroups[1] = nullptr;
        return 0;
    }
    int CommandPostProcess() override {
        mSteps.emplace_back("post");
        if (results.empty()) {
            return 0;
        }
        const int result = results.front();
        results.pop_front();
        return result;
    }

    PerfWorkMode WorkMode() const { return mWorkMode; }

    std::deque<int> results;  ///< of the next steps; 0 for all that follow

private:
    Texts& mSteps;
};

PerfGroupConfig Row(unsigned int groupId, const std::string& name) {
    return {groupId,         name, 0, 5000, 100, 1000, std::vector<std::string>{"/" + name},
            CHIP_TYPE_COMMON};
}

class PostProcessingResourceTest : public testing::Test {
protected:
    PostProcessingResourceTest() { mResource.InitResource(mConfig, false); }

    PerfCommandItem Item(const GroupValueMap& groups, milliseconds span = milliseconds(0)) const {
        PerfCommandItem item;
        item.handle = 7;
        item.startTime = mClock.SteadyNow();
        item.endTime = mClock.SteadyNow() + span;
        item.groups = groups;
        return item;
    }

    static PerfCommandItem ModeItem(PerfWorkMode mode) {
        PerfCommandItem item;
        item.workMode = mode;
        return item;
    }

    int Start(const GroupValueMap& groups, milliseconds span) {
        return mResource.CommandProcess(Item(groups, span), &PerfGroup::ShortTermStart);
    }

    Texts TakeSteps() { return std::exchange(mSteps, {}); }

    ManualClock mClock;
    LogCapture mLog;
    Texts mSteps;
    PerfQosConfig mConfig{"Q", {Row(0, "a"), Row(1, "b"), Row(2, "c")}};
    NotedResource mResource{ResConstructParam{mConfig, PERF_WORK_MODE_0, PERF_QOS_GPU}, mSteps};
};

const GroupValueMap kBoth{{0, {{PERF_OPERATION_BOOST, 500}}}, {2, {{PERF_OPERATION_BOOST, 600}}}};

TEST_F(PostProcessingResourceTest, ACommandIsFollowedByOneStepWhenAllGroupsHaveIt) {
    EXPECT_EQ(Start(kBoth, milliseconds(50)), 0);
    EXPECT_EQ(TakeSteps(), (Texts{"a=500", "c=600", "post"}));
    EXPECT_EQ(mLog.Texts(6), Texts{});
}

TEST_F(PostProcessingResourceTest, ACommandThatFailsIsFollowedByNoStep) {
    EXPECT_EQ(Start({}, milliseconds(50)), -1);
    EXPECT_EQ(TakeSteps(), Texts{});
    EXPECT_EQ(mLog.Texts(6),
              (Texts{"[Q] invalid group num: 0", "[Q] NormalCommandProcess failed"}));
    EXPECT_EQ(mLog.Lines().back().tag, "PF_POST_PROCESSING_RES");
    EXPECT_EQ(mLog.Lines().back().function, "CommandProcess");
}

TEST_F(PostProcessingResourceTest, AStepThatFailsFailsTheCommand) {
    mResource.results = {-1};
    EXPECT_EQ(Start(kBoth, milliseconds(50)), -1);
    EXPECT_EQ(TakeSteps(), (Texts{"a=500", "c=600", "post"}));
    EXPECT_EQ(mLog.Texts(6), Texts{"[Q] CommandPostProcess failed"});
    EXPECT_EQ(mLog.Lines().back().tag, "PF_POST_PROCESSING_RES");
}

TEST_F(PostProcessingResourceTest, AWorkModeIsFollowedByAStepAfterEachGroup) {
    EXPECT_EQ(mResource.SetWorkMode(ModeItem(PERF_WORK_MODE_2)), 0);
    EXPECT_EQ(TakeSteps(), (Texts{"a=100", "post", "c=100", "post"}));
    EXPECT_EQ(mResource.WorkMode(), PERF_WORK_MODE_2);
    EXPECT_EQ(mLog.Texts(6), Texts{});
}

TEST_F(PostProcessingResourceTest, AStepThatFailsKeepsTheWorkModeFromTheGroupsAfterIt) {
    mResource.results = {-1};
    EXPECT_EQ(mResource.SetWorkMode(ModeItem(PERF_WORK_MODE_2)), -1);
    EXPECT_EQ(TakeSteps(), (Texts{"a=100", "post"}));
    EXPECT_EQ(mLog.Texts(6), Texts{"[Q] CommandPostProcess failed"});
    EXPECT_EQ(mLog.Lines().back().function, "SetWorkMode");
}

TEST_F(PostProcessingResourceTest, AGroupThatRefusesTheWorkModeEndsItBeforeItsStep) {
    EXPECT_EQ(mResource.SetWorkMode(ModeItem(static_cast<PerfWorkMode>(7))), -1);
    EXPECT_EQ(TakeSteps(), Texts{});
    EXPECT_EQ(mLog.Texts(6).back(), "[Q] SetWorkMode failed");
    EXPECT_EQ(mLog.Lines().back().tag, "PF_POST_PROCESSING_RES");
}

TEST_F(PostProcessingResourceTest, ATimeOutIsFollowedByOneStepWhenAllGroupsHaveHadIt) {
    ASSERT_EQ(Start(kBoth, milliseconds(50)), 0);
    TakeSteps();
    mClock.Advance(milliseconds(50));
    EXPECT_EQ(mResource.HandleCommandTimeOut(), 0);
    EXPECT_EQ(TakeSteps(), (Texts{"a=100", "c=100", "post"}));
    EXPECT_EQ(mLog.Texts(6), Texts{});
}

TEST_F(PostProcessingResourceTest, AStepThatFailsFailsTheTimeOut) {
    mResource.results = {-1};
    EXPECT_EQ(mResource.HandleCommandTimeOut(), -1);
    EXPECT_EQ(TakeSteps(), Texts{"post"});
    EXPECT_EQ(mLog.Texts(6), Texts{"[Q] CommandPostProcess failed"});
    EXPECT_EQ(mLog.Lines().back().function, "HandleCommandTimeOut");
}

TEST_F(PostProcessingResourceTest, AGroupThatCannotTimeOutEndsItBeforeTheStep) {
    ASSERT_EQ(Start(kBoth, milliseconds(50)), 0);
    mResource.GetPerfGroupPtr(0)->SetWorkMode(static_cast<PerfWorkMode>(7));
    mClock.Advance(milliseconds(50));
    TakeSteps();
    mLog.Clear();
    EXPECT_EQ(mResource.HandleCommandTimeOut(), -1);
    EXPECT_EQ(TakeSteps(), Texts{});
    EXPECT_EQ(mLog.Texts(6).back(), "[Q] ShortTermTimeOut failed");
    EXPECT_EQ(mLog.Lines().back().tag, "PF_POST_PROCESSING_RES");
}

TEST_F(PostProcessingResourceTest, SuspensionIsFollowedByNoStep) {
    mResource.SetSuspend(true);
    mResource.SetSuspend(false);
    EXPECT_EQ(TakeSteps(), (Texts{"a=100", "c=100"}));
}

}  // namespace
}  // namespace corebeacon
