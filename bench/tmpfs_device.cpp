#include "tmpfs_device.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace corebeacon::bench {

namespace {

constexpr auto kSlowWrite = std::chrono::milliseconds(1);
constexpr auto kNap = std::chrono::microseconds(100);
constexpr int kBitsPerWord = 64;
constexpr int kMaxFds = 1024;

std::string NewDirectory() {
    std::string path = "/dev/shm/corebeacon-bench-XXXXXX";
    if (mkdtemp(path.data()) == nullptr) {
        std::perror("/dev/shm");
        std::exit(1);
    }
    return path;
}

}  // namespace

TmpfsDevice::TmpfsDevice(std::string slowPart)
    : mReadable(sim::SimulatedDevice::ForChip(0)),
      mDirectory(NewDirectory()),
      mSlowPart(std::move(slowPart)) {
    mReadable->SetRecordLimit(0);
}

TmpfsDevice::~TmpfsDevice() {
    for (const auto& [path, fd] : mFiles) {
        ::close(fd);
        ::unlink(path.c_str());
    }
    ::rmdir(mDirectory.c_str());
}

int TmpfsDevice::Open(const char* path, int flags) {
    if ((flags & O_ACCMODE) == O_RDONLY) {
        return mReadable->Open(path, flags);
    }
    std::string name(path);
    std::replace(name.begin(), name.end(), '/', '_');
    const std::string file = mDirectory + "/" + name;
    const std::lock_guard<std::mutex> lock(mMutex);
    const auto known = mFiles.find(file);
    if (known != mFiles.end()) {
        return known->second;
    }
    const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0 || fd >= kMaxFds) {
        return -1;
    }
    mFiles.emplace(file, fd);
    if (!mSlowPart.empty() && std::string(path).find(mSlowPart) != std::string::npos) {
        mSlowFds[fd / kBitsPerWord] |= std::uint64_t{1} << (fd % kBitsPerWord);
    }
    return fd;
}

ssize_t TmpfsDevice::Read(int fd, void* buffer, std::size_t size) {
    return mReadable->Read(fd, buffer, size);
}

ssize_t TmpfsDevice::Write(int fd, const void* data, std::size_t size) {
    if (mArmed.load(std::memory_order_relaxed) == Writes() + 1) {
        mArmedBegin.store(Now().count());
    }
    if (IsSlow(fd)) {
        std::this_thread::sleep_for(kSlowWrite);
    }
    // At offset 0, as a kernel node takes it, so that the file does not grow.
    const ssize_t written = ::pwrite(fd, data, size, 0);
    mLastEnd.store(Now().count(), std::memory_order_relaxed);
    if (mCountsThreads.load(std::memory_order_relaxed)) {
        const std::lock_guard<std::mutex> lock(mMutex);
        ++mWritesByThread[::gettid()];
    }
    mWrites.fetch_add(1, std::memory_order_release);
    return written;
}

int TmpfsDevice::Close(int fd) {
    return fd < kMaxFds ? 0 : mReadable->Close(fd);  // the files stay open for the next engine
}

int TmpfsDevice::Ioctl(int, unsigned long, void*) {
    return 0;
}

void TmpfsDevice::AwaitWrites(std::uint64_t writes) const {
    while (Writes() < writes) {
        std::this_thread::sleep_for(kNap);
    }
}

void TmpfsDevice::AwaitRest() const {
    constexpr int kQuietNaps = 50;
    std::uint64_t before = Writes();
    for (int quiet = 0; quiet < kQuietNaps; ++quiet) {
        std::this_thread::sleep_for(kNap);
        if (Writes() != before) {
            before = Writes();
            quiet = 0;
        }
    }
}

std::map<int, std::uint64_t> TmpfsDevice::WritesByThread() const {
    const std::lock_guard<std::mutex> lock(mMutex);
    return mWritesByThread;
}

bool TmpfsDevice::IsSlow(int fd) const {
    return (mSlowFds[fd / kBitsPerWord].load(std::memory_order_relaxed) >> (fd % kBitsPerWord) &
            1) != 0;
}

}  // namespace corebeacon::bench
