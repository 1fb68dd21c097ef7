#include "platform/sys_wrapper.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "support/log_capture.h"
#include "support/scoped_node_io.h"
#include "support/scripted_node_io.h"

namespace corebeacon::SysWrapper {
namespace {

using test::LogCapture;
using Lines = std::vector<std::string>;

class SysWrapperTest : public testing::Test {
protected:
    int WriteStr(const std::string& text) {
        return SysOpenAndWriteStr("CPU_L", "/node", text, mFd);
    }
    int WriteUint(int value) { return SysOpenAndWriteUint("DDR", "/dev/node", value, mFd); }

    test::ScriptedNodeIo mKernel;
    test::ScopedNodeIo mScope{mKernel};
    LogCapture mLog;
    int mFd = -1;
};

TEST_F(SysWrapperTest, OpensWriteOnlyAndCloseOnExecWithoutAWord) {
    EXPECT_EQ(SysOpenWithWrOnly("/node"), 100);
    EXPECT_EQ(mKernel.LastOpenFlags(), O_WRONLY | O_CLOEXEC);
    mKernel.FailNextOpen(ENOENT);
    EXPECT_LT(SysOpenWithWrOnly("/node"), 0);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_TRUE(mLog.Lines().empty());
}

TEST_F(SysWrapperTest, ClosingSetsTheDescriptorToMinusOne) {
    mFd = SysOpenWithWrOnly("/node");
    EXPECT_EQ(SysClose(mFd), 0);
    EXPECT_EQ(mFd, -1);
    EXPECT_EQ(mKernel.Trace(), (Lines{"open /node = 100", "close 100"}));
}

TEST_F(SysWrapperTest, ClosingMinusOneDoesNothing) {
    EXPECT_EQ(SysClose(mFd), 0);
    EXPECT_EQ(mFd, -1);
    EXPECT_TRUE(mKernel.Trace().empty());
}

TEST_F(SysWrapperTest, ClosingLeavesAnyNegativeDescriptorAlone) {
    mFd = -7;
    EXPECT_EQ(SysClose(mFd), 0);
    EXPECT_EQ(mFd, -7);
    EXPECT_TRUE(mKernel.Trace().empty());
}

TEST_F(SysWrapperTest, AFailedCloseIsReportedAndStillLetsTheDescriptorGo) {
    mFd = SysOpenWithWrOnly("/node");
    mKernel.FailNextClose(EIO);
    EXPECT_EQ(SysClose(mFd), -1);
    EXPECT_EQ(mFd, -1);
}

TEST_F(SysWrapperTest, ATextIsWrittenWithoutTerminatorAndTheDescriptorStaysOpen) {
    EXPECT_EQ(WriteStr("1200000"), 0);
    EXPECT_EQ(WriteStr("900000"), 0);
    EXPECT_EQ(mFd, 100);
    EXPECT_EQ(mKernel.Trace(),
              (Lines{"open /node = 100", "write 100 1200000 = 7", "write 100 900000 = 6"}));
    EXPECT_TRUE(mLog.Lines().empty());
}

TEST_F(SysWrapperTest, AnEmptyTextIsWrittenToo) {
    EXPECT_EQ(WriteStr(""), 0);
    EXPECT_EQ(mKernel.Trace(), (Lines{"open /node = 100", "write 100  = 0"}));
}

TEST_F(SysWrapperTest, ANodeThatDoesNotOpenIsAnErrorForText) {
    mKernel.FailNextOpen(ENOENT);
    EXPECT_EQ(WriteStr("1"), -1);
    EXPECT_LT(mFd, 0);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Lines{"[CPU_L] open file /node failed, errno=2 (No such file or directory) \n"}));
    EXPECT_EQ(mLog.Lines().front().tag, "PF_SYS_WRAPPER");
}

TEST_F(SysWrapperTest, AnyOtherWriteErrorClosesTheNodeAndTheNextWriteReopensIt) {
    mKernel.FailNextWrite(EINVAL);
    EXPECT_EQ(WriteStr("abc"), -1);
    EXPECT_EQ(mFd, -1);
    EXPECT_EQ(mLog.Texts(), (Lines{"[CPU_L] abc write to /node failed, errno=22 "
                                   "(Invalid argument) \n"}));
    EXPECT_EQ(mLog.Lines().front().level, LOG_LEVEL_WARNING);

    EXPECT_EQ(WriteStr("1"), 0);
    EXPECT_EQ(mFd, 101);
    EXPECT_EQ(mKernel.Trace(), (Lines{"open /node = 100", "write 100 abc = -22", "close 100",
                                      "open /node = 101", "write 101 1 = 1"}));
}

TEST_F(SysWrapperTest, AVanishedDeviceIsReopenedAndWrittenAgain) {
    mKernel.FailNextWrite(ENODEV);
    EXPECT_EQ(WriteStr("77"), 0);
    EXPECT_EQ(mFd, 101);
    EXPECT_EQ(mKernel.Trace(), (Lines{"open /node = 100", "write 100 77 = -19", "close 100",
                                      "open /node = 101", "write 101 77 = 2"}));
    EXPECT_EQ(mLog.Texts(), (Lines{"[CPU_L] 77 write to /node failed, errno=19 "
                                   "(No such device) \n"}));
    EXPECT_EQ(mLog.Lines().front().level, LOG_LEVEL_DEBUG);
}

TEST_F(SysWrapperTest, AVanishedDeviceIsNoNewsUnlessDebugMessagesAreOn) {
    PfLogonNamespace::PfLogonSet(1);
    mKernel.FailNextWrite(ENODEV);
    EXPECT_EQ(WriteStr("77"), 0);
    EXPECT_TRUE(mLog.Lines().empty());
}

TEST_F(SysWrapperTest, ADeviceThatDoesNotComeBackIsAnError) {
    mKernel.FailNextWrite(ENODEV);
    mKernel.PassNextOpen();
    mKernel.FailNextOpen(EACCES);
    EXPECT_EQ(WriteStr("77"), -1);
    EXPECT_LT(mFd, 0);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), (Lines{"[CPU_L] 77 second open file [/node] failed, "
                                                  "errno=13 (Permission denied) \n"}));
    EXPECT_EQ(mKernel.OpenCount(), 0U);
}

TEST_F(SysWrapperTest, ASecondFailedWriteIsAnErrorAndIsNotRetriedAgain) {
    mKernel.FailNextWrite(ENODEV);
    mKernel.FailNextWrite(ENODEV);
    EXPECT_EQ(WriteStr("77"), -1);
    EXPECT_EQ(mFd, -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Lines{"[CPU_L] 77 second write to /node failed, errno=19 (No such device) \n"}));
    EXPECT_EQ(mKernel.Trace(), (Lines{"open /node = 100", "write 100 77 = -19", "close 100",
                                      "open /node = 101", "write 101 77 = -19", "close 101"}));
}

TEST_F(SysWrapperTest, AShortWriteIsAPlainFailureWhateverErrnoWasBefore) {
    mKernel.ShortenNextWrite();
    errno = ENODEV;
    EXPECT_EQ(WriteStr("1200000"), -1);
    EXPECT_EQ(mFd, -1);
    EXPECT_EQ(mLog.Texts(), (Lines{"[CPU_L] 1200000 write to /node failed, errno=0 (Success) \n"}));
    EXPECT_EQ(mLog.Lines().front().level, LOG_LEVEL_WARNING);
    EXPECT_EQ(mKernel.Trace(), (Lines{"open /node = 100", "write 100 1200000 = 6", "close 100"}));
}

TEST_F(SysWrapperTest, APercentSignInATextIsNoFormat) {
    mKernel.FailNextWrite(EINVAL);
    EXPECT_EQ(WriteStr("%s%n"), -1);
    EXPECT_EQ(mLog.Texts(), (Lines{"[CPU_L] %s%n write to /node failed, errno=22 "
                                   "(Invalid argument) \n"}));
}

TEST_F(SysWrapperTest, AnIntegerIsWrittenAsItsFourBytes) {
    EXPECT_EQ(WriteUint(0x01020304), 0);
    EXPECT_EQ(WriteUint(-1), 0);
    const int value = 0x01020304;
    std::string bytes(sizeof(value), '\0');
    std::memcpy(bytes.data(), &value, sizeof(value));
    EXPECT_EQ(mKernel.Written(), (Lines{bytes, "\xff\xff\xff\xff"}));
    EXPECT_EQ(mKernel.OpenCount(), 1U);
}

TEST_F(SysWrapperTest, ANodeThatDoesNotOpenIsAnErrorForAnInteger) {
    mKernel.FailNextOpen(EACCES);
    EXPECT_EQ(WriteUint(5), -1);
    EXPECT_LT(mFd, 0);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Lines{"[DDR] open file /dev/node failed, errno=13 (Permission denied) \n"}));
}

TEST_F(SysWrapperTest, AFailedIntegerIsAnErrorWithoutARetryEvenForAVanishedDevice) {
    mKernel.FailNextWrite(ENODEV);
    EXPECT_EQ(WriteUint(-5), -1);
    EXPECT_EQ(mFd, -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Lines{"[DDR] -5 write to /dev/node failed, errno=19 (No such device) \n"}));
    EXPECT_EQ(mKernel.Trace().size(), 3U);
    EXPECT_EQ(WriteUint(5), 0);
    EXPECT_EQ(mFd, 101);
}

TEST_F(SysWrapperTest, AShortIntegerIsAFailure) {
    mKernel.ShortenNextWrite();
    EXPECT_EQ(WriteUint(7), -1);
    EXPECT_EQ(mFd, -1);
    EXPECT_EQ(mLog.Texts(), (Lines{"[DDR] 7 write to /dev/node failed, errno=0 (Success) \n"}));
}

TEST_F(SysWrapperTest, AnIoctlReachesTheKernelAsItIs) {
    EXPECT_EQ(SysIoctl(42, 0x4010781EUL, nullptr), 0);
    EXPECT_EQ(mKernel.Trace(), (Lines{"ioctl 42 1074821150"}));
}

TEST(SysWrapper, ATimeIsPrintedFromTheRawFieldsWithoutPadding) {
    std::tm time{};
    time.tm_mon = 2;
    time.tm_mday = 5;
    time.tm_hour = 9;
    time.tm_min = 7;
    time.tm_sec = 3;
    EXPECT_EQ(PutTime(time), "2-5 9:7:3");
    time.tm_mon = 0;
    time.tm_mday = 31;
    time.tm_hour = 23;
    time.tm_min = 59;
    time.tm_sec = 60;
    EXPECT_EQ(PutTime(time), "0-31 23:59:60");
}

TEST(ErrnoText, IsTheTextOfTheCLibraryForKnownAndUnknownNumbers) {
    EXPECT_STREQ(ErrnoText(ENODEV).Text(), "No such device");
    EXPECT_STREQ(ErrnoText(99999).Text(), "Unknown error 99999");
}

TEST(ErrnoText, TakesTheResultOfEitherKindOfStrerror) {
    const char buffer[] = "filled";
    EXPECT_STREQ(StrerrorText("returned", buffer), "returned");
    EXPECT_STREQ(StrerrorText(0, buffer), "filled");
    EXPECT_STREQ(StrerrorText(ERANGE, buffer), "filled");
}

}  // namespace
}  // namespace corebeacon::SysWrapper
