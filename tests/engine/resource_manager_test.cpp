#include "engine/resource_manager.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "resources/frequency_resource.h"
#include "resources/ioctl_level_map_resource.h"
#include "resources/level_map_resource.h"
#include "support/deadline.h"
#include "support/log_capture.h"
#include "support/no_threads.h"
#include "support/scoped_node_io.h"
#include "support/scripted_node_io.h"

namespace corebeacon::test {

namespace {

using Texts = std::vector<std::string>;
using Ids = std::vector<PerfQosId>;

PerfGroupConfig Row(const std::string& name, std::vector<std::string> nodes,
                    ChipTypeAvailableValue chip = CHIP_TYPE_COMMON) {
    return {name, true, 100, 1000, 100, 1000, std::move(nodes), chip};
}

/// A range with a floor node and a ceiling node below "/<name>/".
PerfGroupConfig Pair(const std::string& name, ChipTypeAvailableValue chip = CHIP_TYPE_COMMON) {
    return Row(name, {"/" + name + "/min", "/" + name + "/max"}, chip);
}

class ResourceManagerTest : public ::testing::Test {
protected:
    PerfQosConfig& AddConfig(PerfQosId id, std::unique_ptr<PerfQosConfig> config,
                             bool isLoaded = false) {
        PerfQosConfig& added = *mConfigs.emplace_back(std::move(config));
        (isLoaded ? mDefault.qosXmlConfigMap : mDefault.qosConfigMap).emplace(id, added);
        return added;
    }
    PerfQosConfig& Add(PerfQosId id, const std::string& name, std::vector<PerfGroupConfig> rows,
                       bool isLoaded = false) {
        return AddConfig(id, std::make_unique<PerfQosConfig>(name, std::move(rows)), isLoaded);
    }

    Ids ResourceIds() const {
        Ids ids;
        mManager->GetResourceIds(ids);
        return ids;
    }
    Texts Errors() const { return mLog.Texts(LOG_LEVEL_ERROR); }
    Texts Infos() const { return mLog.Texts(LOG_LEVEL_INFO); }

    /// Why the one QoS that got no resource got none.
    std::string OnlyReason() const {
        const std::vector<UnsupportedQos>& unsupported = mManager->GetUnsupportedQos();
        return unsupported.size() == 1 ? unsupported.front().reason : "";
    }

    static CommandWrapper LongBoost(const Ids& ids, int value) {
        CommandWrapper command(PERF_COMMAND_LONG_START, TimePoint{}, TimePoint{}, 0);
        for (const PerfQosId id : ids) {
            command.InsertRequestCommand(id, {{0, {{PERF_OPERATION_BOOST, value}}}});
        }
        command.FillInHandle(1);
        return command;
    }
    bool EventuallyWritten(std::size_t count) const {
        return Eventually([&] { return mNodes.Written().size() == count; });
    }
    bool WasOpened(const std::string& path) const {
        for (const std::string& line : mNodes.Trace()) {
            if (line.find("open " + path + " ") == 0) {
                return true;
            }
        }
        return false;
    }

    LogCapture mLog;
    ScriptedNodeIo mNodes;
    ScopedNodeIo mScope{mNodes};
    std::vector<std::unique_ptr<PerfQosConfig>> mConfigs;
    PerfDefaultConfig mDefault;
    std::unique_ptr<ResourceManager> mManager = std::make_unique<ResourceManager>();
};

// ---- Init ----

TEST_F(ResourceManagerTest, AnUnknownWorkModeIsRefused) {
    mDefault.workMode = static_cast<PerfWorkMode>(3);
    EXPECT_EQ(mManager->Init(mDefault), -1);
    EXPECT_EQ(Errors(), Texts{"invalid workMode: 3"});
    EXPECT_EQ(mLog.Lines().front().tag, "PF_RES_MGR");
}

TEST_F(ResourceManagerTest, TwoTablesAtOnceAreRefusedBeforeAnythingIsBuilt) {
    Add(PERF_QOS_CPU_L, "L", {Pair("l")});
    Add(PERF_QOS_CPU_M, "M", {}, true);
    EXPECT_EQ(mManager->Init(mDefault), -1);
    EXPECT_EQ(Errors(), Texts{"not support qosConfigMap and qosXmlConfigMap meanwhile!"});
    EXPECT_TRUE(ResourceIds().empty());
    EXPECT_TRUE(mManager->GetUnsupportedQos().empty());
}

TEST_F(ResourceManagerTest, WithoutTablesThereIsNoResourceAndNoFailure) {
    EXPECT_EQ(mManager->Init(mDefault), 0);
    EXPECT_TRUE(ResourceIds().empty());
    EXPECT_EQ(mManager->GetResourcePtr(PERF_QOS_THERMAL_THRESHOLD_UP), nullptr);
    EXPECT_TRUE(mLog.Texts().empty());
}

TEST_F(ResourceManagerTest, ItIsInitialisedOnce) {
    Add(PERF_QOS_CPU_L, "L", {Pair("l")});
    ASSERT_EQ(mManager->Init(mDefault), 0);
    const std::shared_ptr<PerfResource> resource = mManager->GetResourcePtr(PERF_QOS_CPU_L);
    EXPECT_EQ(mManager->Init(mDefault), -1);
    EXPECT_EQ(mManager->GetResourcePtr(PERF_QOS_CPU_L), resource);
}

TEST_F(ResourceManagerTest, ResourcesGetTheNameTheIdAndTheWorkModeAndKeepNoReferenceToTheTable) {
    Add(PERF_QOS_CPU_B, "B", {Pair("b")});
    Add(PERF_QOS_CPU_L, "L", {Pair("l")});
    mDefault.workMode = PERF_WORK_MODE_1;
    ASSERT_EQ(mManager->Init(mDefault), 0);
    mDefault = {};
    mConfigs.clear();
    EXPECT_EQ(ResourceIds(), (Ids{PERF_QOS_CPU_L, PERF_QOS_CPU_B}));
    EXPECT_EQ(mManager->GetResourcePtr(PERF_QOS_CPU_B)->GetName(), "B");
    EXPECT_EQ(mManager->GetResourcePtr(PERF_QOS_CPU_B)->GetQosId(), PERF_QOS_CPU_B);
    // In this mode a boost lifts the ceiling; in the others it would stop at 500.
    CommandWrapper limit(PERF_COMMAND_LONG_START, TimePoint{}, TimePoint{}, 0);
    limit.InsertRequestCommand(PERF_QOS_CPU_B, {{0, {{PERF_OPERATION_LIMIT, 500}}}});
    limit.FillInHandle(2);
    ASSERT_EQ(mManager->SendCmdToResources(limit), 0);
    ASSERT_EQ(mManager->SendCmdToResources(LongBoost({PERF_QOS_CPU_B}, 700)), 0);
    ASSERT_TRUE(EventuallyWritten(6));
    EXPECT_EQ(mNodes.Written(), (Texts{"500", "100", "500", "700", "700", "700"}));
}

TEST_F(ResourceManagerTest, AnIdBeyondTheLastIsRefusedAndTheRestIsBuilt) {
    Add(PERF_QOS_CPU_L, "L", {Pair("l")});
    Add(PERF_QOS_INVALID, "BEYOND", {Pair("x")});
    EXPECT_EQ(mManager->Init(mDefault), 0);
    EXPECT_EQ(ResourceIds(), Ids{PERF_QOS_CPU_L});
    EXPECT_EQ(Errors(), Texts{"qos id out of range: 105 name = BEYOND"});
    EXPECT_EQ(OnlyReason(), "its id is out of range");
}

// ---- What narrows the table ----

/// Notes in which order it is asked.
class AskedConfig : public PerfQosConfig {
public:
    AskedConfig(std::vector<PerfGroupConfig> rows, Texts& asked)
        : PerfQosConfig("ASKED", std::move(rows)), mAsked(asked) {}
    int GetGroupConfigByChipType(unsigned int qosId,
                                 const PerfConfigControlInfo& controlInfo) override {
        mAsked.push_back("chip " + std::to_string(controlInfo.chipType));
        return mSelectionResult + PerfQosConfig::GetGroupConfigByChipType(qosId, controlInfo);
    }
    bool IsQosConfigValidByInvalidCluster(unsigned int qosId,
                                          std::vector<std::string>& invalidClusters) override {
        mAsked.push_back("clusters " + std::to_string(invalidClusters.size()));
        return PerfQosConfig::IsQosConfigValidByInvalidCluster(qosId, invalidClusters);
    }
    int ReviseGroupConfigValue(unsigned int chipType) override {
        mAsked.push_back("revise " + std::to_string(chipType));
        if (mLosesItsRows) {
            groups.clear();
        }
        return mResult;
    }
    int mSelectionResult = 0;
    int mResult = 0;
    bool mLosesItsRows = false;

private:
    Texts& mAsked;
};

TEST_F(ResourceManagerTest, EachQosIsNarrowedByChipThenByClustersAndThenRevised) {
    Texts asked;
    AddConfig(PERF_QOS_CPU_L, std::make_unique<AskedConfig>(std::vector{Pair("l")}, asked));
    mDefault.controlInfo.chipType = CHIP_TYPE_VARIANT_2;
    mDefault.controlInfo.invalidClusters = {"policy7", "policy8"};
    EXPECT_EQ(mManager->Init(mDefault), 0);
    EXPECT_EQ(asked, (Texts{"chip 2", "clusters 2", "revise 2"}));
    EXPECT_EQ(ResourceIds(), Ids{PERF_QOS_CPU_L});
    EXPECT_TRUE(mManager->GetUnsupportedQos().empty());
}

TEST_F(ResourceManagerTest, TheRowOfTheRunningChipIsBuilt) {
    Add(PERF_QOS_CPU_L, "L", {Pair("common"), Pair("own", CHIP_TYPE_VARIANT_1)});
    mDefault.controlInfo.chipType = CHIP_TYPE_VARIANT_1;
    ASSERT_EQ(mManager->Init(mDefault), 0);
    ASSERT_EQ(mManager->SendCmdToResources(LongBoost({PERF_QOS_CPU_L}, 500)), 0);
    ASSERT_TRUE(EventuallyWritten(3));
    EXPECT_TRUE(WasOpened("/own/min"));
    EXPECT_FALSE(WasOpened("/common/min"));
}

TEST_F(ResourceManagerTest, AQosWithoutARowForTheChipIsDropped) {
    Add(PERF_QOS_CPU_L, "L", {Pair("one", CHIP_TYPE_VARIANT_1), Pair("two", CHIP_TYPE_VARIANT_2)});
    EXPECT_EQ(mManager->Init(mDefault), 0);
    EXPECT_EQ(Infos(), Texts{"dropped qos = 0 name = L: no row is meant for this chip"});
    EXPECT_EQ(OnlyReason(), "no row is meant for this chip");
    EXPECT_TRUE(ResourceIds().empty());
}

TEST_F(ResourceManagerTest, AQosThatCannotChooseItsRowsIsDropped) {
    Texts asked;
    auto config = std::make_unique<AskedConfig>(std::vector{Pair("l")}, asked);
    config->mSelectionResult = -1;
    AddConfig(PERF_QOS_CPU_L, std::move(config));
    EXPECT_EQ(mManager->Init(mDefault), 0);
    EXPECT_EQ(OnlyReason(), "no row is meant for this chip");
    EXPECT_EQ(asked, Texts{"chip 0"});
}

TEST_F(ResourceManagerTest, AQosOfAbsentClustersIsDropped) {
    Add(PERF_QOS_CPU_B, "B", {Pair("policy7")});
    Add(PERF_QOS_CPU_L, "L", {Pair("policy0")});
    mDefault.controlInfo.invalidClusters = {"", "policy7"};
    EXPECT_EQ(mManager->Init(mDefault), 0);
    EXPECT_EQ(Infos().front(), "dropped qos = 2 name = B: none of its nodes is on this machine");
    EXPECT_EQ(ResourceIds(), Ids{PERF_QOS_CPU_L});
    EXPECT_EQ(mDefault.controlInfo.invalidClusters, (Texts{"", "policy7"}));
}

TEST_F(ResourceManagerTest, AQosThatCannotBeRevisedIsDropped) {
    Texts asked;
    auto config = std::make_unique<AskedConfig>(std::vector{Pair("l")}, asked);
    config->mResult = -1;
    AddConfig(PERF_QOS_CPU_L, std::move(config));
    EXPECT_EQ(mManager->Init(mDefault), 0);
    EXPECT_EQ(Infos(), Texts{"dropped qos = 0 name = ASKED: its values do not fit this machine"});
    EXPECT_TRUE(ResourceIds().empty());
}

TEST_F(ResourceManagerTest, AQosLeftWithoutRowsByItsRevisionIsDropped) {
    Texts asked;
    auto config = std::make_unique<AskedConfig>(std::vector{Pair("l")}, asked);
    config->mLosesItsRows = true;
    AddConfig(PERF_QOS_CPU_L, std::move(config));
    EXPECT_EQ(mManager->Init(mDefault), 0);
    EXPECT_EQ(OnlyReason(), "revision left no row");
}

TEST_F(ResourceManagerTest, AFrequencyQosWithoutItsListIsDroppedAndTheReasonNamesTheNode) {
    FreqParameters parameters;
    parameters.availableFreqsPath = "/l/available";
    AddConfig(PERF_QOS_CPU_L,
              std::make_unique<PerfQosFreqConfig>("L", std::vector{Pair("l")}, parameters));
    mNodes.FailNextOpen(ENOENT);
    EXPECT_EQ(mManager->Init(mDefault), 0);
    ASSERT_EQ(mManager->GetUnsupportedQos().size(), 1U);
    EXPECT_EQ(mManager->GetUnsupportedQos().front().id, PERF_QOS_CPU_L);
    EXPECT_EQ(mManager->GetUnsupportedQos().front().name, "L");
    EXPECT_EQ(OnlyReason(), "its frequency list /l/available cannot be used");
}

TEST_F(ResourceManagerTest, ALoadedDescriptionOfAnotherKindIsNotSaidToLackAFrequencyList) {
    AddConfig(PERF_QOS_CPU_L,
              std::make_unique<PerfQosXmlLoadConfig>("L", "eas", std::vector{Pair("l")}), true);
    EXPECT_EQ(mManager->Init(mDefault), 0);
    EXPECT_EQ(OnlyReason(), "its values do not fit this machine") << "its level table is empty";
}

TEST_F(ResourceManagerTest, AQosWithoutNodesGetsNoResourceAndItsCommandsFail) {
    Add(PERF_QOS_CPU_L, "L", {Row("nodeless", {})});
    // Pruning by clusters would take such a row away; this kind keeps its rows.
    Texts asked;
    class Kept : public AskedConfig {
    public:
        using AskedConfig::AskedConfig;
        bool IsQosConfigValidByInvalidCluster(unsigned int, std::vector<std::string>&) override {
            return false;
        }
    };
    AddConfig(PERF_QOS_CPU_M, std::make_unique<Kept>(std::vector{Row("bare", {})}, asked));
    EXPECT_EQ(mManager->Init(mDefault), 0);
    EXPECT_TRUE(ResourceIds().empty());
    EXPECT_EQ(mLog.Count(LOG_LEVEL_INFO, "not support bare on this platform"), 1U);
    EXPECT_EQ(mManager->GetUnsupportedQos().back().reason,
              "a group of it has no node on this chip");
    EXPECT_EQ(mManager->SendCmdToResources(LongBoost({PERF_QOS_CPU_L}, 500)), -1);
    EXPECT_EQ(Errors(), Texts{"resource ptr is NULL for qos id 0"});
}

TEST_F(ResourceManagerTest, AQosIsSupportedWhenEveryRowNamesANode) {
    EXPECT_TRUE(mManager->IsSupportQos({}));
    EXPECT_TRUE(mManager->IsSupportQos({Row("a", {"/a"}), Pair("b")}));
    EXPECT_TRUE(mLog.Texts().empty());
    EXPECT_FALSE(mManager->IsSupportQos({Row("a", {"/a"}), Row("b", {}), Row("c", {})}));
    EXPECT_EQ(Infos(), Texts{"not support b on this platform"});
}

// ---- Which kind is built ----

PerfGroupConfig LevelRow(const std::string& name) {
    return {
        name, 100, {"/" + name}, Level2ValueMap{{0, {"low"}}, {100, {"high"}}}, CHIP_TYPE_COMMON};
}

TEST_F(ResourceManagerTest, TheShapeOfTheFirstRowDecidesTheKind) {
    Add(PERF_QOS_CPU_L, "L", {Pair("l")});
    Add(PERF_QOS_GOVERNOR_LOAD_GPU, "LOAD", {LevelRow("load")});
    ASSERT_EQ(mManager->Init(mDefault), 0);
    const auto frequency = mManager->GetResourcePtr(PERF_QOS_CPU_L);
    EXPECT_NE(dynamic_cast<FrequencyResource*>(frequency.get()), nullptr);
    const auto levelMap = mManager->GetResourcePtr(PERF_QOS_GOVERNOR_LOAD_GPU);
    EXPECT_NE(dynamic_cast<LevelMapResource*>(levelMap.get()), nullptr);
}

TEST_F(ResourceManagerTest, AnIdWithAKindOfItsOwnGetsItWhateverItsRows) {
    Add(PERF_QOS_NPU_SC_PRIO, "NPU", {LevelRow("npu")});
    ASSERT_EQ(mManager->Init(mDefault), 0);
    const auto resource = mManager->GetResourcePtr(PERF_QOS_NPU_SC_PRIO);
    EXPECT_NE(dynamic_cast<IoctlLevelMapResource*>(resource.get()), nullptr);
}

TEST_F(ResourceManagerTest, RowsOfNoKnownShapeGetNoResource) {
    Add(PERF_QOS_CPU_L, "L", {Row("three", {"/a", "/b", "/c"})});
    EXPECT_EQ(mManager->Init(mDefault), 0);
    EXPECT_EQ(Infos(),
              (Texts{"invalid resource config: L", "not support resource for qos = 0 name = L"}));
    EXPECT_EQ(OnlyReason(), "no kind of resource fits it");
}

TEST_F(ResourceManagerTest, TheCpuBoostIsLeftOutWhereItIsSwitchedOff) {
    Add(PERF_QOS_CPU_BOOST, "CPU_BOOST", {Pair("boost")});
    EXPECT_EQ(mManager->Init(mDefault), 0);
    EXPECT_EQ(Infos(), Texts{"not support resource for qos = 8 name = CPU_BOOST"})
        << "the shape of its rows is not looked at";
    EXPECT_EQ(OnlyReason(), "it is switched off on this device");
    EXPECT_EQ(mManager->GetResourcePtr(PERF_QOS_CPU_BOOST), nullptr);
}

TEST_F(ResourceManagerTest, TheTableTellsTheResourceWhereItsConfigurationCameFrom) {
    for (const bool isLoaded : {false, true}) {
        FreqParameters parameters;
        parameters.availableFreqsPath = "/gpu/available";
        parameters.gpuTopFreqPath = {"/top/compiled", "/top/loaded"};
        mNodes.SetContent("/gpu/available", "100 1000\n");
        mDefault = {};
        AddConfig(PERF_QOS_GPU,
                  std::make_unique<PerfQosFreqConfig>("GPU", std::vector{Pair("gpu")}, parameters),
                  isLoaded);
        ASSERT_EQ(mManager->Init(mDefault), 0);
        CommandWrapper limit(PERF_COMMAND_LONG_START, TimePoint{}, TimePoint{}, 0);
        limit.InsertRequestCommand(PERF_QOS_GPU, {{0, {{PERF_OPERATION_LIMIT, 500}}}});
        limit.FillInHandle(1);
        ASSERT_EQ(mManager->SendCmdToResources(limit), 0);
        EXPECT_TRUE(
            Eventually([&] { return WasOpened(isLoaded ? "/top/loaded" : "/top/compiled"); }));
        EXPECT_EQ(WasOpened("/top/loaded"), isLoaded);
        mManager->Clear();
    }
}

// ---- Failure ----

TEST_F(ResourceManagerTest, AResourceThatCannotBeBuiltFailsTheWholeInit) {
    for (const bool isLoaded : {false, true}) {
        mDefault = {};
        mLog.Clear();
        Add(PERF_QOS_CPU_L, "L", {Pair("l")}, isLoaded);
        PerfGroupConfig upsideDown = Pair("m");
        upsideDown.availableMin = 2000;
        Add(PERF_QOS_CPU_M, "M", {upsideDown}, isLoaded);
        Add(PERF_QOS_CPU_B, "B", {Pair("b")}, isLoaded);
        EXPECT_EQ(mManager->Init(mDefault), -1);
        const Texts errors = Errors();
        ASSERT_GE(errors.size(), 3U);
        EXPECT_EQ(Texts(errors.end() - 3, errors.end()),
                  (Texts{"Init resource group Fail!", "fail to Init resource for qos = 1 name = M",
                         isLoaded ? "qosXmlConfigMap init resource failed!"
                                  : "qosConfigMap init resource failed!"}));
        EXPECT_TRUE(ResourceIds().empty());
        EXPECT_EQ(mManager->GetResourcePtr(PERF_QOS_CPU_L), nullptr);
        EXPECT_EQ(Errors().back(), "invalid qos id: 0") << "as before Init";
    }
    mDefault = {};
    Add(PERF_QOS_CPU_L, "L", {Pair("l")});
    EXPECT_EQ(mManager->Init(mDefault), 0) << "a failed Init leaves nothing in the way";
}

TEST_F(ResourceManagerTest, AFrequencyListBesideItsRowFailsTheWholeInit) {
    // The row then contradicts itself: its floor is the list's, its ceiling still its own.
    FreqParameters parameters;
    parameters.availableFreqsPath = "/gpu/available";
    mNodes.SetContent("/gpu/available", "2000 3000\n");
    Add(PERF_QOS_CPU_L, "L", {Pair("l")});
    AddConfig(PERF_QOS_GPU,
              std::make_unique<PerfQosFreqConfig>("GPU", std::vector{Pair("gpu")}, parameters));
    EXPECT_EQ(mManager->Init(mDefault), -1);
    EXPECT_EQ(Errors(), (Texts{"[gpu] available min(2000) larger than max(1000)",
                               "[gpu] GroupParametersValidate failed!", "Init resource group Fail!",
                               "fail to Init resource for qos = 3 name = GPU",
                               "qosConfigMap init resource failed!"}));
}

#if defined(__GLIBC__)
TEST_F(ResourceManagerTest, AMissingThreadFailsTheWholeInit) {
    Add(PERF_QOS_CPU_L, "L", {Pair("l")});
    {
        const NoThreads noThreads;
        EXPECT_EQ(mManager->Init(mDefault), -1);
    }
    EXPECT_EQ(Errors().back(), "no work thread for L");
    EXPECT_TRUE(ResourceIds().empty());
}
#endif

TEST_F(ResourceManagerTest, EveryWorkerIsStoppedBeforeTheResourcesGo) {
    Add(PERF_QOS_CPU_L, "L", {Pair("l")});
    Add(PERF_QOS_CPU_B, "B", {Pair("b")});
    ASSERT_EQ(mManager->Init(mDefault), 0);
    const std::shared_ptr<PerfResource> kept = mManager->GetResourcePtr(PERF_QOS_CPU_B);
    mLog.Clear();
    mManager.reset();
    Texts exits = Infos();
    std::ranges::sort(exits);
    EXPECT_EQ(exits, (Texts{"[B] work thread exit", "[L] work thread exit"}));
    EXPECT_EQ(kept->InitThread(), -1) << "whoever still holds one holds a stopped one";
}

TEST_F(ResourceManagerTest, StoppedWorkersLeaveTheirResourcesInPlace) {
    Add(PERF_QOS_CPU_L, "L", {Pair("l")});
    ASSERT_EQ(mManager->Init(mDefault), 0);
    mManager->StopWorkers();
    EXPECT_EQ(Infos(), Texts{"[L] work thread exit"});
    EXPECT_EQ(ResourceIds(), Ids{PERF_QOS_CPU_L});
    EXPECT_EQ(mManager->SendCmdToResources(LongBoost({PERF_QOS_CPU_L}, 500)), 0);
    mManager.reset();
    EXPECT_TRUE(mNodes.Written().empty());
}

// ---- Commands ----

class ResourceManagerCommands : public ResourceManagerTest {
protected:
    void SetUp() override {
        Add(PERF_QOS_CPU_L, "L", {Pair("l")});
        Add(PERF_QOS_CPU_B, "B", {Pair("b")});
        ASSERT_EQ(mManager->Init(mDefault), 0);
    }
};

TEST_F(ResourceManagerCommands, EachItemGoesToTheResourceThatItNames) {
    EXPECT_EQ(mManager->SendCmdToResources(LongBoost({PERF_QOS_CPU_B}, 500)), 0);
    ASSERT_TRUE(EventuallyWritten(3));
    EXPECT_TRUE(WasOpened("/b/min"));
    EXPECT_FALSE(WasOpened("/l/min"));
    EXPECT_EQ(mManager->SendCmdToResources(LongBoost({PERF_QOS_CPU_L, PERF_QOS_CPU_B}, 600)), 0);
    ASSERT_TRUE(EventuallyWritten(9));
    EXPECT_TRUE(WasOpened("/l/min"));
}

TEST_F(ResourceManagerCommands, AnEmptyWrapperIsRefused) {
    const CommandWrapper command(PERF_COMMAND_LONG_START, TimePoint{}, TimePoint{}, 0);
    EXPECT_EQ(mManager->SendCmdToResources(command), -1);
    EXPECT_EQ(mManager->SendWorkModeCmd(command), -1);
    EXPECT_EQ(Errors(), (Texts{"empty command wrapper", "empty command wrapper"}));
}

TEST_F(ResourceManagerCommands, AnItemThatIsNotThereIsRefused) {
    CommandWrapper command(PERF_COMMAND_LONG_START, TimePoint{}, TimePoint{}, 0);
    command.InsertItem(nullptr);
    EXPECT_EQ(mManager->SendCmdToResources(command), -1);
    EXPECT_EQ(mManager->SendWorkModeCmd(command), -1);
    EXPECT_EQ(Errors(), (Texts{"command ptr is NULL!", "command ptr is NULL!"}));
}

TEST_F(ResourceManagerCommands, ItemsAheadOfAMissingResourceStaySent) {
    EXPECT_EQ(mManager->SendCmdToResources(
                  LongBoost({PERF_QOS_CPU_B, PERF_QOS_CPU_M, PERF_QOS_CPU_L}, 500)),
              -1);
    EXPECT_EQ(Errors(), Texts{"resource ptr is NULL for qos id 1"});
    ASSERT_TRUE(EventuallyWritten(3));
    mManager->Clear();
    EXPECT_TRUE(WasOpened("/b/min"));
    EXPECT_FALSE(WasOpened("/l/min"));
}

TEST_F(ResourceManagerCommands, AnIdBeyondTheLastHasNoResource) {
    EXPECT_EQ(mManager->GetResourcePtr(PERF_QOS_INVALID), nullptr);
    EXPECT_EQ(Errors(), Texts{"invalid qos id: 105"});
    EXPECT_EQ(mManager->GetResourcePtr(PERF_QOS_GPU), nullptr);
    EXPECT_EQ(Errors().size(), 1U) << "an empty slot is no error";
}

TEST_F(ResourceManagerCommands, IdsAreAppendedInAscendingOrder) {
    Ids ids{PERF_QOS_INVALID};
    mManager->GetResourceIds(ids);
    EXPECT_EQ(ids, (Ids{PERF_QOS_INVALID, PERF_QOS_CPU_L, PERF_QOS_CPU_B}));
}

TEST_F(ResourceManagerCommands, AWorkModeGoesToEveryResource) {
    CommandWrapper command(PERF_COMMAND_MODE_START, TimePoint{}, TimePoint{}, 0);
    command.InsertWorkModeCommand();
    command.FillInWorkMode(PERF_WORK_MODE_2);
    EXPECT_EQ(mManager->SendWorkModeCmd(command), 0);
    ASSERT_TRUE(EventuallyWritten(6));
    EXPECT_TRUE(WasOpened("/l/min"));
    EXPECT_TRUE(WasOpened("/b/min"));
}

TEST_F(ResourceManagerCommands, BeforeInitAndAfterClearThereIsNothingToAddress) {
    mManager->Clear();
    EXPECT_EQ(mManager->SendCmdToResources(LongBoost({PERF_QOS_CPU_L}, 500)), -1);
    EXPECT_EQ(Errors(), (Texts{"invalid qos id: 0", "resource ptr is NULL for qos id 0"}));
    CommandWrapper mode(PERF_COMMAND_MODE_START, TimePoint{}, TimePoint{}, 0);
    mode.InsertWorkModeCommand();
    EXPECT_EQ(mManager->SendWorkModeCmd(mode), 0) << "every resource of none";
}

}  // namespace

}  // namespace corebeacon::test
