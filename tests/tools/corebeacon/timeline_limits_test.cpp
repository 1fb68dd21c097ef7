#include "timeline_limits.h"

#include <gtest/gtest.h>

#include <ctime>

namespace corebeacon::tool::test {
namespace {

constexpr TimelineMicros kEnd = 10000000;

WallTime Local(int year, int month, int day, int hour, int minute, int second) {
    std::tm local{};
    local.tm_year = year - 1900;
    local.tm_mon = month - 1;
    local.tm_mday = day;
    local.tm_hour = hour;
    local.tm_min = minute;
    local.tm_sec = second;
    local.tm_isdst = -1;
    return std::chrono::system_clock::from_time_t(std::mktime(&local));
}

const WallTime kBegin = Local(2026, 11, 21, 4, 24, 20);

TEST(TimelineLimits, AnEntryStandsAtItsTimeInTheRun) {
    const auto histories = ParseLimitHistory(
        "*****CPU_L: limit history cmd log is empty\n"
        "\n"
        "*****GPU: \n"
        "freq=495000000 10-21 4:24:25.301  10-21 4:24:26.7\n",
        kBegin, kEnd);
    ASSERT_EQ(histories.size(), 2U);
    EXPECT_EQ(histories[0].name, "CPU_L");
    EXPECT_TRUE(histories[0].entries.empty());
    EXPECT_EQ(histories[1].name, "GPU");
    ASSERT_EQ(histories[1].entries.size(), 1U);
    const TimelineCeiling& entry = histories[1].entries[0];
    EXPECT_EQ(entry.value, 495000000);
    EXPECT_EQ(entry.from, 5301000);
    EXPECT_EQ(entry.until, 6007000);
    EXPECT_EQ(entry.fromText, "10-21 4:24:25.301");
    EXPECT_EQ(entry.untilText, "10-21 4:24:26.7");
}

TEST(TimelineLimits, AnEntryWithoutAnEndLastsUntilTheNextOrTheEnd) {
    const auto histories = ParseLimitHistory(
        "*****CPU_B: \n"
        "freq=1417000 10-21 4:24:21.0\n"
        "freq=1239000 10-21 4:24:22.0\n",
        kBegin, kEnd);
    ASSERT_EQ(histories.size(), 1U);
    ASSERT_EQ(histories[0].entries.size(), 2U);
    EXPECT_EQ(histories[0].entries[0].until, 2000000);
    EXPECT_EQ(histories[0].entries[0].untilText, "");
    EXPECT_EQ(histories[0].entries[1].until, kEnd);
}

TEST(TimelineLimits, ARunMayGoOnIntoTheNewYear) {
    const auto histories = ParseLimitHistory("*****GPU: \nfreq=1 0-1 0:0:1.0\n",
                                             Local(2026, 12, 31, 23, 59, 59), kEnd);
    ASSERT_EQ(histories[0].entries.size(), 1U);
    EXPECT_EQ(histories[0].entries[0].from, 2000000);
}

TEST(TimelineLimits, WhatIsNoEntryIsPassedOver) {
    const auto histories = ParseLimitHistory(
        "freq=5 10-21 4:24:21.0\n"
        "*****GPU: \n"
        "freq=high 10-21 4:24:21.0\n"
        "freq=5 yesterday\n"
        "freq=5\n",
        kBegin, kEnd);
    ASSERT_EQ(histories.size(), 1U);
    EXPECT_TRUE(histories[0].entries.empty());
}

TEST(TimelineLimits, ATimeIsWrittenForAPerson) {
    EXPECT_EQ(WallTimeText(kBegin), "2026-11-21 04:24:20");
}

}  // namespace
}  // namespace corebeacon::tool::test
