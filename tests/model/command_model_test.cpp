/// The engine's handle table and its work modes against their models; for the sizes see
/// group_model_test.cpp.
#include <gtest/gtest.h>

#include <string>

#include "model/game.h"
#include "model/handle_game.h"
#include "model/work_mode_game.h"

namespace corebeacon::model {
namespace {

constexpr long kUsualSteps = 100000;

TEST(HandleModel, RandomCallsLeaveTheTableAsTheModelSays) {
    const QuietLog quiet;
    const HandleGame game;
    const auto finding = FindDifference(game, ModelSteps(kUsualSteps), ModelSeed());
    EXPECT_TRUE(finding.difference.empty()) << Report(game, finding);
}

TEST(HandleModel, EveryShortSequenceLeavesTheTableAsTheModelSays) {
    const QuietLog quiet;
    const HandleGame game;
    EXPECT_EQ(PlayAll(game, HandleScript(), HandleAlphabet(), ExhaustiveLength()), "");
}

TEST(HandleModel, AProbeThatOutlivesItsCommandIsNoticed) {
    const QuietLog quiet;
    const HandleGame game(true);
    const auto finding = FindDifference(game, kUsualSteps, 1);
    EXPECT_FALSE(finding.difference.empty());
    EXPECT_LE(finding.script.steps.size(), 5U) << Report(game, finding);
}

TEST(WorkModeModel, RandomCallsLeaveTheModesAsTheModelSays) {
    const QuietLog quiet;
    const ModeGame game;
    const auto finding = FindDifference(game, ModelSteps(kUsualSteps), ModelSeed());
    EXPECT_TRUE(finding.difference.empty()) << Report(game, finding);
}

TEST(WorkModeModel, EveryShortSequenceLeavesTheModesAsTheModelSays) {
    const QuietLog quiet;
    const ModeGame game;
    EXPECT_EQ(PlayAll(game, ModeScript(), ModeAlphabet(), ExhaustiveLength()), "");
}

TEST(WorkModeModel, ADecisionByTheYoungestRequestIsNoticed) {
    const QuietLog quiet;
    const ModeGame game(true);
    const auto finding = FindDifference(game, kUsualSteps, 1);
    EXPECT_FALSE(finding.difference.empty());
    EXPECT_LE(finding.script.steps.size(), 3U) << Report(game, finding);
}

}  // namespace
}  // namespace corebeacon::model
