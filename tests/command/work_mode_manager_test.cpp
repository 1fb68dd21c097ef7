#include "command/work_mode_manager.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "support/log_capture.h"

namespace corebeacon {
namespace {

using Texts = std::vector<std::string>;

std::string DumpOf(const WorkModeManager& manager) {
    std::ostringstream out;
    manager.Dump(out);
    return out.str();
}

TEST(WorkModeManager, StartsInModeZero) {
    const WorkModeManager manager;
    EXPECT_EQ(manager.GetCurrWorkMode(), PERF_WORK_MODE_0);
    EXPECT_EQ(DumpOf(manager), "\ncurrent mode = 0, modeNum(1) <value, handle>:\n<0,*>");
}

TEST(WorkModeManager, KnowsThreeModes) {
    const WorkModeManager manager;
    EXPECT_TRUE(manager.IsValidWorkModeId(0));
    EXPECT_TRUE(manager.IsValidWorkModeId(2));
    EXPECT_FALSE(manager.IsValidWorkModeId(3));
    EXPECT_FALSE(manager.IsValidWorkModeId(4294967295U));
}

TEST(WorkModeManager, TheHighestModeIsInForce) {
    WorkModeManager manager;
    PerfWorkMode result = PERF_WORK_MODE_0;
    EXPECT_EQ(manager.SetWorkMode(1, 2, result), 1);
    EXPECT_EQ(result, PERF_WORK_MODE_2);
    EXPECT_EQ(manager.SetWorkMode(2, 1, result), 0);
    EXPECT_EQ(result, PERF_WORK_MODE_2);
    EXPECT_EQ(manager.ReleaseWorkMode(1, result), 1);
    EXPECT_EQ(result, PERF_WORK_MODE_1);
    EXPECT_EQ(manager.GetCurrWorkMode(), PERF_WORK_MODE_1);
}

TEST(WorkModeManager, AReleaseThatChangesNothingAnswersZero) {
    WorkModeManager manager;
    PerfWorkMode result = PERF_WORK_MODE_0;
    manager.SetWorkMode(1, 2, result);
    manager.SetWorkMode(2, 2, result);
    result = PERF_WORK_MODE_0;
    EXPECT_EQ(manager.ReleaseWorkMode(1, result), 0);
    EXPECT_EQ(result, PERF_WORK_MODE_2);
}

TEST(WorkModeManager, TheLastReleaseEndsInModeZeroWhateverItBeganWith) {
    WorkModeManager manager;
    ASSERT_EQ(manager.InitWorkMode(PERF_WORK_MODE_2), 0);
    EXPECT_EQ(manager.GetCurrWorkMode(), PERF_WORK_MODE_2);
    PerfWorkMode result = PERF_WORK_MODE_1;
    EXPECT_EQ(manager.SetWorkMode(1, 2, result), 0);
    EXPECT_EQ(result, PERF_WORK_MODE_2);
    EXPECT_EQ(manager.ReleaseWorkMode(1, result), 1);
    EXPECT_EQ(result, PERF_WORK_MODE_0);
}

TEST(WorkModeManager, RefusesAnUnknownInitialMode) {
    test::LogCapture log;
    WorkModeManager manager;
    EXPECT_EQ(manager.InitWorkMode(static_cast<PerfWorkMode>(3)), -1);
    EXPECT_EQ(manager.GetCurrWorkMode(), PERF_WORK_MODE_0);
    EXPECT_EQ(log.Texts(6), Texts{"Init invalid workMode 3"});
    EXPECT_EQ(log.Lines()[0].tag, "PF_WM_MGR");
    EXPECT_EQ(log.Lines()[0].function, "InitWorkMode");
}

TEST(WorkModeManager, RefusesAHandleThatHoldsAMode) {
    test::LogCapture log;
    WorkModeManager manager;
    PerfWorkMode result = PERF_WORK_MODE_0;
    manager.SetWorkMode(5, 1, result);
    EXPECT_EQ(manager.SetWorkMode(5, 2, result), -1);
    EXPECT_EQ(result, PERF_WORK_MODE_1) << "a refusal leaves the result alone";
    EXPECT_EQ(manager.GetCurrWorkMode(), PERF_WORK_MODE_1);
    EXPECT_EQ(log.Texts(6), Texts{"invalid handle: 5"});
}

TEST(WorkModeManager, RefusesAnUnknownMode) {
    test::LogCapture log;
    WorkModeManager manager;
    PerfWorkMode result = PERF_WORK_MODE_0;
    EXPECT_EQ(manager.SetWorkMode(5, 3, result), -1);
    EXPECT_EQ(log.Texts(6), Texts{"invalid mode id: 3"});
    EXPECT_EQ(manager.SetWorkMode(5, 1, result), 1) << "the refusal did not take the handle";
}

TEST(WorkModeManager, RefusesToReleaseAHandleWithoutMode) {
    test::LogCapture log;
    WorkModeManager manager;
    PerfWorkMode result = PERF_WORK_MODE_0;
    EXPECT_EQ(manager.ReleaseWorkMode(5, result), -1);
    EXPECT_EQ(manager.ReleaseWorkMode(18446744073709551615UL, result), -1);
    EXPECT_EQ(log.Texts(6), (Texts{"invalid handle: 5", "invalid handle: 18446744073709551615"}));
}

TEST(WorkModeManager, TracesARelease) {
    test::LogCapture log;
    WorkModeManager manager;
    PerfWorkMode result = PERF_WORK_MODE_0;
    manager.SetWorkMode(5, 1, result);
    manager.ReleaseWorkMode(5, result);
    EXPECT_EQ(log.Texts(), Texts{"release mode succ"});
    EXPECT_EQ(log.Lines()[0].level, 3);
}

TEST(WorkModeManager, DumpsEqualModesInOrderOfArrivalAndTheBaseFirstAmongZeros) {
    WorkModeManager manager;
    PerfWorkMode result = PERF_WORK_MODE_0;
    manager.SetWorkMode(11, 0, result);
    manager.SetWorkMode(12, 1, result);
    manager.SetWorkMode(13, 2, result);
    manager.SetWorkMode(10, 1, result);
    EXPECT_EQ(DumpOf(manager),
              "\ncurrent mode = 2, modeNum(5) <value, handle>:\n"
              "<13, 2> <12, 1> <10, 1> <0,*><11, 0> ");
    manager.ReleaseWorkMode(12, result);
    EXPECT_EQ(DumpOf(manager),
              "\ncurrent mode = 2, modeNum(4) <value, handle>:\n"
              "<13, 2> <10, 1> <0,*><11, 0> ");
}

TEST(WorkModeManager, ServesManyThreadsAtOnce) {
    WorkModeManager manager;
    std::vector<std::thread> threads;
    for (unsigned long t = 0; t < 4; ++t) {
        threads.emplace_back([&manager, t] {
            for (unsigned int i = 0; i < 200; ++i) {
                const unsigned long handle = t * 1000 + i + 1;
                PerfWorkMode result = PERF_WORK_MODE_0;
                EXPECT_GE(manager.SetWorkMode(handle, i % 3, result), 0);
                std::ostringstream out;
                manager.Dump(out);
                EXPECT_GE(manager.ReleaseWorkMode(handle, result), 0);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(DumpOf(manager), "\ncurrent mode = 0, modeNum(1) <value, handle>:\n<0,*>");
}

}  // namespace
}  // namespace corebeacon
