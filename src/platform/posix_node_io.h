/// The kernel itself behind the NodeIo interface: each operation is the system call of its name.
/// Stateless, so every thread may use one object at once.
#pragma once

#include "corebeacon/node_io.h"

namespace corebeacon {

class PosixNodeIo : public NodeIo {
public:
    int Open(const char* path, int flags) override;
    ssize_t Read(int fd, void* buffer, std::size_t size) override;
    ssize_t Write(int fd, const void* data, std::size_t size) override;
    int Close(int fd) override;
    int Ioctl(int fd, unsigned long request, void* argument) override;
};

}  // namespace corebeacon
