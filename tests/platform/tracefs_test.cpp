// Markers as a real kernel shows them, in a trace buffer of the test's own: an instance of the
// machine's tracefs, or of one that is mounted where only the test sees it.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "corebeacon/trace.h"
#include "platform/sys_wrapper.h"
#include "support/log_capture.h"

namespace corebeacon {
namespace {

constexpr const char* kMachineTracefs = "/sys/kernel/tracing";

/// A tracefs in a mount namespace of the calling thread, for the thread's life.
class PrivateTracefs {
public:
    PrivateTracefs() {
        std::array<char, 32> directory{"/tmp/corebeacon_tracefs.XXXXXX"};
        if (mkdtemp(directory.data()) == nullptr) {
            mReason = Because("mkdtemp");
            return;
        }
        mPath = directory.data();
        // Without the second step the mount would spread to the rest of the machine.
        if (unshare(CLONE_NEWNS) != 0) {
            mReason = Because("unshare");
        } else if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
            mReason = Because("mount --make-rprivate");
        } else if (mount("tracefs", mPath.c_str(), "tracefs", 0, nullptr) != 0) {
            mReason = Because("mount -t tracefs");
        } else {
            mIsMounted = true;
        }
    }
    ~PrivateTracefs() {
        if (mIsMounted) {
            umount2(mPath.c_str(), MNT_DETACH);
        }
        if (!mPath.empty()) {
            rmdir(mPath.c_str());
        }
    }
    PrivateTracefs(const PrivateTracefs&) = delete;
    PrivateTracefs& operator=(const PrivateTracefs&) = delete;

    const std::string& Path() const { return mPath; }
    /// Why there is none; empty for success.
    const std::string& Reason() const { return mReason; }

private:
    static std::string Because(const std::string& call) {
        return call + ": " + std::strerror(errno);
    }

    std::string mPath;
    std::string mReason;
    bool mIsMounted = false;
};

/// A trace buffer with its own trace_marker.
class TraceInstance {
public:
    explicit TraceInstance(const std::string& tracefs)
        : mPath(tracefs + "/instances/corebeacon_test_" + std::to_string(getpid())),
          mExists(mkdir(mPath.c_str(), 0700) == 0) {}
    ~TraceInstance() {
        UnbindSysTrace();  // an instance with an open file cannot go
        if (mExists) {
            EXPECT_EQ(rmdir(mPath.c_str()), 0) << std::strerror(errno);
        }
    }
    TraceInstance(const TraceInstance&) = delete;
    TraceInstance& operator=(const TraceInstance&) = delete;

    bool Exists() const { return mExists; }
    std::string MarkerFile() const { return mPath + "/trace_marker"; }
    void Switch(bool on) { std::ofstream(mPath + "/tracing_on") << (on ? "1" : "0"); }

    /// The markers in the buffer, without what the kernel prints before them.
    std::vector<std::string> Markers() const {
        std::vector<std::string> markers;
        std::ifstream trace(mPath + "/trace");
        for (std::string line; std::getline(trace, line);) {
            const std::size_t marker = line.find(": I|");
            if (marker != std::string::npos) {
                markers.push_back(line.substr(marker + 2));
            }
        }
        return markers;
    }

private:
    const std::string mPath;
    const bool mExists;
};

void CheckMarkers(TraceInstance& instance) {
    const test::LogCapture log;
    const std::string prefix = "I|" + std::to_string(getpid()) + "|";
    const std::string longest(1024 - prefix.size(), 'x');
    ASSERT_EQ(BindSysTrace(instance.MarkerFile()), 0);
    SysWrapper::SysTraceName("corebeacon_log:request");
    SysWrapper::SysTraceName("corebeacon_log:two\nlines");
    SysWrapper::SysTraceName(longest + "y");
    EXPECT_EQ(LostSysTraceMarkers(), 0U);
    EXPECT_TRUE(log.Lines().empty());
    instance.Switch(false);
    SysWrapper::SysTraceName("not seen");
    SysWrapper::SysTraceName("not seen either");
    EXPECT_EQ(LostSysTraceMarkers(), 2U);
    EXPECT_EQ(log.Lines().size(), 1U);
    instance.Switch(true);
    SysWrapper::SysTraceName("seen again");
    EXPECT_EQ(LostSysTraceMarkers(), 2U);
    EXPECT_EQ(instance.Markers(),
              (std::vector<std::string>{prefix + "corebeacon_log:request",
                                        prefix + "corebeacon_log:two lines", prefix + longest,
                                        prefix + "seen again"}));
}

/// Runs the checks where that is possible; else tells why it is not.
std::string CheckOnThisMachine() {
    {
        TraceInstance instance(kMachineTracefs);
        if (instance.Exists()) {
            CheckMarkers(instance);
            return "";
        }
    }
    const PrivateTracefs tracefs;
    if (!tracefs.Reason().empty()) {
        return tracefs.Reason();
    }
    TraceInstance instance(tracefs.Path());
    if (!instance.Exists()) {
        return std::string("mkdir of a trace instance: ") + std::strerror(errno);
    }
    CheckMarkers(instance);
    return "";
}

TEST(Tracefs, TheKernelShowsEachMarkerWholeAndInOrder) {
    std::string reason;
    // On a thread of its own, which takes the mount namespace with it when it ends.
    std::thread([&reason] { reason = CheckOnThisMachine(); }).join();
    if (!reason.empty()) {
        GTEST_SKIP() << "NOT TESTED: no tracefs that this user may write to, neither at "
                     << kMachineTracefs << " nor mounted privately (" << reason << ")";
    }
}

}  // namespace
}  // namespace corebeacon
