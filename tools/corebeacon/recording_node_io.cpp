#include "recording_node_io.h"

#include <asm/ioctl.h>
#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <utility>

#include "platform/clock.h"
#include "platform/sys_wrapper.h"

namespace corebeacon::tool {

namespace {

bool IsPrintable(const std::string& text) {
    return std::ranges::all_of(text, [](char c) { return c >= ' ' && c <= '~'; });
}

std::string Word32(const char* bytes) {
    std::int32_t number = 0;
    std::memcpy(&number, bytes, sizeof(number));
    return std::to_string(number);
}

/// The request number and the words of its argument.
std::string IoctlText(unsigned long request, const void* argument) {
    char number[32];
    std::snprintf(number, sizeof(number), "ioctl 0x%lx:", request);
    std::string text = number;
    const auto* const bytes = static_cast<const char*>(argument);
    const std::size_t size = bytes != nullptr ? _IOC_SIZE(request) : 0;
    for (std::size_t offset = 0; offset + sizeof(std::int32_t) <= size;
         offset += sizeof(std::int32_t)) {
        text += " " + Word32(bytes + offset);
    }
    return text;
}

/// Restores the errno of the device's answer, which the caller is about to look at.
class ErrnoKeeper {
public:
    ErrnoKeeper() : mErrno(errno) {}
    ~ErrnoKeeper() { errno = mErrno; }
    ErrnoKeeper(const ErrnoKeeper&) = delete;
    ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;

    int Error() const { return mErrno; }
    std::string Text() const { return SysWrapper::ErrnoText(mErrno).Text(); }

private:
    const int mErrno;
};

}  // namespace

std::string NodeText(const std::string& bytes) {
    std::string text = bytes;
    while (!text.empty() && (text.back() == '\n' || text.back() == '\0')) {
        text.pop_back();
    }
    // A text ends in one zero byte at most; a small number, of which two are letters, in more.
    const bool hasZeros = bytes.size() - text.size() > 1 && bytes.back() == '\0';
    if (bytes.size() == sizeof(std::int32_t) && (hasZeros || !IsPrintable(text))) {
        return Word32(bytes.data());
    }
    std::replace(text.begin(), text.end(), '\n', ' ');
    std::replace(text.begin(), text.end(), '\t', ' ');
    if (IsPrintable(text)) {
        return text;
    }
    std::string hex = "0x";
    for (const char c : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof(digits), "%02x", static_cast<unsigned char>(c));
        hex += digits;
    }
    return hex;
}

int RecordingNodeIo::Open(const char* path, int flags) {
    const int fd = mDevice.Open(path, flags);
    if ((flags & O_ACCMODE) == O_RDONLY) {
        return fd;
    }
    const ErrnoKeeper result;
    if (fd < 0) {
        Record({.path = path,
                .failure = "cannot be opened: " + result.Text(),
                .error = result.Error(),
                .isOpening = true});
    } else {
        MutexLock lock(mMutex);
        mPaths[fd] = path;
    }
    return fd;
}

ssize_t RecordingNodeIo::Read(int fd, void* buffer, std::size_t size) {
    return mDevice.Read(fd, buffer, size);
}

ssize_t RecordingNodeIo::Write(int fd, const void* data, std::size_t size) {
    const ssize_t written = mDevice.Write(fd, data, size);
    const ErrnoKeeper result;
    std::string failure;
    if (written < 0) {
        failure = result.Text();
    } else if (static_cast<std::size_t>(written) != size) {
        failure = "took " + std::to_string(written) + " of " + std::to_string(size) + " bytes";
    }
    Record({.path = PathOf(fd),
            .value = NodeText({static_cast<const char*>(data), size}),
            .failure = std::move(failure),
            .error = written < 0 ? result.Error() : 0});
    return written;
}

int RecordingNodeIo::Close(int fd) {
    {
        // First: the number may be another thread's as soon as the descriptor is closed.
        MutexLock lock(mMutex);
        mPaths.erase(fd);
    }
    return mDevice.Close(fd);
}

int RecordingNodeIo::Ioctl(int fd, unsigned long request, void* argument) {
    // The device may write its answer over the argument.
    std::string text = IoctlText(request, argument);
    const int answer = mDevice.Ioctl(fd, request, argument);
    const ErrnoKeeper result;
    Record({.path = PathOf(fd),
            .value = std::move(text),
            .failure = answer < 0 ? result.Text() : "",
            .error = answer < 0 ? result.Error() : 0,
            .isIoctl = true});
    return answer;
}

std::vector<NodeWrite> RecordingNodeIo::Take() {
    MutexLock lock(mMutex);
    return std::exchange(mWrites, {});
}

bool RecordingNodeIo::HasWrites() {
    MutexLock lock(mMutex);
    return !mWrites.empty();
}

std::size_t RecordingNodeIo::CountOf(const std::string& path) {
    MutexLock lock(mMutex);
    const auto found = mCounts.find(path);
    return found != mCounts.end() ? found->second : 0;
}

void RecordingNodeIo::WaitForWrite(TimePoint deadline) {
    MutexLock lock(mMutex);
    while (mWrites.empty() && SteadyNow() < deadline) {
        GetClock().WaitUntil(mRecorded, mMutex, deadline);
    }
}

std::string RecordingNodeIo::PathOf(int fd) {
    MutexLock lock(mMutex);
    const auto found = mPaths.find(fd);
    return found != mPaths.end() ? found->second : std::string();
}

void RecordingNodeIo::Record(NodeWrite write) {
    MutexLock lock(mMutex);
    ++mCounts[write.path];
    write.time = SteadyNow();
    mWrites.push_back(std::move(write));
    mRecorded.NotifyAll();
}

}  // namespace corebeacon::tool
