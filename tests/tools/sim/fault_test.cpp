#include <chrono>
#include <thread>

#include "tools/sim/sim_fixture.h"

namespace corebeacon::sim {
namespace {

using std::chrono::milliseconds;

class SimFault : public SimTest {
protected:
    SimFault() {
        mDevice.AddText("/a", "1");
        mDevice.AddText("/b", "2");
    }
};

TEST_F(SimFault, StrikesOnceUnlessToldOtherwise) {
    const auto id = mDevice.Inject("/a", OperationKind::WRITE, Fault::Errno(EIO));
    EXPECT_EQ(WriteTo("/b", "5"), 0);
    EXPECT_EQ(WriteTo("/a", "5"), EIO);
    EXPECT_EQ(mDevice.Value("/a"), "1");
    EXPECT_EQ(WriteTo("/a", "5"), 0);
    EXPECT_EQ(mDevice.FaultHits(id), 1U);
    EXPECT_EQ(mDevice.Operations(OperationKind::WRITE)[1].error, EIO);
    EXPECT_EQ(mDevice.TouchedNodes(), (std::vector<std::string>{"/a", "/b"}));
}

TEST_F(SimFault, StrikesAsOftenAsAskedFromTheNthOperationOn) {
    const auto id =
        mDevice.Inject("/a", OperationKind::WRITE, Fault::Errno(EAGAIN).Times(2).StartingAt(3));
    std::vector<int> outcomes;
    for (int i = 0; i < 6; ++i) {
        outcomes.push_back(WriteTo("/a", "5"));
    }
    EXPECT_EQ(outcomes, (std::vector<int>{0, 0, EAGAIN, EAGAIN, 0, 0}));
    EXPECT_EQ(mDevice.FaultHits(id), 2U);
}

TEST_F(SimFault, StrikesForEverUntilItIsRemoved) {
    const auto id =
        mDevice.Inject("/a", OperationKind::OPEN, Fault::Errno(EACCES).Forever().StartingAt(0));
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(OpenError("/a", O_WRONLY), EACCES);
    }
    EXPECT_EQ(mDevice.FaultHits(id), 100U);
    mDevice.RemoveFault(id);
    EXPECT_EQ(OpenError("/a", O_WRONLY), 0);
    EXPECT_EQ(mDevice.FaultHits(id), 0U);
}

TEST_F(SimFault, ClearingEndsAllOfThem) {
    mDevice.Inject("/a", OperationKind::WRITE, Fault::Errno(EIO).Forever());
    mDevice.InjectEverywhere(OperationKind::OPEN, Fault::Errno(EMFILE).Forever());
    EXPECT_EQ(WriteTo("/b", "5"), EMFILE);
    mDevice.ClearFaults();
    EXPECT_EQ(WriteTo("/a", "5"), 0);
}

TEST_F(SimFault, EverywhereCountsOverAllNodes) {
    mDevice.InjectEverywhere(OperationKind::WRITE, Fault::Errno(ENOSPC).StartingAt(2));
    EXPECT_EQ(WriteTo("/a", "5"), 0);
    EXPECT_EQ(WriteTo("/b", "5"), ENOSPC);
    EXPECT_EQ(WriteTo("/a", "6"), 0);
}

TEST_F(SimFault, TheFirstInjectedOutcomeHasItsWay) {
    const auto first = mDevice.Inject("/a", OperationKind::WRITE, Fault::Errno(EIO));
    const auto second = mDevice.Inject("/a", OperationKind::WRITE, Fault::Errno(EPERM).Times(2));
    EXPECT_EQ(WriteTo("/a", "5"), EIO);
    EXPECT_EQ(WriteTo("/a", "5"), EPERM);
    EXPECT_EQ(mDevice.FaultHits(first), 1U);
    EXPECT_EQ(mDevice.FaultHits(second), 2U);
}

TEST_F(SimFault, AShortWriteReachesTheNodeOnlyInPart) {
    mDevice.Inject("/a", OperationKind::WRITE, Fault::Short(3));
    const int fd = OpenOrFail("/a");
    EXPECT_EQ(mDevice.Write(fd, "1000000", 7), 3);
    EXPECT_EQ(mDevice.Value("/a"), "100");
    mDevice.Inject("/a", OperationKind::WRITE, Fault::Short(0));
    EXPECT_EQ(mDevice.Write(fd, "2000000", 7), 0);
    EXPECT_EQ(mDevice.Value("/a"), "100");
    mDevice.Inject("/a", OperationKind::WRITE, Fault::Short(50));
    EXPECT_EQ(mDevice.Write(fd, "2000000", 7), 7);
    EXPECT_EQ(mDevice.WritesTo("/a").size(), 3U);
}

TEST_F(SimFault, AShortReadGivesTheRestLater) {
    mDevice.AddText("/a", "abcdef");
    mDevice.Inject("/a", OperationKind::READ, Fault::Short(2));
    const int fd = OpenOrFail("/a", O_RDONLY);
    char buffer[16];
    EXPECT_EQ(mDevice.Read(fd, buffer, sizeof(buffer)), 2);
    EXPECT_EQ(ReadFd(fd), "cdef\n");
}

TEST_F(SimFault, AnyOperationCanFail) {
    std::uint32_t word = 0;
    mDevice.AddIoctl("/ctrl", {0x40047801});
    mDevice.Inject("/a", OperationKind::READ, Fault::Errno(EINTR));
    mDevice.Inject("/ctrl", OperationKind::IOCTL, Fault::Errno(ETIMEDOUT));
    mDevice.Inject("/none", OperationKind::OPEN, Fault::Errno(ELOOP));
    EXPECT_EQ(ReadFrom("/a"), std::strerror(EINTR));
    const int fd = OpenOrFail("/ctrl");
    EXPECT_EQ(mDevice.Ioctl(fd, 0x40047801, &word), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_EQ(OpenError("/none", O_RDONLY), ELOOP);
    EXPECT_EQ(OpenError("/none", O_RDONLY), ENOENT);
}

TEST_F(SimFault, AFailedCloseStillGivesTheDescriptorBack) {
    mDevice.Inject("/a", OperationKind::CLOSE, Fault::Errno(EINTR));
    const int fd = OpenOrFail("/a");
    EXPECT_EQ(mDevice.Close(fd), -1);
    EXPECT_EQ(errno, EINTR);
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
}

TEST_F(SimFault, ADelayTakesItsTime) {
    mDevice.Inject("/a", OperationKind::OPEN, Fault::Delay(milliseconds(20)));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(OpenError("/a", O_WRONLY), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(20));
}

TEST_F(SimFault, ANodeThatHangsHoldsUpNobodyElse) {
    mDevice.AddCpufreqPolicy(kPolicy, {100, 200});
    const auto gate = std::make_shared<Gate>();
    mDevice.Inject(kMax, OperationKind::WRITE, Fault::Hold(gate));
    int outcome = -1;
    std::thread hanging([&] { outcome = WriteTo(kMax, "100"); });
    ASSERT_TRUE(gate->AwaitWaiting(1));
    EXPECT_EQ(gate->Waiting(), 1U);
    EXPECT_EQ(WriteTo("/b", "5"), 0);
    EXPECT_EQ(WriteTo(kMin, "200"), 0);
    EXPECT_EQ(mDevice.Value(kMax), "200");
    EXPECT_EQ(mDevice.Snapshot().at("/b"), "5");
    EXPECT_TRUE(mDevice.WritesTo(kMax).empty());
    gate->Open();
    hanging.join();
    EXPECT_EQ(outcome, 0);
    EXPECT_EQ(mDevice.Value(kMax), "100");
    EXPECT_EQ(gate->Waiting(), 0U);
}

TEST_F(SimFault, ANodeMayVanishWhileAWriteHangs) {
    const auto gate = std::make_shared<Gate>();
    mDevice.Inject("/a", OperationKind::WRITE, Fault::Hold(gate));
    int outcome = -1;
    std::thread hanging([&] { outcome = WriteTo("/a", "5"); });
    ASSERT_TRUE(gate->AwaitWaiting(1));
    mDevice.Remove("/a");
    gate->Open();
    hanging.join();
    EXPECT_EQ(outcome, ENODEV);
}

TEST_F(SimFault, ANodeMayHangFirstAndFailThen) {
    const auto gate = std::make_shared<Gate>();
    mDevice.Inject("/a", OperationKind::WRITE,
                   Fault::Errno(EIO).AfterPassing(gate).After(milliseconds(1)).Times(2));
    int outcome = -1;
    std::thread hanging([&] { outcome = WriteTo("/a", "5"); });
    ASSERT_TRUE(gate->AwaitWaiting(1));
    gate->Open();
    hanging.join();
    EXPECT_EQ(outcome, EIO);
    gate->Close();
    EXPECT_FALSE(gate->AwaitWaiting(1, milliseconds(1)));
    gate->Open();
    EXPECT_EQ(WriteTo("/a", "5"), EIO);
}

}  // namespace
}  // namespace corebeacon::sim
