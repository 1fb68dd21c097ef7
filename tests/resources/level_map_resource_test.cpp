#include "resources/level_map_resource.h"

#include <gtest/gtest.h>

#include <memory>
#include <typeinfo>

#include "resources/ioctl_level_map_group.h"
#include "resources/ioctl_level_map_resource.h"
#include "resources/level_map_group.h"
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

constexpr const char* kNode = "/level/node";
constexpr const char* kPrioDevice = "/dev/prio";

PerfGroupConfig Row(unsigned int groupId, const std::string& node = kNode,
                    const Level2ValueMap& levels = {{100, {"4:1"}}, {110, {"4:2"}}}) {
    return PerfGroupConfig(groupId, "ROW" + std::to_string(groupId), 100, {node}, levels,
                           CHIP_TYPE_COMMON);
}

std::shared_ptr<PerfCommandItem> Item(const GroupValueMap& groups) {
    auto item = std::make_shared<PerfCommandItem>();
    item->handle = 5;
    item->groups = groups;
    return item;
}

template <typename ResourceType, typename GroupType>
struct Kind {
    using Resource = ResourceType;
    using Group = GroupType;
};
using Kinds = testing::Types<Kind<LevelMapResource, LevelMapGroup>,
                             Kind<IoctlLevelMapResource, IoctlLevelMapGroup>>;

/// What the two kinds share: all but the way in which their groups apply a level.
template <typename Kind>
class LevelMapKindTest : public testing::Test {
protected:
    PerfResource& Make(const PerfQosConfig& config) {
        mResource =
            std::make_unique<typename Kind::Resource>(ResConstructParam{config, PERF_WORK_MODE_0});
        return *mResource;
    }

    LogCapture mLog;
    std::unique_ptr<PerfResource> mResource;
};
TYPED_TEST_SUITE(LevelMapKindTest, Kinds, );

TYPED_TEST(LevelMapKindTest, EveryRowBecomesAGroupOfTheKind) {
    const PerfQosConfig config("LEVELS", {Row(0), Row(1)});
    for (const bool isLoaded : {false, true}) {
        PerfResource& resource = this->Make(config);
        EXPECT_EQ(resource.InitGroups(config, isLoaded), 0);
        ASSERT_EQ(resource.GetGroupCount(), 2U);
        for (const unsigned int groupId : {0U, 1U}) {
            const std::shared_ptr<PerfGroup> group = resource.GetPerfGroupPtr(groupId);
            const PerfGroup& kind = *group;
            EXPECT_EQ(typeid(kind), typeid(typename TypeParam::Group));
            EXPECT_EQ(group->GetName(), "ROW" + std::to_string(groupId));
        }
    }
    EXPECT_TRUE(this->mLog.Texts().empty());
}

TYPED_TEST(LevelMapKindTest, WithoutRowsThereIsNothingToBuild) {
    const PerfQosConfig config("LEVELS", {});
    PerfResource& resource = this->Make(config);
    EXPECT_EQ(resource.InitGroups(config, false), 0);
    EXPECT_EQ(resource.GetGroupCount(), 0U);
    EXPECT_TRUE(this->mLog.Texts().empty());
}

TYPED_TEST(LevelMapKindTest, ABadRowEndsTheBuildingAndKeepsTheGroupsBefore) {
    const PerfQosConfig config("LEVELS", {Row(0), Row(1, kNode, {}), Row(2)});
    PerfResource& resource = this->Make(config);
    EXPECT_EQ(resource.InitGroups(config, false), -1);
    EXPECT_EQ(resource.GetGroupCount(), 1U);
    EXPECT_EQ(this->mLog.Texts(6), (Texts{"[ROW1] level2value mapping is empty",
                                          "[LEVELS] GroupParametersValidate fail! "}));
    EXPECT_EQ(this->mLog.Lines()[1].tag, "PF_LEVEL_MAP_RES");
    EXPECT_EQ(this->mLog.Lines()[1].function, "InitGroups");
}

TEST(LevelMapResource, ALevelIsWrittenAndWithdrawnByTheWorker) {
    sim::SimulatedDevice device;
    device.AddText(kNode, "-");
    const ScopedNodeIo scope(device);
    const LogCapture log;
    PerfQosConfig config("LEVELS", {Row(0)});
    {
        LevelMapResource resource(ResConstructParam{config, PERF_WORK_MODE_0});
        ASSERT_EQ(resource.InitResource(config, false), 0);
        ASSERT_EQ(resource.InitThread(), 0);
        GroupValueMap groups{{0, {{PERF_OPERATION_BOOST, 110}}}};
        EXPECT_EQ(resource.RequestValidate(PERF_COMMAND_LONG_START, groups), 0);
        resource.SendCommandToFifoQ({PERF_COMMAND_LONG_START, Item(groups)});
        resource.SendCommandToFifoQ({PERF_COMMAND_LONG_STOP, Item(groups)});
        EXPECT_TRUE(Eventually([&] { return device.Writes().size() == 2; }));
        EXPECT_EQ(device.WritesTo(kNode), (Texts{"4:2", "4:1"}));
    }
    EXPECT_EQ(device.OpenDescriptors(), 0U);
    EXPECT_EQ(log.Texts(6), Texts{});
}

TEST(LevelMapResource, ALevelThatDoesNotExistIsRefusedBeforeItIsQueued) {
    const LogCapture log;
    PerfQosConfig config("LEVELS", {Row(0)});
    LevelMapResource resource(ResConstructParam{config, PERF_WORK_MODE_0});
    ASSERT_EQ(resource.InitResource(config, false), 0);
    GroupValueMap groups{{0, {{PERF_OPERATION_BOOST, 105}}}};
    EXPECT_EQ(resource.RequestValidate(PERF_COMMAND_LONG_START, groups), -1);
    EXPECT_EQ(log.Count(6, "[ROW0] cmd value can't be found in levelMapping: 105"), 1U);
}

TEST(IoctlLevelMapResource, APriorityIsSetAndResetByTheWorker) {
    sim::SimulatedDevice device;
    device.AddIoctl(kPrioDevice, {0x4010781E, 0x4010781F});
    const ScopedNodeIo scope(device);
    const LogCapture log;
    PerfQosConfig config("PRIO", {Row(0, kPrioDevice)});
    {
        IoctlLevelMapResource resource(ResConstructParam{config, PERF_WORK_MODE_0});
        ASSERT_EQ(resource.InitResource(config, false), 0);
        ASSERT_EQ(resource.InitThread(), 0);
        const GroupValueMap groups{{0, {{PERF_OPERATION_BOOST, 110}}}};
        resource.SendCommandToFifoQ({PERF_COMMAND_LONG_START, Item(groups)});
        EXPECT_TRUE(Eventually([&] { return device.IoctlsTo(kPrioDevice).size() == 1; }));
        EXPECT_EQ(device.Value(kPrioDevice), "4:2");
        resource.SendCommandToFifoQ({PERF_COMMAND_LONG_STOP, Item(groups)});
        EXPECT_TRUE(Eventually([&] { return device.IoctlsTo(kPrioDevice).size() == 2; }));
        EXPECT_EQ(device.Value(kPrioDevice), "");
    }
    EXPECT_EQ(device.OpenDescriptors(), 0U);
    EXPECT_EQ(log.Texts(6), Texts{});
}

}  // namespace
}  // namespace corebeacon
