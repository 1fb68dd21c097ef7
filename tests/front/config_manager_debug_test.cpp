#include <gtest/gtest.h>
#include <unistd.h>

#include "front/front_fixture.h"
#include "support/grouped_digits.h"

namespace corebeacon::test {
namespace {

class DebugTest : public FrontFixture {
protected:
    DebugTest() {
        mScenarios.clear();
        for (const PerfScenarioId id : {0U, 1U, 5U}) {
            mScenarios.push_back({id, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, ValueOf(id))}});
        }
    }
    void SetUp() override { Start(); }

    static int ValueOf(PerfScenarioId id) { return id == 0 ? 893000 : id == 1 ? 1211000 : 576000; }

    /// What the option answers; it must be known.
    std::string Set(const std::string& option) {
        std::ostringstream out;
        EXPECT_TRUE(mFront->DebugSet(out, option)) << option;
        return out.str();
    }
};

TEST_F(DebugTest, EachOptionSwitchesItsScenarioOnAndOff) {
    const std::pair<std::string, PerfScenarioId> names[] = {
        {"game_mode", 0}, {"benchmark_mode", 1}, {"power_saving_mode", 5}};
    for (const auto& [name, id] : names) {
        EXPECT_EQ(Set("--" + name + "_enable"), "");
        EXPECT_EQ(Value(kMinL), std::to_string(ValueOf(id))) << name;
        EXPECT_EQ(Set("--" + name + "_disable"), "");
        EXPECT_EQ(Value(kMinL), kBaseMinL) << name;
    }
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{});
}

TEST_F(DebugTest, AnOptionWithoutItsScenarioSaysSo) {
    const std::pair<std::string, int> names[] = {
        {"game_mode_2", 2}, {"onfire_mode", 3}, {"game_start_mode", 4}};
    for (const auto& [name, id] : names) {
        const std::string number = std::to_string(id);
        EXPECT_EQ(Set("--" + name + "_enable"), "set scenario " + number + " fail, ret = -1\n");
        EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "invalid scenario id: " + number), 1U);
        EXPECT_EQ(Set("--" + name + "_disable"),
                  "release scenario " + number + ", fail, handle invalid.\n");
    }
}

TEST_F(DebugTest, AnUnknownOptionIsLeftToOthers) {
    for (const char* option : {"", "--game_mode", "game_mode_enable", "--GAME_MODE_ENABLE"}) {
        std::ostringstream out;
        EXPECT_FALSE(mFront->DebugSet(out, option)) << option;
        EXPECT_EQ(out.str(), "");
    }
    EXPECT_EQ(WriteCount(), 0U);
}

TEST_F(DebugTest, EnablingTwiceStartsNothingMore) {
    EXPECT_EQ(Set("--game_mode_enable"), "");
    NewWrites(kMinL);
    EXPECT_EQ(Set("--game_mode_enable"), "debug cmd is in effect, delete it first\n");
    EXPECT_EQ(NewWrites(kMinL), Names{});
    EXPECT_EQ(Set("--game_mode_disable"), "");
    EXPECT_EQ(Value(kMinL), kBaseMinL);
    EXPECT_EQ(Set("--game_mode_enable"), "");
    EXPECT_EQ(Value(kMinL), "893000");
}

TEST_F(DebugTest, AScenarioThatGetsNoHandleMayBeTriedAgain) {
    Start({.maxHandles = 1});
    unsigned long other = 0;
    ASSERT_EQ(mFront->PerfSetScenario(kPid, 1, other), 0);
    EXPECT_EQ(Set("--game_mode_enable"), "set scenario 0 fail, ret = -1\n");
    ASSERT_EQ(mFront->PerfRelease(kPid, other), 0);
    EXPECT_EQ(Set("--game_mode_enable"), "");
    EXPECT_EQ(Value(kMinL), "893000");
}

TEST_F(DebugTest, DisablingWhatWasNeverEnabledReleasesNothing) {
    EXPECT_EQ(Set("--game_mode_disable"), "release scenario 0, fail, handle invalid.\n");
    const std::string pid = std::to_string(::getpid());
    EXPECT_EQ(mLog.Texts(), (Names{"invalid pid: " + pid, "ComposeReleaseCommand failed",
                                   "BuildReleaseCommand failed for pid " + pid}));
}

TEST_F(DebugTest, AnAnswerNeitherFollowsNorUndoesTheFormatOfTheCallersStream) {
    const std::pair<std::string, std::string> answers[] = {
        {"--onfire_mode_enable", "set scenario 3 fail, ret = -1\n"},
        {"--onfire_mode_disable", "release scenario 3, fail, handle invalid.\n"},
        {"--game_mode_enable", ""},
        {"--game_mode_enable", "debug cmd is in effect, delete it first\n"},
    };
    for (const auto& [option, answer] : answers) {
        std::ostringstream out;
        AskForOddFormat(out);
        EXPECT_TRUE(mFront->DebugSet(out, option));
        EXPECT_EQ(out.str(), answer);
        EXPECT_TRUE(HasOddFormat(out)) << option;
    }
}

TEST_F(DebugTest, ScenariosOfSeveralOptionsStandSideBySide) {
    EXPECT_EQ(Set("--game_mode_enable"), "");
    EXPECT_EQ(Set("--benchmark_mode_enable"), "");
    EXPECT_EQ(Value(kMinL), "1211000");
    EXPECT_EQ(Set("--benchmark_mode_disable"), "");
    EXPECT_EQ(Value(kMinL), "893000");
}

TEST_F(DebugTest, AResetFreesTheOptions) {
    EXPECT_EQ(Set("--game_mode_enable"), "");
    ASSERT_EQ(mFront->Reset(), 0);
    EXPECT_EQ(Value(kMinL), kBaseMinL);
    EXPECT_EQ(Set("--game_mode_enable"), "");
    EXPECT_EQ(Value(kMinL), "893000");
}

TEST_F(DebugTest, TheScenarioBelongsToTheServiceItself) {
    EXPECT_EQ(Set("--game_mode_enable"), "");
    EXPECT_EQ(mFront->PerfReleaseAll(::getpid()), 0);
    EXPECT_EQ(Value(kMinL), kBaseMinL);
    EXPECT_EQ(Set("--game_mode_disable"), "");
}

TEST_F(DebugTest, TheGameStartFlagFollowsItsOptionEvenWithoutAScenario) {
    EXPECT_FALSE(mFront->GetGameStartFlag());
    Set("--game_mode_enable");
    EXPECT_FALSE(mFront->GetGameStartFlag());
    Set("--game_start_mode_enable");
    EXPECT_TRUE(mFront->GetGameStartFlag());
    Set("--game_mode_disable");
    EXPECT_TRUE(mFront->GetGameStartFlag());
    Set("--game_start_mode_disable");
    EXPECT_FALSE(mFront->GetGameStartFlag());
}

TEST_F(DebugTest, AGameStartScenarioOfTheHostIsStartedAndReleased) {
    mScenarios = {{4, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 1211000)}}};
    Start();
    EXPECT_EQ(Set("--game_start_mode_enable"), "");
    EXPECT_TRUE(mFront->GetGameStartFlag());
    EXPECT_EQ(Value(kMinL), "1211000");
    EXPECT_EQ(Set("--game_start_mode_enable"), "debug cmd is in effect, delete it first\n");
    EXPECT_EQ(Set("--game_start_mode_disable"), "");
    EXPECT_FALSE(mFront->GetGameStartFlag());
    EXPECT_EQ(Value(kMinL), kBaseMinL);
}

}  // namespace
}  // namespace corebeacon::test
