#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <string_view>

#include "corebeacon/node_io.h"
#include "corebeacon/trace.h"
#include "platform/immortal.h"
#include "platform/logging.h"
#include "platform/mutex.h"
#include "platform/sys_wrapper.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_SYS_WRAPPER";

/// What the kernel takes of one write to trace_marker; it cuts off the rest.
constexpr std::size_t kMaxMarkerBytes = 1024;

/// "I|<process id>|<name>", an instant event to trace viewers, without memory from the heap.
class Marker {
public:
    explicit Marker(std::string_view name) {
        // At every marker anew: a child that forked off has an id of its own.
        mSize = static_cast<std::size_t>(
            std::snprintf(mText.data(), mText.size(), "I|%d|", static_cast<int>(getpid())));
        for (const char letter : name.substr(0, mText.size() - mSize)) {
            // A line break would end the marker and begin another, nameless event.
            mText[mSize++] = static_cast<unsigned char>(letter) < ' ' ? ' ' : letter;
        }
    }

    const char* Text() const { return mText.data(); }
    std::size_t Size() const { return mSize; }

private:
    std::array<char, kMaxMarkerBytes> mText;
    std::size_t mSize = 0;
};

/// The one binding. Markers are written under its lock, so that none is under way when the file is
/// closed. The kernel only copies them into a buffer: nobody waits long.
class SysTracer {
public:
    int Bind(const std::string& path) EXCLUDES(mMutex) {
        int fd = SysWrapper::SysOpenWithWrOnly(path);
        if (fd < 0) {
            const int error = errno;
            LOGE("[%s:%d] open trace marker %s failed, errno=%d (%s)", path.c_str(), error,
                 SysWrapper::ErrnoText(error).Text());
            errno = error;
            return -1;
        }
        MutexLock lock(mMutex);
        SysWrapper::SysClose(mFd);
        mFd = fd;
        mLost = 0;
        SysWrapper::gSysTraceEnabled.store(true, std::memory_order_relaxed);
        return 0;
    }

    void Unbind() EXCLUDES(mMutex) {
        MutexLock lock(mMutex);
        SysWrapper::gSysTraceEnabled.store(false, std::memory_order_relaxed);
        SysWrapper::SysClose(mFd);
    }

    void Write(const Marker& marker) EXCLUDES(mMutex) {
        int error = 0;
        {
            MutexLock lock(mMutex);
            if (mFd < 0) {
                return;
            }
            errno = 0;  // a short write leaves it alone
            const ssize_t written = GetNodeIo().Write(mFd, marker.Text(), marker.Size());
            if (written == static_cast<ssize_t>(marker.Size())) {
                return;
            }
            error = errno;
            // The file stays open: the kernel answers EBADF while tracing is merely off.
            if (++mLost > 1) {
                return;
            }
        }
        LOGW("[%s:%d] trace marker lost, errno=%d (%s), further ones are only counted", error,
             SysWrapper::ErrnoText(error).Text());
    }

    std::uint64_t Lost() EXCLUDES(mMutex) {
        MutexLock lock(mMutex);
        return mLost;
    }

private:
    Mutex mMutex;
    int mFd GUARDED_BY(mMutex) = -1;
    std::uint64_t mLost GUARDED_BY(mMutex) = 0;
};

SysTracer& TheTracer() {
    static Immortal<SysTracer> tracer;
    return tracer.Get();
}

}  // namespace

int BindSysTrace(const std::string& traceMarkerPath) {
    return TheTracer().Bind(traceMarkerPath);
}

void UnbindSysTrace() {
    TheTracer().Unbind();
}

std::uint64_t LostSysTraceMarkers() {
    return TheTracer().Lost();
}

namespace SysWrapper {

std::atomic<bool> gSysTraceEnabled{false};

void SysTraceName(const std::string& name) {
    if (IsSysTraceEnabled()) {
        TheTracer().Write(Marker(name));
    }
}

}  // namespace SysWrapper

}  // namespace corebeacon
