#include "command/command_wrapper.h"

#include <gtest/gtest.h>

#include <chrono>

#include "support/grouped_digits.h"
#include "support/log_capture.h"

namespace corebeacon {
namespace {

using std::chrono::milliseconds;
using Texts = std::vector<std::string>;

const TimePoint kStart{std::chrono::seconds(10)};
const TimePoint kEnd = kStart + milliseconds(500);

std::string DumpOf(const CommandWrapper& cmd) {
    std::ostringstream out;
    cmd.Dump(out);
    return out.str();
}

TEST(Handle, ReservedNumbersLieAboveEveryHandleOfARequest) {
    EXPECT_EQ(kNoHandle, 18446744073709551615UL);
    EXPECT_EQ(kInvalidHandle, 18446744073709551605UL);
    EXPECT_EQ(kMaxValidHandle, 18446744073709551604UL);
}

TEST(CommandWrapper, IsBornWithItsTimesAndWithoutHandleOrItems) {
    const CommandWrapper cmd(PERF_COMMAND_SHORT_START, kStart, kEnd, 500);
    EXPECT_EQ(cmd.GetType(), PERF_COMMAND_SHORT_START);
    EXPECT_EQ(cmd.GetHandle(), kNoHandle);
    EXPECT_EQ(cmd.GetStartTime(), kStart);
    EXPECT_EQ(cmd.GetEndTime(), kEnd);
    EXPECT_EQ(cmd.GetDuration(), 500U);
    EXPECT_TRUE(cmd.GetItems().empty());
}

TEST(CommandWrapper, NamesOnlyTheFirstFiveTypes) {
    const char* names[] = {"ShortStart", "ShortStop", "LongStart", "LongStop", "ModeStart"};
    for (unsigned int type = 0; type < 12; ++type) {
        const CommandWrapper cmd(static_cast<PerfCommandType>(type), kStart, kEnd, 0);
        EXPECT_EQ(cmd.GetCmdTypeString(), type < 5 ? names[type] : "invalid command type");
    }
}

TEST(CommandWrapper, ARequestItemTakesTheTimesOfTheWrapper) {
    CommandWrapper cmd(PERF_COMMAND_SHORT_START, kStart, kEnd, 500);
    const GroupValueMap groups = {{0, {{PERF_OPERATION_BOOST, 7}}}};
    cmd.InsertRequestCommand(PERF_QOS_GPU, groups);
    ASSERT_EQ(cmd.GetItems().size(), 1U);
    const PerfCommandItem& item = *cmd.GetItems()[0];
    EXPECT_EQ(item.qosId, PERF_QOS_GPU);
    EXPECT_EQ(item.handle, 0UL);
    EXPECT_EQ(item.workMode, PERF_WORK_MODE_0);
    EXPECT_EQ(item.startTime, kStart);
    EXPECT_EQ(item.endTime, kEnd);
    EXPECT_EQ(item.groups, groups);
}

TEST(CommandWrapper, TwoRequestsOfOneQosStayTwoItems) {
    CommandWrapper cmd(PERF_COMMAND_LONG_START, kStart, TimePoint(), 0);
    cmd.InsertRequestCommand(PERF_QOS_DDR, {{0, {{PERF_OPERATION_BOOST, 1}}}});
    cmd.InsertRequestCommand(PERF_QOS_DDR, {{0, {{PERF_OPERATION_BOOST, 2}}}});
    ASSERT_EQ(cmd.GetItems().size(), 2U);
    EXPECT_EQ(cmd.GetItems()[0]->groups.at(0).at(PERF_OPERATION_BOOST), 1);
    EXPECT_EQ(cmd.GetItems()[1]->groups.at(0).at(PERF_OPERATION_BOOST), 2);
}

TEST(CommandWrapper, AnEventItemHasTimesOfItsOwn) {
    CommandWrapper cmd(PERF_COMMAND_SHORT_START, kStart, kStart, 0);
    const TimePoint start = kStart + milliseconds(3);
    cmd.InsertEventCommand(PERF_QOS_L3C, start, kEnd, {{2, {{PERF_OPERATION_LIMIT, -4}}}});
    ASSERT_EQ(cmd.GetItems().size(), 1U);
    EXPECT_EQ(cmd.GetItems()[0]->startTime, start);
    EXPECT_EQ(cmd.GetItems()[0]->endTime, kEnd);
    EXPECT_EQ(cmd.GetEndTime(), kStart);
}

TEST(CommandWrapper, WorkModeDebugAndSuspendItemsCarryNoValues) {
    CommandWrapper cmd(PERF_COMMAND_MODE_START, kStart, kStart, 0);
    cmd.InsertWorkModeCommand();
    cmd.InsertDebugCommand(PERF_QOS_GPU);
    cmd.InsertSuspendCommand(PERF_QOS_EAS);
    EXPECT_EQ(DumpOf(cmd), "ModeStart duration 0\n{0: }\n{3: }\n{9: }\n");
    for (const auto& item : cmd.GetItems()) {
        EXPECT_EQ(item->startTime, kStart);
        EXPECT_EQ(item->endTime, kStart);
    }
}

TEST(CommandWrapper, AProbeBoostsGroupZeroOfItsThreeQosInOrder) {
    test::LogCapture log;
    CommandWrapper cmd(PERF_COMMAND_SHORT_START, kStart, kStart, 0);
    cmd.InsertProbeCommand(kStart, kEnd, 11, 22, 33);
    EXPECT_EQ(DumpOf(cmd),
              "ShortStart duration 0\n{1: [0 (0:11)]}\n{2: [0 (0:22)]}\n{3: [0 (0:33)]}\n");
    for (const auto& item : cmd.GetItems()) {
        EXPECT_EQ(item->startTime, kStart);
        EXPECT_EQ(item->endTime, kEnd);
    }
    EXPECT_EQ(log.Texts(3), Texts{"build probe cmd: gpu=33, cpuM=11, cpuB=22"});
    EXPECT_EQ(log.Lines()[0].tag, "PF_CMD_WRAPPER");
    EXPECT_EQ(log.Lines()[0].function, "InsertProbeCommand");
}

TEST(CommandWrapper, AProbeLeavesAloneEveryQosWhoseValueIsZero) {
    for (unsigned int mask = 0; mask < 8; ++mask) {
        CommandWrapper cmd(PERF_COMMAND_SHORT_START, kStart, kStart, 0);
        cmd.InsertProbeCommand(kStart, kEnd, mask & 1U ? 5 : 0, mask & 2U ? 6 : 0,
                               mask & 4U ? 7 : 0);
        std::string expected = "ShortStart duration 0\n";
        expected += mask & 1U ? "{1: [0 (0:5)]}\n" : "";
        expected += mask & 2U ? "{2: [0 (0:6)]}\n" : "";
        expected += mask & 4U ? "{3: [0 (0:7)]}\n" : "";
        EXPECT_EQ(DumpOf(cmd), expected);
    }
}

TEST(CommandWrapper, AProbeIsOneEvenWithoutItemsAndInEveryCopy) {
    CommandWrapper cmd(PERF_COMMAND_SHORT_START, kStart, kStart, 0);
    cmd.InsertRequestCommand(PERF_QOS_GPU, {});
    EXPECT_FALSE(cmd.IsProbe());
    CommandWrapper probe(PERF_COMMAND_SHORT_START, kStart, kStart, 0);
    probe.InsertProbeCommand(kStart, kEnd, 0, 0, 0);
    const CommandWrapper copy = probe;
    EXPECT_TRUE(copy.IsProbe());
}

TEST(CommandWrapper, FillInHandleReachesWrapperAndItemsInPlace) {
    CommandWrapper cmd(PERF_COMMAND_LONG_START, kStart, TimePoint(), 0);
    cmd.InsertRequestCommand(PERF_QOS_GPU, {});
    cmd.InsertRequestCommand(PERF_QOS_DDR, {});
    const CommandWrapper copy = cmd;
    cmd.FillInHandle(42);
    EXPECT_EQ(cmd.GetHandle(), 42UL);
    EXPECT_EQ(cmd.GetItems()[0]->handle, 42UL);
    EXPECT_EQ(cmd.GetItems()[1]->handle, 42UL);
    EXPECT_EQ(copy.GetItems(), cmd.GetItems()) << "copies share the items";
}

TEST(CommandWrapper, FillInHandleWithoutItemsChangesOnlyTheWrapper) {
    CommandWrapper cmd(PERF_COMMAND_SHORT_START, kStart, kEnd, 500);
    cmd.FillInHandle(42);
    EXPECT_EQ(cmd.GetHandle(), 42UL);
    EXPECT_TRUE(cmd.GetItems().empty());
    EXPECT_EQ(DumpOf(cmd), "ShortStart duration 500\n");
}

TEST(CommandWrapper, FillInWorkModeLeavesItemsAlreadySentAsTheyWere) {
    CommandWrapper cmd(PERF_COMMAND_MODE_START, kStart, kStart, 0);
    cmd.InsertWorkModeCommand();
    cmd.InsertRequestCommand(PERF_QOS_GPU, {{1, {{PERF_OPERATION_LIMIT, 9}}}});
    cmd.FillInHandle(42);
    const CommandWrapper sent = cmd;
    cmd.FillInWorkMode(PERF_WORK_MODE_2);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(sent.GetItems()[i]->workMode, PERF_WORK_MODE_0);
        EXPECT_EQ(cmd.GetItems()[i]->workMode, PERF_WORK_MODE_2);
        EXPECT_EQ(cmd.GetItems()[i]->handle, 42UL);
        EXPECT_EQ(cmd.GetItems()[i]->groups, sent.GetItems()[i]->groups);
    }
}

TEST(CommandWrapper, AMissingItemStopsTheFilling) {
    test::LogCapture log;
    CommandWrapper cmd(PERF_COMMAND_LONG_START, kStart, TimePoint(), 0);
    cmd.InsertRequestCommand(PERF_QOS_GPU, {});
    cmd.InsertItem(nullptr);
    cmd.InsertRequestCommand(PERF_QOS_DDR, {});
    cmd.FillInHandle(42);
    cmd.FillInWorkMode(PERF_WORK_MODE_1);
    EXPECT_EQ(cmd.GetHandle(), 42UL);
    EXPECT_EQ(cmd.GetItems()[0]->handle, 42UL);
    EXPECT_EQ(cmd.GetItems()[0]->workMode, PERF_WORK_MODE_1);
    EXPECT_EQ(cmd.GetItems()[2]->handle, 0UL);
    EXPECT_EQ(cmd.GetItems()[2]->workMode, PERF_WORK_MODE_0);
    EXPECT_EQ(log.Texts(6), (Texts{"command ptr is NULL!", "command ptr is NULL!"}));
    EXPECT_EQ(log.Lines()[0].tag, "PF_CMD_WRAPPER");
    EXPECT_EQ(log.Lines()[0].function, "FillInHandle");
    EXPECT_EQ(log.Lines()[1].function, "FillInWorkMode");
    EXPECT_EQ(DumpOf(cmd), "LongStart duration 0\n{3: }\n{4: }\n");
}

TEST(CommandWrapper, DumpsGroupsAndOperationsInAscendingOrder) {
    CommandWrapper cmd(PERF_COMMAND_SHORT_START, kStart, kEnd, 500);
    cmd.InsertRequestCommand(PERF_QOS_CPU_B,
                             {{4, {{PERF_OPERATION_BOOST, -1}}},
                              {0, {{PERF_OPERATION_LIMIT, 20}, {PERF_OPERATION_BOOST, 10}}}});
    cmd.InsertRequestCommand(static_cast<PerfQosId>(4294967295U), {});
    EXPECT_EQ(DumpOf(cmd),
              "ShortStart duration 500\n{2: [0 (0:10)(1:20)][4 (0:-1)]}\n{4294967295: }\n");
}

TEST(CommandWrapper, ADumpNeitherFollowsNorUndoesTheFormatOfTheStream) {
    CommandWrapper cmd(PERF_COMMAND_SHORT_START, kStart, kEnd, 60000);
    cmd.InsertRequestCommand(PERF_QOS_CPU_B, {{4, {{PERF_OPERATION_BOOST, 1211000}}}});
    std::ostringstream out;
    test::AskForOddFormat(out);
    cmd.Dump(out);
    EXPECT_EQ(out.str(), "ShortStart duration 60000\n{2: [4 (0:1211000)]}\n");
    EXPECT_TRUE(test::HasOddFormat(out));
}

TEST(CommandWrapper, ABaseSetDumpsAsAnInvalidType) {
    const CommandWrapper cmd(PERF_COMMAND_BASE_SET, kStart, TimePoint(), 0);
    EXPECT_EQ(DumpOf(cmd), "invalid command type duration 0\n");
}

}  // namespace
}  // namespace corebeacon
