/// Passes every call on to another NodeIo, the simulated device or the kernel itself, and remembers
/// what was written where. Owned by an EngineSession; the engine's threads call the operations of
/// NodeIo, the player's thread takes what they left.
#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

#include "corebeacon/node_io.h"
#include "corebeacon/perf_types.h"
#include "platform/mutex.h"
#include "platform/thread_annotations.h"

namespace corebeacon::tool {

/// One attempt to tell a node something.
struct NodeWrite {
    TimePoint time = {};  ///< when it was over
    std::string path = {};
    std::string value = {};    ///< for a person: text as it is, binary as a number
    std::string failure = {};  ///< why it came to nothing, "" if it succeeded
    int error = 0;             ///< errno of a failure; 0 for a write that was cut short
    bool isOpening = false;    ///< it was not even opened
    bool isIoctl = false;
};

/// What `bytes` of a node mean to a person: the text without its last newline; four bytes that are
/// no text as a number; anything else in hexadecimal.
std::string NodeText(const std::string& bytes);

class RecordingNodeIo : public NodeIo {
public:
    explicit RecordingNodeIo(NodeIo& device) : mDevice(device) {}

    int Open(const char* path, int flags) override EXCLUDES(mMutex);
    ssize_t Read(int fd, void* buffer, std::size_t size) override;
    ssize_t Write(int fd, const void* data, std::size_t size) override EXCLUDES(mMutex);
    int Close(int fd) override EXCLUDES(mMutex);
    int Ioctl(int fd, unsigned long request, void* argument) override EXCLUDES(mMutex);

    /// Everything since the last call, in order of time.
    std::vector<NodeWrite> Take() EXCLUDES(mMutex);
    /// Whether there is something to take.
    bool HasWrites() EXCLUDES(mMutex);
    /// How many writes of a node were recorded so far, taken or not.
    std::size_t CountOf(const std::string& path) EXCLUDES(mMutex);
    /// Waits until there is something to take, but not beyond `deadline`.
    void WaitForWrite(TimePoint deadline) EXCLUDES(mMutex);

private:
    std::string PathOf(int fd) EXCLUDES(mMutex);
    void Record(NodeWrite write) EXCLUDES(mMutex);

    NodeIo& mDevice;

    Mutex mMutex;
    CondVar mRecorded;
    std::unordered_map<int, std::string> mPaths GUARDED_BY(mMutex);  // by open descriptor
    std::vector<NodeWrite> mWrites GUARDED_BY(mMutex);
    std::unordered_map<std::string, std::size_t> mCounts GUARDED_BY(mMutex);  // by path
};

}  // namespace corebeacon::tool
