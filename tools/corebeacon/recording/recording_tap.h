/// Passes every call on to another NodeIo and records what the engine asked of nodes and what they
/// answered. Owned by the engine session. Its workers take turns, so that their calls come one
/// after the other; those of the session's own thread count only while it sets the engine up.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <thread>

#include "corebeacon/node_io.h"
#include "recording/recording_writer.h"

namespace corebeacon::tool {

class RecordingTap : public NodeIo {
public:
    /// Both must outlive this.
    RecordingTap(NodeIo& device, RecordingWriter& writer) : mDevice(device), mWriter(writer) {}

    /// From now on only workers count.
    void EngineStarted();
    /// From now on nothing does.
    void Stop();

    int Open(const char* path, int flags) override;
    ssize_t Read(int fd, void* buffer, std::size_t size) override;
    ssize_t Write(int fd, const void* data, std::size_t size) override;
    int Close(int fd) override;
    int Ioctl(int fd, unsigned long request, void* argument) override;

private:
    bool Counts() const;
    /// The path of an open descriptor that counts, else "".
    std::string PathOf(int fd) const;

    NodeIo& mDevice;
    RecordingWriter& mWriter;
    const std::thread::id mOwner = std::this_thread::get_id();

    mutable std::mutex mMutex;
    // guarded by mMutex
    bool mIsStarted = false;
    bool mIsStopped = false;
    std::map<int, NodeCall> mReads;        // by open descriptor, what was read so far
    std::map<int, std::string> mWritable;  // by open descriptor, the path
};

}  // namespace corebeacon::tool
