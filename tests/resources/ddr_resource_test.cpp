#include "resources/ddr_resource.h"

#include <gtest/gtest.h>

#include <typeinfo>

#include "resources/ddr_group.h"
#include "resources/node_fixture.h"

namespace corebeacon::test {
namespace {

constexpr const char* kNode = "/dev/memory_bandwidth";
constexpr const char* kCoefficientIsZero =
    "freq to bandwidth coefficience is 0, will write MinFreq NodePath";

PerfGroupConfig Row(unsigned int groupId = 0, const Texts& nodes = {kNode}) {
    return PerfGroupConfig(groupId, "ROW" + std::to_string(groupId), 400000, 2133000, 400000,
                           2133000, nodes, CHIP_TYPE_COMMON);
}

PerfQosDdrConfig Config(const ByOrigin<float>& coefficient,
                        const std::vector<PerfGroupConfig>& rows = {Row()}) {
    DdrParameters parameters;
    parameters.bandwidthCoefficient = coefficient;
    return PerfQosDdrConfig("DDR", rows, FreqParameters(), parameters);
}

class DdrResourceTest : public NodeFixture {
protected:
    DdrResourceTest() { mDevice.AddBinary(kNode, sim::Aggregate::SUM, 0, false); }

    DdrResource& Make(const PerfQosConfig& config) {
        mResource = std::make_unique<DdrResource>(ResConstructParam{config, PERF_WORK_MODE_0});
        return *mResource;
    }

    /// What the node holds when the first group of such a resource is boosted to 1 GHz.
    std::string Written(const PerfQosConfig& config, bool isLoaded) {
        DdrResource& resource = Make(config);
        EXPECT_EQ(resource.InitGroups(config, isLoaded), 0);
        resource.GetPerfGroupPtr(0)->DoConfig(1000000, kNoLimit);
        return mDevice.Value(kNode);
    }

    std::unique_ptr<DdrResource> mResource;
};

TEST_F(DdrResourceTest, EveryRowBecomesAGroup) {
    const PerfQosDdrConfig config = Config({9.6F, 9.6F}, {Row(0), Row(1)});
    DdrResource& resource = Make(config);
    EXPECT_EQ(resource.InitGroups(config, false), 0);
    ASSERT_EQ(resource.GetGroupCount(), 2U);
    for (const unsigned int groupId : {0U, 1U}) {
        const std::shared_ptr<PerfGroup> group = resource.GetPerfGroupPtr(groupId);
        const PerfGroup& kind = *group;
        EXPECT_EQ(typeid(kind), typeid(DdrGroup));
    }
    EXPECT_TRUE(mLog.Texts().empty());
}

TEST_F(DdrResourceTest, WithoutRowsThereIsNothingToBuild) {
    const PerfQosDdrConfig config = Config({0.0F, 0.0F}, {});
    DdrResource& resource = Make(config);
    EXPECT_EQ(resource.InitGroups(config, false), 0);
    EXPECT_EQ(resource.GetGroupCount(), 0U);
    EXPECT_EQ(mLog.Texts(), Texts{kCoefficientIsZero}) << "told before the rows are looked at";
}

TEST_F(DdrResourceTest, ABadRowEndsTheBuildingWithoutAnotherWord) {
    const PerfQosDdrConfig config =
        Config({9.6F, 9.6F}, {Row(0), Row(1, {kNode, "/other"}), Row(2)});
    DdrResource& resource = Make(config);
    EXPECT_EQ(resource.InitGroups(config, false), -1);
    EXPECT_EQ(resource.GetGroupCount(), 1U);
    EXPECT_EQ(mLog.Texts(), Texts{"[ROW1] SysNodePath num invalid: 2"});
}

TEST_F(DdrResourceTest, TheCoefficientDependsOnWhereTheDescriptionComesFrom) {
    const PerfQosDdrConfig compiledIn = Config({8.0F, 2.0F});
    EXPECT_EQ(Written(compiledIn, false), "8000");
    EXPECT_EQ(Written(compiledIn, true), "2000");
    PerfQosXmlLoadConfig loaded("DDR", "freq", {Row()});
    loaded.bandwidthCoefficient = {8.0F, 2.0F};
    EXPECT_EQ(Written(loaded, true), "2000");
    EXPECT_EQ(Written(PerfQosXmlLoadConfig("DDR", "freq", {Row()}), true), "9600");
}

TEST_F(DdrResourceTest, AConfigurationWithoutACoefficientIsRefused) {
    const PerfQosFreqConfig config("DDR", {Row()}, FreqParameters());
    DdrResource& resource = Make(config);
    EXPECT_EQ(resource.InitGroups(config, false), -1);
    EXPECT_EQ(resource.GetGroupCount(), 0U);
    EXPECT_EQ(mLog.Texts(), Texts{"[DDR] no DDR parameters in the configuration"});
    EXPECT_EQ(mLog.Lines()[0].level, 6);
    EXPECT_EQ(mLog.Lines()[0].tag, "PF_DDR_RES");
    EXPECT_EQ(mLog.Lines()[0].function, "InitGroups");
}

TEST_F(DdrResourceTest, ACoefficientBetweenMinusOneAndOneIsCalledZeroButUsed) {
    EXPECT_EQ(Written(Config({0.5F, 9.6F}), false), "500");
    EXPECT_EQ(mLog.Count(4, kCoefficientIsZero), 1U);
    EXPECT_EQ(mLog.Lines()[0].tag, "PF_DDR_RES");
    EXPECT_EQ(mLog.Lines()[0].function, "InitGroups");
    EXPECT_EQ(Written(Config({-0.99F, 9.6F}), false), "1000000");
    EXPECT_EQ(mLog.Count(4, kCoefficientIsZero), 2U);
    for (const float coefficient : {1.0F, -1.0F, 9.6F, 1.0e30F}) {
        Make(Config({coefficient, 0.0F})).InitGroups(Config({coefficient, 0.0F}), false);
    }
    EXPECT_EQ(mLog.Count(4, kCoefficientIsZero), 2U);

    const LogCapture quiet(2);
    EXPECT_EQ(Written(Config({0.5F, 9.6F}), false), "500");
    EXPECT_EQ(quiet.Texts(), Texts{});
}

TEST_F(DdrResourceTest, ARequestIsConvertedWrittenAndWithdrawn) {
    PerfQosDdrConfig config = Config({8.0F, 0.0F});
    DdrResource& resource = Make(config);
    Start(resource, config);
    GroupValueMap groups{{0, {{PERF_OPERATION_BOOST, 1866000000}}}};
    EXPECT_EQ(resource.RequestValidate(PERF_COMMAND_LONG_START, groups), 0);
    Send(resource, PERF_COMMAND_LONG_START, groups);
    EXPECT_EQ(TakeWrites(), (Writes{{kNode, Binary(14928)}}));
    Send(resource, PERF_COMMAND_LONG_STOP, groups);
    EXPECT_EQ(TakeWrites(), (Writes{{kNode, Binary(3200)}}));
    mResource.reset();
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
    EXPECT_EQ(mLog.Texts(6), Texts{});
}

TEST_F(DdrResourceTest, WhileSuspendedTheKernelSeesNoRequestOfOurs) {
    PerfQosDdrConfig config = Config({8.0F, 0.0F});
    DdrResource& resource = Make(config);
    Start(resource, config);
    Send(resource, PERF_COMMAND_LONG_START, {{0, {{PERF_OPERATION_BOOST, 1866000}}}});
    Send(resource, PERF_COMMAND_SUSPEND);
    EXPECT_EQ(mDevice.Value(kNode), "0");
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
    TakeWrites();
    Send(resource, PERF_COMMAND_RESUME);
    EXPECT_EQ(TakeWrites(), (Writes{{kNode, Binary(14928)}}));
    EXPECT_EQ(mDevice.Value(kNode), "14928");
}

TEST_F(DdrResourceTest, ItHasNoLimitHistory) {
    PerfQosDdrConfig config = Config({8.0F, 0.0F});
    DdrResource& resource = Make(config);
    Start(resource, config);
    Send(resource, PERF_COMMAND_LONG_START, {{0, {{PERF_OPERATION_LIMIT, 1066000}}}});
    std::ostringstream out;
    resource.DumpLimitHistoryLog(out);
    EXPECT_EQ(out.str(), "");
}

}  // namespace
}  // namespace corebeacon::test
