#include "resources/frequency_resource.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>

#include "resources/frequency_group.h"
#include "sim/simulated_device.h"
#include "support/deadline.h"
#include "support/log_capture.h"
#include "support/scoped_node_io.h"

namespace corebeacon {
namespace {

using test::Eventually;
using test::LogCapture;
using test::ScopedNodeIo;
using Texts = std::vector<std::string>;

constexpr const char* kMin = "/freq/min";
constexpr const char* kMax = "/freq/max";
constexpr const char* kFirstTop = "/freq/top_first";
constexpr const char* kSecondTop = "/freq/top_second";

PerfGroupConfig Row(unsigned int groupId = 0, std::vector<std::string> nodes = {kMin, kMax}) {
    return PerfGroupConfig(groupId, "ROW" + std::to_string(groupId), 100, 900, 100, 900, nodes,
                           CHIP_TYPE_COMMON);
}

class FrequencyResourceTest : public testing::Test {
protected:
    FrequencyResourceTest() {
        for (const char* path : {kMin, kMax, kFirstTop, kSecondTop}) {
            mDevice.AddText(path, "-");
        }
        mParameters.gpuTopFreqPath = {kFirstTop, kSecondTop};
    }

    FrequencyResource& Make(const PerfQosConfig& config) {
        mResource =
            std::make_unique<FrequencyResource>(ResConstructParam{config, PERF_WORK_MODE_0});
        return *mResource;
    }

    /// The nodes touched when the first group of such a resource gets a limit.
    Texts Touched(const PerfQosConfig& config, bool isLoaded) {
        mDevice.ClearRecord();
        FrequencyResource& resource = Make(config);
        EXPECT_EQ(resource.InitGroups(config, isLoaded), 0);
        resource.GetPerfGroupPtr(0)->DoConfig(100, 500);
        return mDevice.TouchedNodes();
    }

    sim::SimulatedDevice mDevice;
    ScopedNodeIo mScope{mDevice};
    LogCapture mLog;
    FreqParameters mParameters;
    std::unique_ptr<FrequencyResource> mResource;
};

TEST_F(FrequencyResourceTest, EveryRowBecomesAGroup) {
    const PerfQosFreqConfig config("FREQ", {Row(0), Row(1)}, mParameters);
    FrequencyResource& resource = Make(config);
    EXPECT_EQ(resource.InitGroups(config, false), 0);
    EXPECT_EQ(resource.GetGroupCount(), 2U);
    for (unsigned int groupId : {0U, 1U}) {
        EXPECT_NE(dynamic_cast<FrequencyGroup*>(resource.GetPerfGroupPtr(groupId).get()), nullptr);
    }
}

TEST_F(FrequencyResourceTest, WithoutRowsThereIsNothingToBuild) {
    const PerfQosFreqConfig config("FREQ", {}, mParameters);
    FrequencyResource& resource = Make(config);
    EXPECT_EQ(resource.InitGroups(config, false), 0);
    EXPECT_EQ(resource.GetGroupCount(), 0U);
    EXPECT_TRUE(mLog.Texts().empty());
}

TEST_F(FrequencyResourceTest, ABadRowEndsTheBuildingAndKeepsTheGroupsBefore) {
    const PerfQosFreqConfig config("FREQ", {Row(0), Row(1, {kMin}), Row(2)}, mParameters);
    FrequencyResource& resource = Make(config);
    EXPECT_EQ(resource.InitGroups(config, false), -1);
    EXPECT_EQ(resource.GetGroupCount(), 1U);
    EXPECT_EQ(mLog.Texts(6), (Texts{"[ROW1] SysNodePath num invalid: 1",
                                    "[ROW1] GroupParametersValidate failed!"}));
    EXPECT_EQ(mLog.Lines()[1].tag, "PF_FREQ_RES");
    EXPECT_EQ(mLog.Lines()[1].function, "InitGroups");
}

TEST_F(FrequencyResourceTest, TheGpuSwitchDependsOnWhereTheDescriptionComesFrom) {
    const PerfQosFreqConfig compiled("FREQ", {Row()}, mParameters);
    EXPECT_EQ(Touched(compiled, false), (Texts{kMax, kMin, kFirstTop}));
    EXPECT_EQ(Touched(compiled, true), (Texts{kMax, kMin, kSecondTop}));
    PerfQosXmlLoadConfig loaded("FREQ", "freq", {Row()});
    static_cast<FreqParameters&>(loaded) = mParameters;
    EXPECT_EQ(Touched(loaded, true), (Texts{kMax, kMin, kSecondTop}));
}

TEST_F(FrequencyResourceTest, AKindThatKnowsNoGpuSwitchHasNone) {
    const PerfQosConfig plain("FREQ", {Row()});
    EXPECT_EQ(Touched(plain, false), (Texts{kMax, kMin}));
}

TEST_F(FrequencyResourceTest, ARequestIsWrittenAndWithdrawnByTheWorker) {
    PerfQosFreqConfig config("FREQ", {Row()}, {});
    FrequencyResource& resource = Make(config);
    ASSERT_EQ(resource.InitResource(config, false), 0);
    ASSERT_EQ(resource.InitThread(), 0);
    GroupValueMap groups{{0, {{PERF_OPERATION_BOOST, 300}, {PERF_OPERATION_LIMIT, 600}}}};
    EXPECT_EQ(resource.RequestValidate(PERF_COMMAND_LONG_START, groups), 0);
    auto item = std::make_shared<PerfCommandItem>();
    item->handle = 5;
    item->groups = groups;
    resource.SendCommandToFifoQ({PERF_COMMAND_LONG_START, item});
    EXPECT_TRUE(Eventually([this] { return mDevice.Writes().size() >= 3; }));
    EXPECT_EQ(mDevice.WritesTo(kMax), (Texts{"600", "600"}));
    EXPECT_EQ(mDevice.WritesTo(kMin), Texts{"300"});

    resource.SendCommandToFifoQ({PERF_COMMAND_LONG_STOP, item});
    EXPECT_TRUE(Eventually([this] { return mDevice.Writes().size() >= 6; }));
    EXPECT_EQ(mDevice.WritesTo(kMax), (Texts{"600", "600", "900", "900"}));
    EXPECT_EQ(mDevice.WritesTo(kMin), (Texts{"300", "100"}));

    mResource.reset();
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
    EXPECT_EQ(mLog.Texts(6), Texts{});
}

}  // namespace
}  // namespace corebeacon
