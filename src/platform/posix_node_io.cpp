#include "platform/posix_node_io.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace corebeacon {

// A node is always there before the engine: with O_CREAT never passed, no mode is needed. A
// descriptor that leaked into a child process would keep a vanished device's node alive.
int PosixNodeIo::Open(const char* path, int flags) {
    return ::open(path, flags | O_CLOEXEC);
}

ssize_t PosixNodeIo::Read(int fd, void* buffer, std::size_t size) {
    return ::read(fd, buffer, size);
}

ssize_t PosixNodeIo::Write(int fd, const void* data, std::size_t size) {
    return ::write(fd, data, size);
}

int PosixNodeIo::Close(int fd) {
    return ::close(fd);
}

int PosixNodeIo::Ioctl(int fd, unsigned long request, void* argument) {
    // Some C libraries declare the request as an int; the kernel looks at its 32 bits alone.
    return ::ioctl(fd, static_cast<decltype(_IO(0, 0))>(request), argument);
}

}  // namespace corebeacon
