#include <unistd.h>

#include <atomic>
#include <thread>

#include "tools/sim/sim_fixture.h"

namespace corebeacon::sim {
namespace {

class SimDevice : public SimTest {
protected:
    SimDevice() {
        mDevice.AddText("/a", "1");
        mDevice.AddText("/b", "2");
    }
};

TEST_F(SimDevice, DescriptorsAreCountedAndNeverGivenOutTwice) {
    const int first = OpenOrFail("/a");
    const int second = OpenOrFail("/b", O_RDONLY);
    EXPECT_NE(first, second);
    EXPECT_EQ(mDevice.OpenDescriptors(), 2U);
    EXPECT_EQ(mDevice.OpenDescriptors("/a"), 1U);
    EXPECT_EQ(mDevice.Close(first), 0);
    EXPECT_EQ(mDevice.Close(first), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_GT(OpenOrFail("/a"), second);
    EXPECT_EQ(mDevice.OpenDescriptors("/a"), 1U);
}

TEST_F(SimDevice, ADescriptorDoesOnlyWhatItWasOpenedFor) {
    const int reader = OpenOrFail("/a", O_RDONLY);
    const int writer = OpenOrFail("/a", O_WRONLY);
    char byte = 0;
    EXPECT_EQ(WriteFd(reader, "x"), EBADF);
    EXPECT_EQ(mDevice.Read(writer, &byte, 1), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(WriteFd(77, "x"), EBADF);
    EXPECT_EQ(mDevice.Read(77, &byte, 1), -1);
    EXPECT_EQ(mDevice.Ioctl(77, 0, nullptr), -1);
}

TEST_F(SimDevice, AReaderSeesOneStateFromItsFirstReadOn) {
    const int fd = OpenOrFail("/a", O_RDONLY);
    char byte = 0;
    EXPECT_EQ(mDevice.Read(fd, &byte, 1), 1);
    EXPECT_EQ(byte, '1');
    EXPECT_EQ(WriteTo("/a", "longer"), 0);
    EXPECT_EQ(ReadFd(fd), "\n");
    EXPECT_EQ(ReadFrom("/a"), "longer\n");
}

TEST_F(SimDevice, ASuccessLeavesErrnoAlone) {
    errno = ERANGE;
    EXPECT_EQ(WriteTo("/a", "5"), 0);
    EXPECT_EQ(errno, ERANGE);
}

TEST_F(SimDevice, ANodeThatVanishedIsDeadForHeldDescriptorsAndAliveForNewOnes) {
    const int writer = OpenOrFail("/a");
    const int reader = OpenOrFail("/a", O_RDONLY);
    EXPECT_EQ(WriteFd(writer, "9"), 0);
    mDevice.Remove("/a");
    EXPECT_FALSE(mDevice.Exists("/a"));
    EXPECT_EQ(mDevice.Value("/a"), "");
    EXPECT_EQ(mDevice.Bytes("/a"), "");
    EXPECT_EQ(mDevice.Nodes(), std::vector<std::string>{"/b"});
    EXPECT_EQ(mDevice.Snapshot(), (std::map<std::string, std::string>{{"/b", "2"}}));
    EXPECT_EQ(WriteFd(writer, "9"), ENODEV);
    EXPECT_EQ(ReadFd(reader), std::strerror(ENODEV));
    EXPECT_EQ(OpenError("/a", O_WRONLY), ENOENT);
    mDevice.Restore("/a");
    EXPECT_EQ(WriteFd(writer, "9"), ENODEV);
    EXPECT_EQ(mDevice.Value("/a"), "1");
    EXPECT_EQ(WriteTo("/a", "8"), 0);
    mDevice.Restore("/a");
    EXPECT_EQ(mDevice.Value("/a"), "8");
    EXPECT_EQ(mDevice.Close(writer), 0);
    EXPECT_EQ(mDevice.Close(reader), 0);
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
}

TEST_F(SimDevice, ANodeAddedAgainReplacesTheOldOne) {
    const int held = OpenOrFail("/a");
    mDevice.AddNumber("/a", 7, 0, 9);
    EXPECT_EQ(WriteFd(held, "3"), ENODEV);
    EXPECT_EQ(WriteTo("/a", "x"), EINVAL);
    EXPECT_EQ(mDevice.Value("/a"), "7");
}

TEST_F(SimDevice, TheRecordTellsEverythingAboutEachCall) {
    const TimePoint before = std::chrono::steady_clock::now();
    const int fd = OpenOrFail("/a", O_RDWR);
    EXPECT_EQ(WriteFd(fd, "text"), 0);
    char buffer[3];
    EXPECT_EQ(mDevice.Read(fd, buffer, sizeof(buffer)), 3);
    EXPECT_EQ(mDevice.Close(fd), 0);
    EXPECT_EQ(OpenError("/none", O_WRONLY), ENOENT);
    const std::vector<Operation> all = mDevice.Operations();
    ASSERT_EQ(all.size(), 5U);
    std::string story;
    for (const Operation& operation : all) {
        story += std::string(OperationName(operation.kind)) + " " + operation.path + " '" +
                 operation.bytes + "' " + (operation.fd == fd ? "fd" : "-") + " " +
                 (operation.result == fd ? "fd" : std::to_string(operation.result)) + " " +
                 std::to_string(operation.error) + "\n";
        EXPECT_EQ(operation.thread, gettid());
        EXPECT_GE(operation.time, before);
        EXPECT_LE(operation.time, std::chrono::steady_clock::now());
    }
    EXPECT_EQ(story,
              "open /a '' fd fd 0\n"
              "write /a 'text' fd 4 0\n"
              "read /a 'tex' fd 3 0\n"
              "close /a '' fd 0 0\n"
              "open /none '' - -1 2\n");
    EXPECT_EQ(all[0].flags, O_RDWR | O_CLOEXEC);
    EXPECT_EQ(mDevice.Operations(OperationKind::OPEN).size(), 2U);
    EXPECT_STREQ(OperationName(OperationKind::IOCTL), "ioctl");
    EXPECT_STREQ(OperationName(static_cast<OperationKind>(99)), "unknown");
}

TEST_F(SimDevice, WritesAreListedInOrderAndFailedOnesLeftOut) {
    mDevice.AddNumber("/n", 0, 0, 9);
    EXPECT_EQ(WriteTo("/a", "one"), 0);
    EXPECT_EQ(WriteTo("/n", "no"), EINVAL);
    EXPECT_EQ(WriteTo("/b", "two"), 0);
    EXPECT_EQ(WriteTo("/a", "three"), 0);
    EXPECT_EQ(mDevice.WritesTo("/a"), (std::vector<std::string>{"one", "three"}));
    EXPECT_TRUE(mDevice.WritesTo("/n").empty());
    const std::vector<Operation> writes = mDevice.Writes();
    ASSERT_EQ(writes.size(), 3U);
    EXPECT_EQ(writes[1].path, "/b");
    EXPECT_EQ(mDevice.TouchedNodes(), (std::vector<std::string>{"/a", "/b"}));
    mDevice.ClearRecord();
    EXPECT_TRUE(mDevice.Operations().empty());
    EXPECT_TRUE(mDevice.TouchedNodes().empty());
    EXPECT_EQ(mDevice.OperationCount(), 12U);
}

TEST_F(SimDevice, TheRecordKeepsOnlyTheNewestOperations) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(WriteTo("/a", std::to_string(i)), 0);
    }
    mDevice.SetRecordLimit(4);
    EXPECT_EQ(mDevice.Operations().size(), 4U);
    EXPECT_EQ(WriteTo("/a", "3"), 0);
    EXPECT_EQ(mDevice.Operations().size(), 4U);
    EXPECT_EQ(mDevice.WritesTo("/a"), std::vector<std::string>{"3"});
    mDevice.SetRecordLimit(0);
    EXPECT_EQ(WriteTo("/b", "4"), 0);
    EXPECT_TRUE(mDevice.Operations().empty());
    EXPECT_EQ(mDevice.TouchedNodes(), (std::vector<std::string>{"/a", "/b"}));
    EXPECT_EQ(mDevice.OperationCount(), 15U);
}

TEST_F(SimDevice, TheObserverSeesEachOperationAndMayAskForValues) {
    std::vector<std::string> seen;
    mDevice.SetRecordLimit(0);
    mDevice.SetObserver([&](const Operation& operation) {
        errno = E2BIG;
        if (operation.kind == OperationKind::WRITE) {
            seen.push_back(operation.path + "=" + mDevice.Value(operation.path) + " of " +
                           std::to_string(mDevice.Snapshot().size()));
        }
    });
    mDevice.AddNumber("/n", 0, 0, 9);
    EXPECT_EQ(WriteTo("/a", "5"), 0);
    EXPECT_EQ(WriteTo("/n", "99"), EINVAL);
    mDevice.SetObserver(nullptr);
    EXPECT_EQ(WriteTo("/a", "6"), 0);
    EXPECT_EQ(seen, (std::vector<std::string>{"/a=5 of 3", "/n=0 of 3"}));
}

TEST_F(SimDevice, ServesManyThreadsAtOnce) {
    constexpr int kThreads = 8;
    constexpr int kRounds = 200;
    mDevice.AddCpufreqPolicy(kPolicy, {100, 200, 300});
    mDevice.AddGovernorNode(kPolicy, "load", "1");
    mDevice.AddBinary("/lat", Aggregate::SMALLEST, 100, true);
    mDevice.SetRecordLimit(100);
    std::atomic<int> observed{0};
    mDevice.SetObserver([&](const Operation&) { ++observed; });
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([this, t] {
            for (int i = 0; i < kRounds; ++i) {
                WriteTo(kMax, i % 2 == 0 ? "200" : "300");
                WriteTo(kPolicy + "/schedutil/load", std::to_string(i));
                WriteTo("/lat", "20");
                if (t == 0) {
                    WriteTo(kPolicy + "/scaling_governor", i % 2 == 0 ? "powersave" : "schedutil");
                } else if (t == 1) {
                    mDevice.SetPolicyOnline(kPolicy, i % 2 != 0);
                } else if (t == 2) {
                    mDevice.Snapshot();
                    mDevice.Writes();
                } else if (t == 3) {
                    mDevice.RemoveTree(kPolicy);
                    mDevice.RestoreTree(kPolicy);
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
    EXPECT_EQ(mDevice.OperationCount(), static_cast<std::uint64_t>(observed.load()));
    mDevice.SetPolicyOnline(kPolicy, true);
    mDevice.SetGovernor(kPolicy, "schedutil");
    EXPECT_EQ(WriteTo(kMax, "200"), 0);
    EXPECT_EQ(mDevice.Value(kMax), "200");
    EXPECT_EQ(mDevice.Value("/lat"), "100");
    EXPECT_EQ(mDevice.Operations().size(), 100U);
}

TEST_F(SimDevice, TheRecordHasTheOrderOfTheEffects) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([this, t] {
            for (int i = 0; i < 100; ++i) {
                WriteTo("/a", std::to_string(t * 1000 + i));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    ASSERT_EQ(mDevice.WritesTo("/a").size(), 400U);
    EXPECT_EQ(mDevice.Value("/a"), mDevice.WritesTo("/a").back());
}

}  // namespace
}  // namespace corebeacon::sim
