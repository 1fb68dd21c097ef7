#include "model/shrink.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

namespace corebeacon::model {
namespace {

std::vector<int> Numbers(int count) {
    std::vector<int> numbers(static_cast<std::size_t>(count));
    std::iota(numbers.begin(), numbers.end(), 0);
    return numbers;
}

bool Contains(const std::vector<int>& steps, int step) {
    return std::find(steps.begin(), steps.end(), step) != steps.end();
}

TEST(Shrink, KeepsTheStepsThatTogetherFailInTheirOrder) {
    const auto fails = [](const std::vector<int>& steps) {
        return Contains(steps, 3) && Contains(steps, 50) && Contains(steps, 51);
    };
    EXPECT_EQ(Shrink(Numbers(100), fails), (std::vector<int>{3, 50, 51}));
}

TEST(Shrink, FindsTheFirstAndTheLastStep) {
    const auto fails = [](const std::vector<int>& steps) {
        return Contains(steps, 0) && Contains(steps, 6);
    };
    EXPECT_EQ(Shrink(Numbers(7), fails), (std::vector<int>{0, 6}));
}

TEST(Shrink, LeavesNoStepThatCouldBeSpared) {
    // Any four steps fail, so exactly four must be left.
    const auto fails = [](const std::vector<int>& steps) { return steps.size() >= 4; };
    EXPECT_EQ(Shrink(Numbers(1000), fails).size(), 4U);
}

TEST(Shrink, OfAFailureWithoutAnyStepLeavesNone) {
    EXPECT_TRUE(Shrink(Numbers(9), [](const std::vector<int>&) { return true; }).empty());
}

TEST(Shrink, OfStepsThatAreAllNeededLeavesAll) {
    const auto fails = [](const std::vector<int>& steps) { return steps.size() == 13; };
    EXPECT_EQ(Shrink(Numbers(13), fails), Numbers(13));
}

}  // namespace
}  // namespace corebeacon::model
