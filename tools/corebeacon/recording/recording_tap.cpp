#include "recording/recording_tap.h"

#include <asm/ioctl.h>
#include <fcntl.h>

#include <cerrno>
#include <utility>

namespace corebeacon::tool {

namespace {

/// Restores the errno of the device's answer, which the caller is about to look at.
class ErrnoKeeper {
public:
    ErrnoKeeper() : mErrno(errno) {}
    ~ErrnoKeeper() { errno = mErrno; }
    ErrnoKeeper(const ErrnoKeeper&) = delete;
    ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;

    int Value() const { return mErrno; }

private:
    const int mErrno;
};

}  // namespace

void RecordingTap::EngineStarted() {
    const std::lock_guard lock(mMutex);
    mIsStarted = true;
}

void RecordingTap::Stop() {
    const std::lock_guard lock(mMutex);
    mIsStopped = true;
}

bool RecordingTap::Counts() const {
    return !mIsStopped && (!mIsStarted || std::this_thread::get_id() != mOwner);
}

int RecordingTap::Open(const char* path, int flags) {
    const int fd = mDevice.Open(path, flags);
    const ErrnoKeeper result;
    const std::lock_guard lock(mMutex);
    if (!Counts() || (flags & O_PATH) != 0) {
        return fd;
    }
    const bool isRead = (flags & O_ACCMODE) == O_RDONLY;
    NodeCall call{.kind = isRead ? NodeCallKind::READ : NodeCallKind::OPEN, .path = path};
    if (fd < 0) {
        call.error = result.Value();
        call.isOpenFailed = isRead;
        mWriter.Node(call);
    } else if (isRead) {
        mReads[fd] = std::move(call);
    } else {
        mWritable[fd] = path;
    }
    return fd;
}

ssize_t RecordingTap::Read(int fd, void* buffer, std::size_t size) {
    const ssize_t got = mDevice.Read(fd, buffer, size);
    const ErrnoKeeper result;
    const std::lock_guard lock(mMutex);
    if (const auto read = mReads.find(fd); read != mReads.end()) {
        if (got > 0) {
            read->second.bytes.append(static_cast<const char*>(buffer),
                                      static_cast<std::size_t>(got));
        }
        read->second.error = got < 0 ? result.Value() : 0;
    }
    return got;
}

ssize_t RecordingTap::Write(int fd, const void* data, std::size_t size) {
    const ssize_t written = mDevice.Write(fd, data, size);
    const ErrnoKeeper result;
    const std::lock_guard lock(mMutex);
    if (!Counts()) {
        return written;
    }
    NodeCall call{.kind = NodeCallKind::WRITE,
                  .path = PathOf(fd),
                  .bytes = {static_cast<const char*>(data), size}};
    if (written < 0) {
        call.error = result.Value();
    } else if (static_cast<std::size_t>(written) != size) {
        call.taken = static_cast<std::size_t>(written);
    }
    mWriter.Node(call);
    return written;
}

int RecordingTap::Close(int fd) {
    {
        // First: the number may be another thread's as soon as the descriptor is closed.
        const std::lock_guard lock(mMutex);
        mWritable.erase(fd);
        if (const auto read = mReads.extract(fd)) {
            mWriter.Node(read.mapped());
        }
    }
    return mDevice.Close(fd);
}

int RecordingTap::Ioctl(int fd, unsigned long request, void* argument) {
    const std::size_t size = argument != nullptr ? _IOC_SIZE(request) : 0;
    const auto* const bytes = static_cast<const char*>(argument);
    NodeCall call{.kind = NodeCallKind::IOCTL,
                  .bytes = size > 0 ? std::string(bytes, size) : "",
                  .request = request};
    const int value = mDevice.Ioctl(fd, request, argument);
    const ErrnoKeeper result;
    const std::lock_guard lock(mMutex);
    if (!Counts()) {
        return value;
    }
    call.path = PathOf(fd);
    call.error = value < 0 ? result.Value() : 0;
    call.value = value < 0 ? 0 : value;
    if (size > 0 && std::string(bytes, size) != call.bytes) {
        call.answer = std::string(bytes, size);
    }
    mWriter.Node(call);
    return value;
}

std::string RecordingTap::PathOf(int fd) const {
    const auto found = mWritable.find(fd);
    return found != mWritable.end() ? found->second : "";
}

}  // namespace corebeacon::tool
