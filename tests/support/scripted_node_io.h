/// A kernel that does as told: every operation succeeds unless the test queued an outcome for it,
/// and each is recorded as a line of text. Owned by a test; thread-safe.
#pragma once

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "corebeacon/node_io.h"

namespace corebeacon::test {

class ScriptedNodeIo : public NodeIo {
public:
    static constexpr int kFirstFd = 100;

    /// Descriptors are handed out from `firstFd` upwards.
    explicit ScriptedNodeIo(int firstFd = kFirstFd) : mNextFd(firstFd) {}

    /// The next Open, Write, Read or Close that has nothing queued before it fails with `error`.
    void FailNextOpen(int error) { Queue(mOpenErrors, error); }
    void FailNextWrite(int error) { Queue(mWriteErrors, error); }
    void FailNextRead(int error) { Queue(mReadErrors, error); }
    void FailNextClose(int error) { Queue(mCloseErrors, error); }
    /// Lets one operation of the kind succeed ahead of outcomes queued after it.
    void PassNextOpen() { FailNextOpen(0); }
    void PassNextWrite() { FailNextWrite(0); }
    void PassNextRead() { FailNextRead(0); }
    /// The next Write takes one byte less than it is given, without an errno.
    void ShortenNextWrite() { FailNextWrite(kShort); }

    /// What Read finds in a node, handed out in pieces of at most `pieceSize` bytes.
    void SetContent(const std::string& path, const std::string& content,
                    std::size_t pieceSize = 4096) {
        std::lock_guard<std::mutex> lock(mMutex);
        mContents[path] = {content, pieceSize};
    }

    /// All operations in order: "open PATH = FD", "write FD TEXT = SIZE", "read FD = SIZE",
    /// "close FD", "ioctl FD REQUEST"; a failed one ends in " = -ERRNO".
    std::vector<std::string> Trace() const {
        std::lock_guard<std::mutex> lock(mMutex);
        return mTrace;
    }

    /// The texts of all successful writes, in order.
    std::vector<std::string> Written() const {
        std::lock_guard<std::mutex> lock(mMutex);
        return mWritten;
    }

    int LastOpenFlags() const {
        std::lock_guard<std::mutex> lock(mMutex);
        return mLastOpenFlags;
    }

    std::size_t OpenCount() const {
        std::lock_guard<std::mutex> lock(mMutex);
        return mOpen.size();
    }

    int Open(const char* path, int flags) override {
        std::lock_guard<std::mutex> lock(mMutex);
        mLastOpenFlags = flags;
        const std::string what = std::string("open ") + path;
        if (const int error = Take(mOpenErrors); error != 0) {
            return Fail(what, error);
        }
        const int fd = mNextFd++;
        mOpen[fd] = {path, 0};
        mTrace.push_back(what + " = " + std::to_string(fd));
        return fd;
    }

    ssize_t Read(int fd, void* buffer, std::size_t size) override {
        std::lock_guard<std::mutex> lock(mMutex);
        const std::string what = "read " + std::to_string(fd);
        if (const int error = Take(mReadErrors); error != 0) {
            return Fail(what, error);
        }
        OpenNode& node = mOpen.at(fd);
        const Content& content = mContents[node.path];
        const std::size_t left = content.text.size() - node.position;
        const std::size_t got = std::min({left, size, content.pieceSize});
        std::memcpy(buffer, content.text.data() + node.position, got);
        node.position += got;
        mTrace.push_back(what + " = " + std::to_string(got));
        return static_cast<ssize_t>(got);
    }

    ssize_t Write(int fd, const void* data, std::size_t size) override {
        std::lock_guard<std::mutex> lock(mMutex);
        const std::string text(static_cast<const char*>(data), size);
        const std::string what = "write " + std::to_string(fd) + " " + text;
        const int error = Take(mWriteErrors);
        if (error == kShort) {
            mTrace.push_back(what + " = " + std::to_string(size - 1));
            return static_cast<ssize_t>(size - 1);
        }
        if (error != 0) {
            return Fail(what, error);
        }
        mWritten.push_back(text);
        mTrace.push_back(what + " = " + std::to_string(size));
        return static_cast<ssize_t>(size);
    }

    int Close(int fd) override {
        std::lock_guard<std::mutex> lock(mMutex);
        const std::string what = "close " + std::to_string(fd);
        mOpen.erase(fd);
        if (const int error = Take(mCloseErrors); error != 0) {
            return Fail(what, error);
        }
        mTrace.push_back(what);
        return 0;
    }

    int Ioctl(int fd, unsigned long request, void* /*argument*/) override {
        std::lock_guard<std::mutex> lock(mMutex);
        mTrace.push_back("ioctl " + std::to_string(fd) + " " + std::to_string(request));
        return 0;
    }

private:
    static constexpr int kShort = -1;
    struct OpenNode {
        std::string path;
        std::size_t position = 0;
    };
    struct Content {
        std::string text;
        std::size_t pieceSize = 4096;
    };

    void Queue(std::deque<int>& queue, int error) {
        std::lock_guard<std::mutex> lock(mMutex);
        queue.push_back(error);
    }
    static int Take(std::deque<int>& queue) {
        if (queue.empty()) {
            return 0;
        }
        const int error = queue.front();
        queue.pop_front();
        return error;
    }
    int Fail(const std::string& what, int error) {
        mTrace.push_back(what + " = -" + std::to_string(error));
        errno = error;
        return -1;
    }

    mutable std::mutex mMutex;
    // Guarded by mMutex.
    std::deque<int> mOpenErrors, mWriteErrors, mReadErrors, mCloseErrors;
    std::map<std::string, Content> mContents;
    std::map<int, OpenNode> mOpen;
    std::vector<std::string> mTrace;
    std::vector<std::string> mWritten;
    int mNextFd;
    int mLastOpenFlags = 0;
};

}  // namespace corebeacon::test
