#include "recording_node_io.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <string>
#include <thread>

#include "platform/clock.h"
#include "sim/simulated_device.h"

namespace corebeacon::tool {
namespace {

constexpr const char* kNode = "/sys/knob";

class RecordingNodeIoTest : public ::testing::Test {
protected:
    RecordingNodeIoTest() { mDevice.AddText(kNode, "old"); }

    int OpenForWriting(const char* path) { return mRecord.Open(path, O_WRONLY | O_CLOEXEC); }

    sim::SimulatedDevice mDevice;
    RecordingNodeIo mRecord{mDevice};
};

TEST_F(RecordingNodeIoTest, AWriteIsPassedOnAndRecorded) {
    const TimePoint before = SteadyNow();
    const int fd = OpenForWriting(kNode);
    EXPECT_EQ(mRecord.Write(fd, "new", 3), 3);
    EXPECT_EQ(mRecord.Close(fd), 0);
    EXPECT_EQ(mDevice.Value(kNode), "new");
    const auto writes = mRecord.Take();
    ASSERT_EQ(writes.size(), 1U);
    EXPECT_EQ(writes[0].path, kNode);
    EXPECT_EQ(writes[0].value, "new");
    EXPECT_EQ(writes[0].failure, "");
    EXPECT_GE(writes[0].time, before);
    EXPECT_TRUE(mRecord.Take().empty());
}

TEST_F(RecordingNodeIoTest, ReadsLeaveNoTrace) {
    const int fd = mRecord.Open(kNode, O_RDONLY);
    std::array<char, 16> buffer{};
    EXPECT_EQ(mRecord.Read(fd, buffer.data(), buffer.size()), 4);
    mRecord.Close(fd);
    EXPECT_EQ(mRecord.Open("/sys/absent", O_RDONLY), -1);
    EXPECT_TRUE(mRecord.Take().empty());
}

TEST_F(RecordingNodeIoTest, FailuresAreRecordedAndTheirErrnoKept) {
    errno = 0;
    EXPECT_EQ(OpenForWriting("/sys/absent"), -1);
    EXPECT_EQ(errno, ENOENT);
    mDevice.Inject(kNode, sim::OperationKind::WRITE, sim::Fault::Errno(EBUSY));
    const int fd = OpenForWriting(kNode);
    EXPECT_EQ(mRecord.Write(fd, "1", 1), -1);
    EXPECT_EQ(errno, EBUSY);
    const auto writes = mRecord.Take();
    ASSERT_EQ(writes.size(), 2U);
    EXPECT_EQ(writes[0].path, "/sys/absent");
    EXPECT_EQ(writes[0].failure, "cannot be opened: No such file or directory");
    EXPECT_EQ(writes[1].value, "1");
    EXPECT_EQ(writes[1].failure, "Device or resource busy");
    mRecord.Close(fd);
}

TEST_F(RecordingNodeIoTest, AShortWriteIsAFailure) {
    mDevice.Inject(kNode, sim::OperationKind::WRITE, sim::Fault::Short(2));
    const int fd = OpenForWriting(kNode);
    EXPECT_EQ(mRecord.Write(fd, "12345", 5), 2);
    EXPECT_EQ(mRecord.Take().at(0).failure, "took 2 of 5 bytes");
    mRecord.Close(fd);
}

TEST_F(RecordingNodeIoTest, AnIoctlShowsItsWords) {
    constexpr unsigned long kRequest = 0x4010781EUL;
    mDevice.AddIoctl("/dev/knob", {kRequest});
    const int fd = OpenForWriting("/dev/knob");
    std::array<std::int32_t, 4> words{5, 0, 112, -1};
    EXPECT_EQ(mRecord.Ioctl(fd, kRequest, words.data()), 0);
    EXPECT_EQ(mRecord.Ioctl(fd, 0x7801UL, nullptr), -1);
    const auto writes = mRecord.Take();
    ASSERT_EQ(writes.size(), 2U);
    EXPECT_EQ(writes[0].value, "ioctl 0x4010781e: 5 0 112 -1");
    EXPECT_EQ(writes[0].failure, "");
    EXPECT_EQ(writes[1].value, "ioctl 0x7801:");
    EXPECT_EQ(writes[1].failure, "Inappropriate ioctl for device");
    mRecord.Close(fd);
}

TEST_F(RecordingNodeIoTest, AnUnknownDescriptorHasNoPath) {
    EXPECT_EQ(mRecord.Write(-1, "x", 1), -1);
    EXPECT_EQ(mRecord.Take().at(0).path, "");
}

TEST_F(RecordingNodeIoTest, WaitingEndsWithTheFirstWriteOrAtTheDeadline) {
    mRecord.WaitForWrite(SteadyNow());
    EXPECT_TRUE(mRecord.Take().empty());
    std::thread writer([this] {
        const int fd = OpenForWriting(kNode);
        mRecord.Write(fd, "new", 3);
        mRecord.Close(fd);
    });
    mRecord.WaitForWrite(SteadyNow() + std::chrono::minutes(1));
    EXPECT_EQ(mRecord.Take().size(), 1U);
    writer.join();
}

TEST(NodeText, IsWhatAPersonReads) {
    EXPECT_EQ(NodeText("418000\n"), "418000");
    EXPECT_EQ(NodeText("2000"), "2000");
    EXPECT_EQ(NodeText(""), "");
    EXPECT_EQ(NodeText("one\ttwo\nthree\n"), "one two three");
    EXPECT_EQ(NodeText(std::string("vexa\0", 5)), "vexa");
    const std::int32_t number = 17913;
    EXPECT_EQ(NodeText(std::string(reinterpret_cast<const char*>(&number), 4)), "17913");
    EXPECT_EQ(NodeText("\x01\xfe\x03"), "0x01fe03");
    EXPECT_EQ(NodeText(std::string("120\0", 4)), "120");
    EXPECT_EQ(NodeText(std::string("P:\0\0", 4)), "14928");  // letters by accident
}

}  // namespace
}  // namespace corebeacon::tool
