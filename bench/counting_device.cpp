#include "counting_device.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <thread>

namespace corebeacon::bench {

int CountingDevice::Open(const char*, int) {
    return ::open("/dev/null", O_WRONLY | O_CLOEXEC);
}

ssize_t CountingDevice::Read(int, void* buffer, std::size_t size) {
    mListEnds = !mListEnds;
    return mListEnds ? std::snprintf(static_cast<char*>(buffer), size, "1239000 2487000\n") : 0;
}

ssize_t CountingDevice::Write(int fd, const void* data, std::size_t size) {
    const ssize_t written = ::write(fd, data, size);
    mWrites.fetch_add(1, std::memory_order_release);
    return written;
}

int CountingDevice::Close(int fd) {
    return ::close(fd);
}

int CountingDevice::Ioctl(int, unsigned long, void*) {
    return 0;
}

void CountingDevice::AwaitWrites(std::uint64_t writes) const {
    while (Writes() < writes) {
        std::this_thread::yield();
    }
}

}  // namespace corebeacon::bench
