#include <gtest/gtest.h>

#include "engine/recording_group.h"
#include "support/grouped_digits.h"

namespace corebeacon::test {
namespace {

TEST(PerfGroupDump, ShowsTheDefaultItemsByAStar) {
    const RecordingGroup group(MakeGroupConfig(), PERF_WORK_MODE_0);
    EXPECT_EQ(group.DumpText(),
              "G: boostBase(300, *)limitBase(2000, *)effectiveBase: 300~2000 effective: 300~2000\n"
              "boostBaseList(0) limitBaseList(0) boostList(0) limitList(0) final: 300~2000\n");
}

TEST(PerfGroupDump, ShowsALongTermBoostAheadOfTheDefaultOne) {
    RecordingGroup group(MakeGroupConfig(), PERF_WORK_MODE_1);
    group.LongTermStart(Standing(5, Boost(2500)));
    EXPECT_EQ(group.QueueText(),
              "boostBaseList(1) 300:* limitBaseList(0) boostList(0) limitList(0) "
              "final: 2500~2500");
}

TEST(PerfGroupDump, ShowsAllHeadsAndQueuesWithMaskedHandles) {
    RecordingGroup group(MakeGroupConfig(), PERF_WORK_MODE_0);
    group.UpdateCurrTimePoint(At(0));
    group.LongTermStart(Standing(1024 + 1, Both(400, 1900)));
    group.LongTermStart(Standing(2, Both(350, 1950)));
    group.ShortTermStart(Timed(1023, 0, 10, Both(600, 1500)));
    group.ShortTermStart(Timed(2047 + 5, 0, 10, Both(600, 1600)));
    group.ShortTermStart(Timed(7, 5, 10, Both(700, 1400)));
    EXPECT_EQ(group.DumpText(),
              "G: boostBase(400, 1)limitBase(1900, 1)effectiveBase: 400~1900 boost(600, 1023)"
              "limit(1500, 1023)effective: 600~1900\n"
              "boostBaseList(2) 350:2 300:* limitBaseList(2) 1950:2 2000:* boostList(1) 600:4 "
              "limitList(1) 1600:4 final: 600~1900\n");
}

TEST(PerfGroupDump, NeitherFollowsNorUndoesTheFormatOfTheStream) {
    const RecordingGroup group(MakeGroupConfig(), PERF_WORK_MODE_0);
    std::ostringstream out;
    AskForOddFormat(out);
    group.Dump(out);
    EXPECT_EQ(out.str(), group.DumpText());
    EXPECT_TRUE(HasOddFormat(out));
}

TEST(PerfGroupDump, BaseInformationHoldsValuesBeforeAndAfterMapping) {
    RecordingGroup group(PerfGroupConfig(3, "G", 0, 10, 1, 9, {"/min", "/max"}, CHIP_TYPE_COMMON),
                         PERF_WORK_MODE_0);
    group.LongTermStart(Standing(1, Both(4, 6)));
    GroupDumpInfo info;
    group.DumpBase(info);
    EXPECT_EQ(info.name, "G");
    EXPECT_EQ(info.groupId, 3U);
    EXPECT_EQ(info.boostBase, 4);
    EXPECT_EQ(info.limitBase, 6);
    ASSERT_EQ(info.specified.size(), 1U);
    EXPECT_EQ(info.specified[0].boostValue, "4");
    EXPECT_EQ(info.specified[0].limitValue, "6");
    EXPECT_EQ(info.specified[0].boostNode, "/min");
    EXPECT_EQ(info.specified[0].limitNode, "/max");
}

}  // namespace
}  // namespace corebeacon::test
