#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include "corebeacon/trace.h"
#include "platform/sys_wrapper.h"
#include "support/log_capture.h"
#include "support/scoped_node_io.h"
#include "support/scripted_node_io.h"

namespace corebeacon {
namespace {

using SysWrapper::IsSysTraceEnabled;
using SysWrapper::SysTraceName;
using test::LogCapture;
using Texts = std::vector<std::string>;

constexpr const char* kMarkerFile = "/tracing/trace_marker";
constexpr std::size_t kMaxMarkerBytes = 1024;

std::string Marker(const std::string& name) {
    return "I|" + std::to_string(getpid()) + "|" + name;
}

/// The trace of a successful marker.
std::string WriteStep(int fd, const std::string& name) {
    const std::string marker = Marker(name);
    return "write " + std::to_string(fd) + " " + marker + " = " + std::to_string(marker.size());
}

class SysTraceTest : public testing::Test {
protected:
    ~SysTraceTest() override { UnbindSysTrace(); }

    /// What the tracer made of one name.
    std::string Marked(const std::string& name) {
        SysTraceName(name);
        return mKernel.Written().back();
    }

    test::ScriptedNodeIo mKernel;
    test::ScopedNodeIo mScope{mKernel};
    LogCapture mLog;
};

TEST_F(SysTraceTest, ItIsOffUntilItIsBoundAndThenANameGoesNowhere) {
    EXPECT_FALSE(IsSysTraceEnabled());
    SysTraceName("corebeacon_log:request");
    EXPECT_TRUE(mKernel.Trace().empty());
    EXPECT_TRUE(mLog.Lines().empty());
}

TEST_F(SysTraceTest, AMarkerIsOneWriteToAFileThatIsOpenedOnce) {
    EXPECT_EQ(BindSysTrace(kMarkerFile), 0);
    EXPECT_TRUE(IsSysTraceEnabled());
    EXPECT_EQ(mKernel.LastOpenFlags(), O_WRONLY | O_CLOEXEC);
    SysTraceName("corebeacon_log:request");
    SysTraceName("corebeacon_log:suspend=1 2");
    EXPECT_EQ(mKernel.Trace(),
              (Texts{"open /tracing/trace_marker = 100", WriteStep(100, "corebeacon_log:request"),
                     WriteStep(100, "corebeacon_log:suspend=1 2")}));
    EXPECT_TRUE(mLog.Lines().empty());
}

TEST_F(SysTraceTest, UnbindingClosesTheFileAndSwitchesTracingOff) {
    BindSysTrace(kMarkerFile);
    UnbindSysTrace();
    EXPECT_FALSE(IsSysTraceEnabled());
    SysTraceName("late");
    EXPECT_EQ(mKernel.Trace(), (Texts{"open /tracing/trace_marker = 100", "close 100"}));
    UnbindSysTrace();
    EXPECT_EQ(mKernel.Trace().size(), 2U);
}

TEST_F(SysTraceTest, AnotherBindingTakesThePlaceOfTheFirst) {
    BindSysTrace(kMarkerFile);
    EXPECT_EQ(BindSysTrace("/other/trace_marker"), 0);
    SysTraceName("x");
    EXPECT_EQ(mKernel.Trace(),
              (Texts{"open /tracing/trace_marker = 100", "open /other/trace_marker = 101",
                     "close 100", WriteStep(101, "x")}));
}

TEST_F(SysTraceTest, AFileThatCannotBeOpenedIsReportedAndTracingStaysOff) {
    mKernel.FailNextOpen(EACCES);
    errno = 0;
    EXPECT_EQ(BindSysTrace(kMarkerFile), -1);
    EXPECT_EQ(errno, EACCES);
    EXPECT_FALSE(IsSysTraceEnabled());
    EXPECT_EQ(
        mLog.Texts(LOG_LEVEL_ERROR),
        Texts{"open trace marker /tracing/trace_marker failed, errno=13 (Permission denied)"});
}

TEST_F(SysTraceTest, AFileThatCannotBeOpenedLeavesTheFormerBindingInForce) {
    BindSysTrace(kMarkerFile);
    mKernel.FailNextOpen(ENOENT);
    EXPECT_EQ(BindSysTrace("/nowhere"), -1);
    EXPECT_TRUE(IsSysTraceEnabled());
    EXPECT_EQ(Marked("x"), Marker("x"));
    EXPECT_EQ(mKernel.OpenCount(), 1U);
}

TEST_F(SysTraceTest, ALineBreakBecomesABlank) {
    BindSysTrace(kMarkerFile);
    EXPECT_EQ(Marked("two\nlines\r\n"), Marker("two lines  "));
    EXPECT_EQ(Marked(std::string("\0\t\x1f!", 4)), Marker("   !"));
    EXPECT_EQ(Marked("gr\xc3\xbcn|~"), Marker("gr\xc3\xbcn|~"));
}

TEST_F(SysTraceTest, AnEmptyNameIsAMarkerToo) {
    BindSysTrace(kMarkerFile);
    EXPECT_EQ(Marked(""), Marker(""));
}

TEST_F(SysTraceTest, AMarkerIsCutAtWhatTheKernelTakes) {
    BindSysTrace(kMarkerFile);
    const std::string whole(kMaxMarkerBytes - Marker("").size(), 'x');
    EXPECT_EQ(Marked(whole), Marker(whole));
    EXPECT_EQ(Marked(whole + "y"), Marker(whole));
    EXPECT_EQ(Marked(whole + std::string(100000, 'y')), Marker(whole));
    EXPECT_EQ(LostSysTraceMarkers(), 0U);
}

TEST_F(SysTraceTest, LostMarkersAreLoggedOnceAndCountedAndTheFileStaysOpen) {
    BindSysTrace(kMarkerFile);
    mKernel.FailNextWrite(EBADF);
    mKernel.FailNextWrite(ENOSPC);
    mKernel.ShortenNextWrite();
    SysTraceName("a");
    EXPECT_EQ(mLog.Texts(), Texts{"trace marker lost, errno=9 (Bad file descriptor), further ones "
                                  "are only counted"});
    EXPECT_EQ(mLog.Lines()[0].level, LOG_LEVEL_WARNING);
    SysTraceName("b");
    SysTraceName("c");
    EXPECT_EQ(LostSysTraceMarkers(), 3U);
    EXPECT_EQ(mLog.Lines().size(), 1U);
    EXPECT_EQ(Marked("d"), Marker("d"));
    EXPECT_EQ(LostSysTraceMarkers(), 3U);
    EXPECT_EQ(mKernel.OpenCount(), 1U);
    EXPECT_TRUE(IsSysTraceEnabled());
}

TEST_F(SysTraceTest, AShortWriteIsALossWithoutAnErrno) {
    BindSysTrace(kMarkerFile);
    errno = EIO;
    mKernel.ShortenNextWrite();
    SysTraceName("a");
    EXPECT_EQ(mLog.Texts(),
              Texts{"trace marker lost, errno=0 (Success), further ones are only counted"});
}

TEST_F(SysTraceTest, ANewBindingCountsAndLogsAnew) {
    BindSysTrace(kMarkerFile);
    mKernel.FailNextWrite(EBADF);
    SysTraceName("a");
    UnbindSysTrace();
    EXPECT_EQ(LostSysTraceMarkers(), 1U) << "still there to be asked for";
    BindSysTrace(kMarkerFile);
    EXPECT_EQ(LostSysTraceMarkers(), 0U);
    mKernel.FailNextWrite(EBADF);
    SysTraceName("b");
    EXPECT_EQ(mLog.Lines().size(), 2U);
}

TEST_F(SysTraceTest, MarkersComeFromManyThreadsWhileTheBindingComesAndGoes) {
    constexpr int kThreads = 4;
    constexpr int kBindings = 200;
    std::atomic<bool> stop{false};
    std::vector<std::thread> callers;
    for (int thread = 0; thread < kThreads; ++thread) {
        callers.emplace_back([&stop, thread] {
            while (!stop) {
                SysTraceName(std::to_string(thread));
            }
        });
    }
    for (int binding = 0; binding < kBindings; ++binding) {
        EXPECT_EQ(BindSysTrace(kMarkerFile), 0);
        std::this_thread::yield();
        UnbindSysTrace();
    }
    stop = true;
    for (std::thread& caller : callers) {
        caller.join();
    }
    EXPECT_EQ(mKernel.OpenCount(), 0U);
    for (const std::string& written : mKernel.Written()) {
        EXPECT_EQ(written.substr(0, written.size() - 1), Marker(""));
    }
    // A marker written to a closed descriptor, or a binding that is lost, would show here.
    std::string open;
    for (const std::string& step : mKernel.Trace()) {
        if (step.starts_with("open")) {
            EXPECT_EQ(open, "");
            open = step.substr(step.rfind(' ') + 1);
        } else if (step.starts_with("close")) {
            EXPECT_EQ(step, "close " + open);
            open.clear();
        } else {
            EXPECT_TRUE(step.starts_with("write " + open + " I|")) << step;
        }
    }
    EXPECT_TRUE(mLog.Lines().empty());
}

}  // namespace
}  // namespace corebeacon
