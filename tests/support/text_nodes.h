/// A kernel of nodes that can only be read, some of them only opened: path to text. Owned by a
/// test; fill it before use.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <map>
#include <set>
#include <string>

#include "corebeacon/node_io.h"

namespace corebeacon::test {

class TextNodes : public NodeIo {
public:
    int Open(const char* path, int /*flags*/) override {
        const auto node = texts.find(path);
        if (node == texts.end()) {
            errno = ENOENT;
            return -1;
        }
        const int fd = ++mLastFd;
        mUnread[fd] = node->second;
        if (busy.contains(path)) {
            mBusy.insert(fd);
        }
        return fd;
    }

    ssize_t Read(int fd, void* buffer, std::size_t size) override {
        if (mBusy.contains(fd)) {
            errno = EBUSY;
            return -1;
        }
        std::string& unread = mUnread.at(fd);
        const std::size_t count = unread.copy(static_cast<char*>(buffer), size);
        unread.erase(0, count);
        return static_cast<ssize_t>(count);
    }

    ssize_t Write(int /*fd*/, const void* /*data*/, std::size_t /*size*/) override {
        errno = EBADF;
        return -1;
    }

    int Close(int fd) override {
        mUnread.erase(fd);
        return 0;
    }

    int Ioctl(int /*fd*/, unsigned long /*request*/, void* /*argument*/) override {
        errno = ENOTTY;
        return -1;
    }

    std::map<std::string, std::string> texts;
    /// Those of them that open but cannot be read, as the files of an offline cpufreq policy.
    std::set<std::string> busy;

    std::size_t OpenDescriptors() const { return mUnread.size(); }

private:
    std::map<int, std::string> mUnread;  // by open descriptor
    std::set<int> mBusy;                 // never given out twice, so never taken out
    int mLastFd = 1000;
};

}  // namespace corebeacon::test
