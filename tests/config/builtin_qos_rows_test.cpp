#include "config/builtin_qos_rows.h"

#include <gtest/gtest.h>

namespace corebeacon::builtin {
namespace {

constexpr LevelRow kGood = {
    .baseLevel = 100,
    .nodes = {"/a", "/b"},
    .levels = {{90, {"1", "2"}}, {100, {"3", "4"}}},
};

TEST(BuiltinQosRows, ARowWithItsBaseLevelAndATextPerNodeIsWellFormed) {
    EXPECT_TRUE(IsWellFormed(kGood));
    EXPECT_EQ(Used(kGood.nodes).size(), 2U);
    EXPECT_EQ(Used(kGood.levels).size(), 2U);
}

TEST(BuiltinQosRows, TheBaseMustBeALevel) {
    LevelRow row = kGood;
    row.baseLevel = 110;
    EXPECT_FALSE(IsWellFormed(row));
}

TEST(BuiltinQosRows, EveryNodeNeedsAText) {
    LevelRow row = kGood;
    row.levels[1].texts[1] = nullptr;
    EXPECT_FALSE(IsWellFormed(row));
}

TEST(BuiltinQosRows, ATextMayNotBeEmpty) {
    LevelRow row = kGood;
    row.levels[1].texts[1] = "";
    EXPECT_FALSE(IsWellFormed(row));
}

TEST(BuiltinQosRows, ThereMayNotBeMoreTextsThanNodes) {
    LevelRow row = kGood;
    row.levels[0].texts[2] = "5";
    EXPECT_FALSE(IsWellFormed(row));
}

TEST(BuiltinQosRows, LevelsMustAscend) {
    LevelRow row = kGood;
    row.levels[0].level = 100;
    EXPECT_FALSE(IsWellFormed(row));
    row.levels[0].level = 120;
    EXPECT_FALSE(IsWellFormed(row));
}

TEST(BuiltinQosRows, ATableIsWellFormedWhenEachQosHasRowsAndAllOfThemAre) {
    LevelQos table[] = {{.id = PERF_QOS_CPU_L, .rows = {kGood}},
                        {.id = PERF_QOS_CPU_M, .rows = {kGood, kGood, kGood}}};
    EXPECT_TRUE(IsWellFormed(table));
    table[1].rows[2].baseLevel = 0;
    EXPECT_FALSE(IsWellFormed(table));
    table[1].rows[0] = {};
    EXPECT_FALSE(IsWellFormed(table));
}

}  // namespace
}  // namespace corebeacon::builtin
