/// A whole engine against its model. COREBEACON_MODEL_SEEDS sets how many scripts are played,
/// COREBEACON_MODEL_SEED the seed of the first.
#include <gtest/gtest.h>

#include <string>

#include "model/engine_game.h"
#include "model/game.h"

namespace corebeacon::model {
namespace {

constexpr long kUsualSeeds = 300;

TEST(EngineModel, RandomScriptsWriteWhatTheModelWritesInTheSameOrder) {
    const EngineGame game;
    const long seeds = test::SizeFromEnvironment("COREBEACON_MODEL_SEEDS", kUsualSeeds);
    const auto finding = FindDifferenceInSeeds(game, seeds, ModelSeed());
    EXPECT_TRUE(finding.difference.empty()) << Report(game, finding);
}

TEST(EngineModel, TheSameSeedGivesTheSameRun) {
    const EngineGame game;
    for (const std::uint64_t seed : {1U, 2U, 3U, 4U}) {
        std::string first;
        std::string second;
        EXPECT_EQ(game.PlayAndRecord(game.Make(seed), first), "");
        EXPECT_EQ(game.PlayAndRecord(game.Make(seed), second), "");
        EXPECT_NE(first, "");
        EXPECT_EQ(first, second);
    }
}

TEST(EngineModel, AModelThatSkipsAWorkersTurnIsNoticed) {
    const EngineGame game(true);
    const auto finding = FindDifferenceInSeeds(game, kUsualSeeds, 1);
    EXPECT_FALSE(finding.difference.empty());
    EXPECT_LE(finding.script.steps.size(), 4U) << Report(game, finding);
}

}  // namespace
}  // namespace corebeacon::model
