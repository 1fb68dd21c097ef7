#include "resources/single_node_value_resource.h"

#include <gtest/gtest.h>

#include <typeinfo>

#include "resources/node_fixture.h"
#include "resources/single_node_value_group.h"

namespace corebeacon::test {
namespace {

constexpr const char* kFirst = "/single/first";
constexpr const char* kSecond = "/single/second";

PerfGroupConfig Row(unsigned int groupId, const Texts& nodes) {
    return PerfGroupConfig(groupId, "ROW" + std::to_string(groupId), 0, 3, 1, 3, nodes,
                           CHIP_TYPE_COMMON);
}

class SingleNodeValueResourceTest : public NodeFixture {
protected:
    SingleNodeValueResourceTest() {
        mDevice.AddText(kFirst, "-");
        mDevice.AddText(kSecond, "-");
    }

    SingleNodeValueResource& Make(const PerfQosConfig& config) {
        mResource =
            std::make_unique<SingleNodeValueResource>(ResConstructParam{config, PERF_WORK_MODE_0});
        return *mResource;
    }

    std::unique_ptr<SingleNodeValueResource> mResource;
};

TEST_F(SingleNodeValueResourceTest, EveryRowBecomesAGroup) {
    const PerfQosConfig config("SINGLE", {Row(0, {kFirst}), Row(1, {kSecond})});
    for (const bool isLoaded : {false, true}) {
        SingleNodeValueResource& resource = Make(config);
        EXPECT_EQ(resource.InitGroups(config, isLoaded), 0);
        ASSERT_EQ(resource.GetGroupCount(), 2U);
        for (const unsigned int groupId : {0U, 1U}) {
            const std::shared_ptr<PerfGroup> group = resource.GetPerfGroupPtr(groupId);
            const PerfGroup& kind = *group;
            EXPECT_EQ(typeid(kind), typeid(SingleNodeValueGroup));
            EXPECT_EQ(group->GetName(), "ROW" + std::to_string(groupId));
        }
    }
    EXPECT_TRUE(mLog.Texts().empty());
}

TEST_F(SingleNodeValueResourceTest, WithoutRowsThereIsNothingToBuild) {
    const PerfQosConfig config("SINGLE", {});
    SingleNodeValueResource& resource = Make(config);
    EXPECT_EQ(resource.InitGroups(config, false), 0);
    EXPECT_EQ(resource.GetGroupCount(), 0U);
    EXPECT_TRUE(mLog.Texts().empty());
}

TEST_F(SingleNodeValueResourceTest, ABadRowEndsTheBuildingAndKeepsTheGroupsBefore) {
    const PerfQosConfig config("SINGLE",
                               {Row(0, {kFirst}), Row(1, {kFirst, kSecond}), Row(2, {kSecond})});
    SingleNodeValueResource& resource = Make(config);
    EXPECT_EQ(resource.InitGroups(config, false), -1);
    EXPECT_EQ(resource.GetGroupCount(), 1U);
    EXPECT_EQ(mLog.Texts(6), (Texts{"[ROW1] SysNodePath num invalid: 2",
                                    "[SINGLE] GroupParametersValidate fail! "}));
    EXPECT_EQ(mLog.Lines()[1].tag, "PF_SINGLE_NODE_VALUE_RES");
    EXPECT_EQ(mLog.Lines()[1].function, "InitGroups");
}

TEST_F(SingleNodeValueResourceTest, ARequestIsWrittenAndWithdrawnByTheWorker) {
    PerfQosConfig config("SINGLE", {Row(0, {kFirst}), Row(1, {kSecond})});
    SingleNodeValueResource& resource = Make(config);
    Start(resource, config);
    const GroupValueMap groups{{0, {{PERF_OPERATION_BOOST, 2}}}, {1, {{PERF_OPERATION_BOOST, 3}}}};
    Send(resource, PERF_COMMAND_LONG_START, groups);
    EXPECT_EQ(TakeWrites(), (Writes{{kFirst, "2"}, {kSecond, "3"}}));
    Send(resource, PERF_COMMAND_LONG_STOP, groups);
    EXPECT_EQ(TakeWrites(), (Writes{{kFirst, "1"}, {kSecond, "1"}}));
    mResource.reset();
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
    EXPECT_EQ(mLog.Texts(6), Texts{});
}

TEST_F(SingleNodeValueResourceTest, ALimitLowersTheBoostThatIsWritten) {
    PerfQosConfig config("SINGLE", {Row(0, {kFirst})});
    SingleNodeValueResource& resource = Make(config);
    Start(resource, config);
    Send(resource, PERF_COMMAND_LONG_START, {{0, {{PERF_OPERATION_LIMIT, 0}}}});
    EXPECT_EQ(TakeWrites(), (Writes{{kFirst, "0"}}));
}

TEST_F(SingleNodeValueResourceTest, WhileSuspendedNoNodeIsOpenAndResumingWritesTheValueInForce) {
    PerfQosConfig config("SINGLE", {Row(0, {kFirst})});
    SingleNodeValueResource& resource = Make(config);
    Start(resource, config);
    const GroupValueMap groups{{0, {{PERF_OPERATION_BOOST, 2}}}};
    Send(resource, PERF_COMMAND_LONG_START, groups);
    EXPECT_EQ(mDevice.OpenDescriptors(kFirst), 1U);
    TakeWrites();

    Send(resource, PERF_COMMAND_SUSPEND);
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
    Send(resource, PERF_COMMAND_LONG_STOP, groups);
    EXPECT_EQ(TakeWrites(), Writes{});
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);

    Send(resource, PERF_COMMAND_RESUME);
    EXPECT_EQ(TakeWrites(), (Writes{{kFirst, "1"}}));
    EXPECT_EQ(mDevice.OpenDescriptors(kFirst), 1U);
}

TEST_F(SingleNodeValueResourceTest, AWorkModeWritesTheValueAgain) {
    PerfQosConfig config("SINGLE", {Row(0, {kFirst})});
    SingleNodeValueResource& resource = Make(config);
    Start(resource, config);
    Send(resource, PERF_COMMAND_MODE_START, {}, PERF_WORK_MODE_2);
    EXPECT_EQ(TakeWrites(), (Writes{{kFirst, "1"}}));
}

TEST_F(SingleNodeValueResourceTest, AFailedWriteIsMadeGoodByTheNextChange) {
    PerfQosConfig config("SINGLE", {Row(0, {kFirst})});
    SingleNodeValueResource& resource = Make(config);
    Start(resource, config);
    const GroupValueMap groups{{0, {{PERF_OPERATION_BOOST, 2}}}};
    mDevice.Inject(kFirst, sim::OperationKind::WRITE, sim::Fault::Short(0));
    Send(resource, PERF_COMMAND_LONG_START, groups);
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
    EXPECT_EQ(mLog.Texts(5).size(), 1U);
    Send(resource, PERF_COMMAND_LONG_STOP, groups);
    EXPECT_EQ(mDevice.Value(kFirst), "1");
    EXPECT_EQ(mLog.Texts(6), Texts{}) << "a node that fails fails no command";
}

}  // namespace
}  // namespace corebeacon::test
