#include "near_match.h"

#include <gtest/gtest.h>

namespace corebeacon::tool {
namespace {

TEST(DidYouMean, FindsTheNearestWord) {
    EXPECT_EQ(DidYouMean("waiit", {"log", "wait"}), "; did you mean 'wait'?");
    EXPECT_EQ(DidYouMean("limt", {"boost", "limit"}), "; did you mean 'limit'?");
    EXPECT_EQ(DidYouMean("wiat", {"log", "wait"}), "; did you mean 'wait'?");
    EXPECT_EQ(DidYouMean("WAIT", {"wait"}), "; did you mean 'wait'?");
}

TEST(DidYouMean, OfEqualsTakesTheFirst) {
    EXPECT_EQ(DidYouMean("CPU_X", {"CPU_L", "CPU_M"}), "; did you mean 'CPU_L'?");
}

TEST(DidYouMean, TakesABeginningForTheWholeWord) {
    EXPECT_EQ(DidYouMean("GOVERNOR_LOAD", {"GPU", "GOVERNOR_LOAD_GPU"}),
              "; did you mean 'GOVERNOR_LOAD_GPU'?");
}

TEST(DidYouMean, IsSilentWhenNothingIsNear) {
    EXPECT_EQ(DidYouMean("frobnicate", {"log", "wait"}), "");
    EXPECT_EQ(DidYouMean("x", {"a"}), "");
    EXPECT_EQ(DidYouMean("", {"a"}), "");
    EXPECT_EQ(DidYouMean("wait", {}), "");
}

TEST(DidYouMean, DoesNotLookAtVeryLongWords) {
    const std::string word(65, 'a');
    EXPECT_EQ(DidYouMean(word, {word}), "");
}

}  // namespace
}  // namespace corebeacon::tool
