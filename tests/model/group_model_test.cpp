/// The engine's group against its model. COREBEACON_MODEL_STEPS sets how many random steps are
/// played, COREBEACON_MODEL_SEED from which seed on, COREBEACON_MODEL_LENGTH how long the sequences
/// are that are played exhaustively.
#include <gtest/gtest.h>

#include <string>

#include "model/game.h"
#include "model/group_game.h"

namespace corebeacon::model {
namespace {

constexpr long kUsualSteps = 100000;

TEST(GroupModel, RandomCommandsLeaveTheGroupAsTheModelSays) {
    const QuietLog quiet;
    const GroupGame game;
    const auto finding = FindDifference(game, ModelSteps(kUsualSteps), ModelSeed());
    EXPECT_TRUE(finding.difference.empty()) << Report(game, finding);
    RecordProperty("steps", std::to_string(finding.steps));
}

TEST(GroupModel, EveryShortSequenceLeavesTheGroupAsTheModelSays) {
    const QuietLog quiet;
    const GroupGame game;
    for (const std::uint32_t workMode : {0U, 1U, 2U}) {
        EXPECT_EQ(PlayAll(game, SmallGroup(workMode), GroupAlphabet(), ExhaustiveLength()), "");
    }
}

class PlantedMistake : public ::testing::TestWithParam<Mistake> {};

TEST_P(PlantedMistake, IsFoundAndShrunkToTheStepsThatShowIt) {
    const QuietLog quiet;
    const GroupGame game(GetParam());
    const auto finding = FindDifference(game, kUsualSteps, 1);
    ASSERT_FALSE(finding.difference.empty());
    EXPECT_LE(finding.script.steps.size(), 6U) << Report(game, finding);
    EXPECT_NE(Report(game, finding).find("seed " + std::to_string(finding.seed)),
              std::string::npos);
    EXPECT_GT(game.Make(finding.seed).steps.size(), finding.script.steps.size());
}

INSTANTIATE_TEST_SUITE_P(
    GroupModel, PlantedMistake,
    ::testing::Values(Mistake::YOUNGER_EQUAL_BOOST_WINS, Mistake::ENDS_ONE_TICK_LATE,
                      Mistake::STOP_FORGETS_WAITING_ONES, Mistake::BASE_SET_SPARES_EQUALS,
                      Mistake::MODE_1_LIMIT_WINS, Mistake::SUSPENDED_GROUP_WRITES,
                      Mistake::WAITING_ONE_WAKES_AT_ITS_END));

}  // namespace
}  // namespace corebeacon::model
