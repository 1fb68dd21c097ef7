#include "command/end_time_index.h"

#include <gtest/gtest.h>

namespace corebeacon {
namespace {

TimePoint At(int milliseconds) {
    return TimePoint(std::chrono::milliseconds(milliseconds));
}

TEST(EndTimeIndex, YieldsWhatHasExpiredEarliestFirst) {
    EndTimeIndex index;
    index.Insert({7, 1, At(30), kRequestRecordKind});
    index.Insert({8, 2, At(10), kProbeRecordKind});
    index.Insert({9, 3, At(20), 5});

    EndTimeRecord record;
    EXPECT_FALSE(index.TakeExpired(At(9), record));
    ASSERT_TRUE(index.TakeExpired(At(20), record));
    EXPECT_EQ(record.owner, 8);
    EXPECT_EQ(record.handle, 2UL);
    EXPECT_EQ(record.kind, kProbeRecordKind);
    ASSERT_TRUE(index.TakeExpired(At(20), record));
    EXPECT_EQ(record.owner, 9);
    EXPECT_EQ(record.kind, 5U);
    EXPECT_EQ(record.endTime, At(20));
    EXPECT_FALSE(index.TakeExpired(At(20), record));
    EXPECT_EQ(index.Size(), 1U);
}

TEST(EndTimeIndex, ErasesOneOfManyThatShareAnEnd) {
    EndTimeIndex index;
    for (unsigned long handle = 1; handle <= 3; ++handle) {
        index.Insert({7, handle, At(10), kRequestRecordKind});
    }
    EXPECT_TRUE(index.Erase(At(10), 2));
    EXPECT_FALSE(index.Erase(At(10), 2));
    EXPECT_FALSE(index.Erase(At(11), 1));
    EXPECT_EQ(index.Size(), 2U);

    EndTimeRecord record;
    ASSERT_TRUE(index.TakeExpired(At(10), record));
    EXPECT_EQ(record.handle, 1UL);
    ASSERT_TRUE(index.TakeExpired(At(10), record));
    EXPECT_EQ(record.handle, 3UL);
    EXPECT_FALSE(index.TakeExpired(At(10), record));
}

TEST(EndTimeIndex, IsEmptyAfterClear) {
    EndTimeIndex index;
    index.Insert({7, 1, At(10), kRequestRecordKind});
    index.Clear();
    EXPECT_EQ(index.Size(), 0U);
    EndTimeRecord record;
    EXPECT_FALSE(index.TakeExpired(At(10), record));
}

}  // namespace
}  // namespace corebeacon
