#include "platform/node_reader.h"

#include <fcntl.h>

#include <array>
#include <cerrno>

#include "corebeacon/node_io.h"

namespace corebeacon {

namespace {

int OpenForReading(NodeIo& nodes, const std::string& path) {
    int fd = -1;
    do {
        fd = nodes.Open(path.c_str(), O_RDONLY | O_CLOEXEC);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

/// Closes a descriptor for good, also when there is no memory for what was read.
class FdGuard {
public:
    FdGuard(NodeIo& nodes, int fd) : mNodes(nodes), mFd(fd) {}
    ~FdGuard() { mNodes.Close(mFd); }
    FdGuard(const FdGuard&) = delete;
    FdGuard& operator=(const FdGuard&) = delete;

private:
    NodeIo& mNodes;
    const int mFd;
};

// 0 at the end of the node, otherwise the errno value that ended the reading.
int ReadToEnd(NodeIo& nodes, int fd, std::string& text) {
    std::array<char, 4096> buffer;  // a sysfs attribute is one page at most
    for (;;) {
        const ssize_t got = nodes.Read(fd, buffer.data(), buffer.size());
        if (got == 0) {
            return 0;
        }
        if (got < 0) {
            if (errno == EINTR) {
                continue;
            }
            return errno;
        }
        if (text.size() + static_cast<std::size_t>(got) > kMaxNodeBytes) {
            return EFBIG;
        }
        text.append(buffer.data(), static_cast<std::size_t>(got));
    }
}

}  // namespace

NodeStatus ReadNode(const std::string& path, std::string& out) {
    return ReadNode(GetNodeIo(), path, out);
}

NodeStatus ReadNode(NodeIo& nodes, const std::string& path, std::string& out) {
    const int fd = OpenForReading(nodes, path);
    if (fd < 0) {
        return NodeStatus::NOT_OPENED;
    }
    std::string text;
    int error = 0;
    {
        const FdGuard guard(nodes, fd);
        error = ReadToEnd(nodes, fd, text);
    }
    if (error != 0) {
        errno = error;  // closing may have overwritten it
        return NodeStatus::NOT_READ;
    }
    out.swap(text);
    return NodeStatus::READ;
}

}  // namespace corebeacon
