#include "tools/sim/sim_fixture.h"

namespace corebeacon::sim {
namespace {

class SimCpufreq : public SimTest {
protected:
    SimCpufreq() { mDevice.AddCpufreqPolicy(kPolicy, {1530000, 418000, 734000, 1052000, 734000}); }

    std::string Range() { return mDevice.Value(kMin) + "~" + mDevice.Value(kMax); }
};

TEST_F(SimCpufreq, TheListIsAscendingAndEndsEachEntryWithABlank) {
    EXPECT_EQ(ReadFrom(kList), "418000 734000 1052000 1530000 \n");
    EXPECT_EQ(OpenError(kList, O_WRONLY), EACCES);
}

TEST_F(SimCpufreq, ThePairStartsAtTheEndsOfTheTable) {
    EXPECT_EQ(ReadFrom(kMin), "418000\n");
    EXPECT_EQ(ReadFrom(kMax), "1530000\n");
}

TEST_F(SimCpufreq, AMaximumBetweenEntriesReadsBackRoundedDownAndAMinimumRoundedUp) {
    EXPECT_EQ(WriteTo(kMax, "1100000"), 0);
    EXPECT_EQ(WriteTo(kMin, "500000\n"), 0);
    EXPECT_EQ(Range(), "734000~1052000");
}

TEST_F(SimCpufreq, AnOldKernelKeepsValuesBetweenEntriesAsAsked) {
    mDevice.SetKernelStyle(KernelStyle::OLD);
    EXPECT_EQ(WriteTo(kMax, "1100000"), 0);
    EXPECT_EQ(WriteTo(kMin, "500000"), 0);
    EXPECT_EQ(Range(), "500000~1100000");
}

TEST_F(SimCpufreq, ThePolicyAddedLaterFollowsTheChosenStyle) {
    mDevice.SetKernelStyle(KernelStyle::OLD);
    mDevice.AddCpufreqPolicy("/late", {100, 200});
    EXPECT_EQ(WriteTo("/late/scaling_max_freq", "150"), 0);
    EXPECT_EQ(mDevice.Value("/late/scaling_max_freq"), "150");
}

TEST_F(SimCpufreq, ValuesOutOfRangeAreClamped) {
    EXPECT_EQ(WriteTo(kMin, "0"), 0);
    EXPECT_EQ(WriteTo(kMax, "99999999"), 0);
    EXPECT_EQ(Range(), "418000~1530000");
    EXPECT_EQ(WriteTo(kMax, "0"), 0);
    EXPECT_EQ(Range(), "418000~418000");
    EXPECT_EQ(WriteTo(kMax, "99999999"), 0);
    EXPECT_EQ(WriteTo(kMin, "99999999"), 0);
    EXPECT_EQ(Range(), "1530000~1530000");
}

TEST_F(SimCpufreq, AMinimumAboveTheMaximumIsLimitedByItButRemembered) {
    EXPECT_EQ(WriteTo(kMax, "734000"), 0);
    EXPECT_EQ(WriteTo(kMin, "1052000"), 0);
    EXPECT_EQ(Range(), "734000~734000");
    EXPECT_EQ(WriteTo(kMax, "1530000"), 0);
    EXPECT_EQ(Range(), "1052000~1530000");
}

TEST_F(SimCpufreq, ARangeBetweenTwoEntriesIsWidenedToTheNextEntry) {
    EXPECT_EQ(WriteTo(kMin, "500000"), 0);
    EXPECT_EQ(WriteTo(kMax, "600000"), 0);
    EXPECT_EQ(Range(), "734000~734000");
}

TEST_F(SimCpufreq, WhatIsNoNumberIsRefusedAndChangesNothing) {
    EXPECT_EQ(WriteTo(kMax, "1052000"), 0);
    for (const char* text :
         {"-1", "abc", "", "\n", " 734000", "734000 ", "73x", "+-1", "--1", "0x", "2147483648"}) {
        EXPECT_EQ(WriteTo(kMax, text), EINVAL) << '"' << text << '"';
    }
    EXPECT_EQ(WriteTo(kMax, "99999999999999999999"), ERANGE);
    EXPECT_EQ(Range(), "418000~1052000");
}

TEST_F(SimCpufreq, HexadecimalAndOctalNumbersAreTakenAsTheKernelTakesThem) {
    EXPECT_EQ(WriteTo(kMax, "0x100da0"), 0);  // 1052064
    EXPECT_EQ(mDevice.Value(kMax), "1052000");
    EXPECT_EQ(WriteTo(kMax, "+02631460"), 0);  // 734000
    EXPECT_EQ(mDevice.Value(kMax), "734000");
}

TEST_F(SimCpufreq, ATextOfAPageIsTakenShort) {
    const int fd = OpenOrFail(kMax);
    const std::string text = "1052000\n" + std::string(4088, 'x');
    ASSERT_EQ(text.size(), 4096U);
    EXPECT_EQ(WriteFd(fd, text), EINVAL);
    const std::string zeros = std::string(4089, '0') + "1000000";
    EXPECT_EQ(mDevice.Write(fd, zeros.data(), zeros.size()), 4095);
    EXPECT_EQ(WriteFd(fd, std::string(4095 - 6, '0') + "734000"), 0);
}

TEST_F(SimCpufreq, AHeldDescriptorIsWrittenAgainWithoutSeeking) {
    const int fd = OpenOrFail(kMax, O_WRONLY | O_TRUNC | O_APPEND);
    EXPECT_EQ(WriteFd(fd, "1052000"), 0);
    EXPECT_EQ(WriteFd(fd, "734000"), 0);
    EXPECT_EQ(WriteFd(fd, "1530000"), 0);
    EXPECT_EQ(mDevice.Value(kMax), "1530000");
    EXPECT_EQ(mDevice.Close(fd), 0);
}

TEST_F(SimCpufreq, AnOfflinePolicyIsBusyAndKeepsItsLimits) {
    const int fd = OpenOrFail(kMax);
    EXPECT_EQ(WriteFd(fd, "1052000"), 0);
    mDevice.SetPolicyOnline(kPolicy, false);
    EXPECT_EQ(WriteFd(fd, "734000"), EBUSY);
    EXPECT_EQ(WriteTo(kMin, "734000"), EBUSY);
    EXPECT_EQ(WriteTo(kPolicy + "/scaling_governor", "performance"), EBUSY);
    EXPECT_EQ(ReadFrom(kMax), std::strerror(EBUSY));
    EXPECT_EQ(mDevice.Value(kMax), "");
    EXPECT_EQ(mDevice.Bytes(kMax), "");
    mDevice.SetPolicyOnline(kPolicy, true);
    EXPECT_EQ(Range(), "418000~1052000");
    EXPECT_EQ(WriteFd(fd, "734000"), 0);
    EXPECT_EQ(Range(), "418000~734000");
}

TEST_F(SimCpufreq, AnOfflinePolicyIsBusyWhateverIsWritten) {
    const int pair = OpenOrFail(kMax);
    const int governor = OpenOrFail(kPolicy + "/scaling_governor");
    mDevice.SetPolicyOnline(kPolicy, false);
    for (const char* text : {"abc", "", "-1", "99999999999999999999"}) {
        EXPECT_EQ(WriteFd(pair, text), EBUSY) << text;
    }
    EXPECT_EQ(WriteFd(governor, "turbo"), EBUSY);
}

TEST_F(SimCpufreq, AnOldKernelCallsAWriteToAnOfflinePolicyInvalid) {
    mDevice.SetKernelStyle(KernelStyle::OLD);
    mDevice.SetPolicyOnline(kPolicy, false);
    EXPECT_EQ(WriteTo(kMax, "734000"), EINVAL);
    EXPECT_EQ(WriteTo(kPolicy + "/scaling_governor", "performance"), EINVAL);
    EXPECT_EQ(ReadFrom(kMax), "1530000\n");
}

TEST_F(SimCpufreq, AThrottledPolicyAcceptsWritesAndAppliesThemOnceItIsCool) {
    mDevice.Throttle(kPolicy, 734000);
    EXPECT_EQ(WriteTo(kMin, "1052000"), 0);
    EXPECT_EQ(Range(), "734000~734000");
    mDevice.Throttle(kPolicy, 0);
    EXPECT_EQ(Range(), "1052000~1530000");
}

TEST_F(SimCpufreq, APolicyWithoutATableBoundsNothing) {
    mDevice.AddCpufreqPolicy("/bare", {});
    EXPECT_EQ(mDevice.Bytes("/bare/scaling_available_frequencies"), "\n");
    EXPECT_EQ(WriteTo("/bare/scaling_max_freq", "7"), 0);
    EXPECT_EQ(WriteTo("/bare/scaling_min_freq", "9"), 0);
    EXPECT_EQ(mDevice.Value("/bare/scaling_min_freq"), "7");
    EXPECT_EQ(mDevice.Value("/bare/scaling_max_freq"), "7");
}

class SimGovernor : public SimCpufreq {
protected:
    SimGovernor() {
        mDevice.AddGovernorNode(kPolicy, "target_loads", "90");
        mDevice.AddGovernorNode(kPolicy, "fast_ramp_up", "1");
    }

    const std::string mLoads = kPolicy + "/schedutil/target_loads";
    const std::string mRamp = kPolicy + "/schedutil/fast_ramp_up";
    const std::string mGovernor = kPolicy + "/scaling_governor";
};

TEST_F(SimGovernor, ItsNodesTakeText) {
    EXPECT_EQ(WriteTo(mLoads, "80 1000:90"), 0);
    EXPECT_EQ(ReadFrom(mLoads), "80 1000:90\n");
    EXPECT_EQ(ReadFrom(kPolicy + "/scaling_available_governors"),
              "performance powersave userspace schedutil \n");
}

TEST_F(SimGovernor, AChangeKillsHeldDescriptorsForEverAndBringsDefaultsBack) {
    const int held = OpenOrFail(mLoads);
    EXPECT_EQ(WriteFd(held, "80"), 0);
    EXPECT_EQ(WriteTo(mGovernor, "performance"), 0);
    EXPECT_EQ(ReadFrom(mGovernor), "performance\n");
    EXPECT_EQ(WriteFd(held, "70"), ENODEV);
    EXPECT_EQ(OpenError(mLoads, O_WRONLY), ENOENT);
    EXPECT_FALSE(mDevice.Exists(mRamp));
    EXPECT_EQ(WriteTo(mGovernor, "schedutil"), 0);
    EXPECT_EQ(WriteFd(held, "70"), ENODEV);
    EXPECT_EQ(ReadFrom(mLoads), "90\n");
    EXPECT_EQ(WriteTo(mLoads, "70"), 0);
    EXPECT_EQ(ReadFrom(mLoads), "70\n");
    EXPECT_EQ(mDevice.Close(held), 0);
}

TEST_F(SimGovernor, WritingTheGovernorInForceLeavesItsNodesAlone) {
    const int held = OpenOrFail(mLoads);
    EXPECT_EQ(WriteTo(mGovernor, "schedutil"), 0);
    EXPECT_EQ(WriteFd(held, "70"), 0);
}

TEST_F(SimGovernor, AnUnknownGovernorIsRefused) {
    EXPECT_EQ(WriteTo(mGovernor, "turbo"), EINVAL);
    EXPECT_EQ(mDevice.Value(mGovernor), "schedutil");
}

TEST_F(SimGovernor, GoingOfflineTakesItsNodesAwayAndThePairStays) {
    const int held = OpenOrFail(mLoads);
    const int pair = OpenOrFail(kMax);
    EXPECT_EQ(WriteFd(held, "70"), 0);
    mDevice.SetPolicyOnline(kPolicy, false);
    EXPECT_EQ(WriteFd(held, "70"), ENODEV);
    EXPECT_EQ(WriteFd(pair, "734000"), EBUSY);
    mDevice.SetPolicyOnline(kPolicy, true);
    EXPECT_EQ(WriteFd(held, "70"), ENODEV);
    EXPECT_EQ(WriteFd(pair, "734000"), 0);
    EXPECT_EQ(mDevice.Value(mLoads), "90");
}

TEST_F(SimGovernor, ComingOnlineUnderAnotherGovernorKeepsItsNodesAway) {
    mDevice.SetGovernor(kPolicy, "powersave");
    mDevice.SetPolicyOnline(kPolicy, false);
    mDevice.SetPolicyOnline(kPolicy, true);
    EXPECT_FALSE(mDevice.Exists(mLoads));
    mDevice.Restore(mLoads);
    EXPECT_FALSE(mDevice.Exists(mLoads));
    mDevice.AddGovernorNode(kPolicy, "target_loads", "85");
    EXPECT_FALSE(mDevice.Exists(mLoads));
    mDevice.SetGovernor(kPolicy, "schedutil");
    EXPECT_EQ(mDevice.Value(mLoads), "85");
}

TEST_F(SimGovernor, UnloadingTheDriverTakesThePolicyAwayAndBringsItBackAfresh) {
    const int pair = OpenOrFail(kMax);
    EXPECT_EQ(WriteFd(pair, "734000"), 0);
    EXPECT_EQ(WriteTo(kMin, "734000"), 0);
    mDevice.SetGovernor(kPolicy, "powersave");
    mDevice.RemoveTree(kPolicy);
    EXPECT_EQ(WriteFd(pair, "734000"), ENODEV);
    EXPECT_EQ(OpenError(kMax, O_WRONLY), ENOENT);
    mDevice.RestoreTree(kPolicy);
    EXPECT_EQ(WriteFd(pair, "734000"), ENODEV);
    EXPECT_EQ(Range(), "418000~1530000");
    EXPECT_EQ(mDevice.Value(mGovernor), "schedutil");
    EXPECT_EQ(mDevice.Value(mRamp), "1");
}

TEST_F(SimGovernor, APolicyThatDoesNotExistIsIgnored) {
    const auto before = mDevice.Snapshot();
    mDevice.SetPolicyOnline("/none", false);
    mDevice.SetGovernor("/none", "powersave");
    mDevice.Throttle("/none", 1);
    mDevice.Remove("/none");
    mDevice.Restore("/none");
    mDevice.RemoveTree("/cpufreq/policy");
    mDevice.SetReadOnly("/none", true);
    EXPECT_EQ(mDevice.Snapshot(), before);
    mDevice.AddGovernorNode("/none", "x", "1");
    EXPECT_EQ(mDevice.Value("/none/schedutil/x"), "1");
}

}  // namespace
}  // namespace corebeacon::sim
