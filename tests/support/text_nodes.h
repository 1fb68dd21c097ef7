/// A kernel of nodes that can only be read: path to text. Owned by a test; fill it before use.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <map>
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
        return fd;
    }

    ssize_t Read(int fd, void* buffer, std::size_t size) override {
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

    std::size_t OpenDescriptors() const { return mUnread.size(); }

private:
    std::map<int, std::string> mUnread;  // by open descriptor
    int mLastFd = 1000;
};

}  // namespace corebeacon::test
