#include <gtest/gtest.h>

#include <memory>

#include "corebeacon/qos_config.h"
#include "support/log_capture.h"

namespace corebeacon {
namespace {

using test::LogCapture;
using Texts = std::vector<std::string>;

/// Each case runs on the compiled-in kind (false) and on a loaded description (true).
class EasRevision : public testing::TestWithParam<bool> {
protected:
    EasRevision() {
        mParameters.minBoost = -10;
        mParameters.maxBoost = 60;
        mParameters.levelToValueMap = {{90, {-10, 0}}, {100, {0, 0}}, {120, {60, 1}}};
        mParameters.globalBoost.compiledIn = {{{100, 1}, {120, 0}, {500, 1}}, "/global"};
        mParameters.globalBoost.loaded = {{{90, 1}}, "/loaded_global"};
    }

    /// Revises two rows; the result.
    int Revise() {
        std::vector<PerfGroupConfig> rows{
            PerfGroupConfig(0U, std::string("TOP_APP"), 100, {"/top"}, CHIP_TYPE_COMMON),
            PerfGroupConfig(1U, std::string("ROOT"), 90, {"/root"}, CHIP_TYPE_COMMON)};
        if (GetParam()) {
            auto loaded = std::make_unique<PerfQosXmlLoadConfig>("EAS", "eas", std::move(rows));
            static_cast<EasParameters&>(*loaded) = mParameters;
            mQos = std::move(loaded);
        } else {
            mQos = std::make_unique<PerfQosEasConfig>("EAS", std::move(rows), mParameters);
        }
        return mQos->ReviseGroupConfigValue(0);
    }

    const EasParameters& Parameters() const { return dynamic_cast<const EasParameters&>(*mQos); }

    LogCapture mLog;
    EasParameters mParameters;
    std::unique_ptr<PerfQosConfig> mQos;
};

INSTANTIATE_TEST_SUITE_P(Kinds, EasRevision, testing::Bool(), [](const auto& kind) {
    return kind.param ? std::string("Loaded") : std::string("CompiledIn");
});

TEST_P(EasRevision, EveryRowGetsTheLevelTableAndItsRange) {
    EXPECT_EQ(Revise(), 0);
    EXPECT_TRUE(mLog.Texts().empty());
    for (const PerfGroupConfig& row : mQos->groups) {
        EXPECT_EQ(row.level2ValueMap, (Level2ValueMap{{90, {"-10"}}, {100, {"0"}}, {120, {"60"}}}));
        EXPECT_EQ(row.availableMin, 90);
        EXPECT_EQ(row.availableMax, 120);
        EXPECT_EQ(row.baseMax, 120);
    }
    EXPECT_EQ(mQos->groups[0].baseMin, 100);
    EXPECT_EQ(mQos->groups[1].baseMin, 90);
}

TEST_P(EasRevision, TheGlobalBoostTablesFollowTheLevelsThatTheyHold) {
    EXPECT_EQ(Revise(), 0);
    using Table = std::map<int, std::uint32_t>;
    EXPECT_EQ(Parameters().globalBoost.compiledIn.levelToGlobalBoost,
              (Table{{100, 0}, {120, 1}, {500, 1}}));
    EXPECT_EQ(Parameters().globalBoost.loaded.levelToGlobalBoost, (Table{{90, 0}}));
    EXPECT_EQ(Parameters().globalBoost.compiledIn.nodePath, "/global");
}

TEST_P(EasRevision, AnEmptyLevelTableVoidsTheQos) {
    mParameters.levelToValueMap.clear();
    EXPECT_EQ(Revise(), -1);
    EXPECT_EQ(mLog.Texts(6), Texts{"[EAS] EAS levelToValueMap is empty!"});
}

TEST_P(EasRevision, ABoostBelowItsBoundsVoidsTheQos) {
    mParameters.levelToValueMap[95] = {-11, 0};
    EXPECT_EQ(Revise(), -1);
    EXPECT_EQ(mLog.Texts(6), Texts{"[EAS] EAS schedtune.boost value : -11 is out of bound!"});
    EXPECT_TRUE(mQos->groups[0].level2ValueMap.empty());
}

TEST_P(EasRevision, ABoostAboveItsBoundsVoidsTheQos) {
    mParameters.levelToValueMap[95] = {61, 0};
    EXPECT_EQ(Revise(), -1);
    EXPECT_EQ(mLog.Texts(6), Texts{"[EAS] EAS schedtune.boost value : 61 is out of bound!"});
}

TEST_P(EasRevision, AGlobalBoostThatIsNoSwitchVoidsTheQos) {
    mParameters.levelToValueMap[95] = {0, 2};
    EXPECT_EQ(Revise(), -1);
    EXPECT_EQ(mLog.Texts(6), Texts{"[EAS] EAS global boost value : 2 is out of bound!"});
    EXPECT_EQ(mLog.Lines()[0].tag, "PF_CONFIG");
}

PerfGroupConfig LevelRow(unsigned int groupId) {
    PerfGroupConfig row(groupId, "ROW", 1, {"/n"}, {}, CHIP_TYPE_COMMON);
    row.level2ValueMap = {{1, {"a"}}, {3, {"b"}}};
    return row;
}

TEST(LoadedDescription, AnyOtherTypeNeedsExactlyOneRow) {
    LogCapture log;
    PerfQosXmlLoadConfig one("X", "plain", {LevelRow(0)});
    EXPECT_EQ(one.ReviseGroupConfigValue(0), 0);
    EXPECT_EQ(one.groups[0].availableMin, 1);
    EXPECT_EQ(one.groups[0].availableMax, 3);
    EXPECT_EQ(one.groups[0].baseMax, 3);
    PerfQosXmlLoadConfig two("X", "plain", {LevelRow(0), LevelRow(1)});
    EXPECT_EQ(two.ReviseGroupConfigValue(0), -1);
    EXPECT_EQ(two.groups[0].availableMax, 0);
    EXPECT_EQ(log.Texts(6), Texts{"[X] invalid group num: 2"});
}

TEST(LoadedDescription, AMemoryLatencyMonitorNeedsExactlyTwoRows) {
    LogCapture log;
    PerfQosXmlLoadConfig two("X", "memlat", {LevelRow(0), LevelRow(1)});
    EXPECT_EQ(two.ReviseGroupConfigValue(0), 0);
    EXPECT_EQ(two.groups[1].availableMax, 3);
    PerfQosXmlLoadConfig one("X", "memlat", {LevelRow(0)});
    EXPECT_EQ(one.ReviseGroupConfigValue(0), -1);
    EXPECT_EQ(log.Texts(6), Texts{"[X] invalid group num: 1"});
}

}  // namespace
}  // namespace corebeacon
