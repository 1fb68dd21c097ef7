/// Passes every call on to another NodeIo. The base of those that watch, or meddle with, some of
/// the operations and leave the others as they are. Owned by whoever installs it; any thread.
#pragma once

#include <cstddef>

#include "corebeacon/node_io.h"

namespace corebeacon::sim {

class ForwardingNodeIo : public NodeIo {
public:
    /// `device` must outlive this.
    explicit ForwardingNodeIo(NodeIo& device) : mDevice(device) {}

    int Open(const char* path, int flags) override { return mDevice.Open(path, flags); }
    ssize_t Read(int fd, void* buffer, std::size_t size) override {
        return mDevice.Read(fd, buffer, size);
    }
    ssize_t Write(int fd, const void* data, std::size_t size) override {
        return mDevice.Write(fd, data, size);
    }
    int Close(int fd) override { return mDevice.Close(fd); }
    int Ioctl(int fd, unsigned long request, void* argument) override {
        return mDevice.Ioctl(fd, request, argument);
    }

protected:
    NodeIo& Device() const { return mDevice; }

private:
    NodeIo& mDevice;
};

}  // namespace corebeacon::sim
