/// Stands for the nodes of a recording: gives the engine the recorded answers, and compares what it
/// writes with what was recorded. Owned by the replay; its workers take turns, so that their calls
/// come one after the other.
///
/// Writes, ioctls and failed opens are compared in the recorded order. Reads are answered node by
/// node, so that an engine that reads its nodes in another order writes the same nevertheless.
#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "corebeacon/node_io.h"
#include "recording/recording.h"

namespace corebeacon::tool {

/// Where the replay and the recording part.
struct Difference {
    std::size_t line = 0;  ///< of the recording
    std::string recorded = {};
    std::string replayed = {};
};

class ReplayNodeIo : public NodeIo {
public:
    /// Must outlive this.
    explicit ReplayNodeIo(const Recording& recording);

    /// From now on the engine may do what stands from the entry at `position` on, up to the next
    /// that is none of a node. Returns the position of that one.
    std::size_t Expect(std::size_t position);
    /// To be called when the engine rests: whether it has done all of it.
    void ExpectNoMore();

    /// The first one; from then on every call succeeds and nothing is compared.
    std::optional<Difference> FirstDifference() const;
    /// How many writes and ioctls were as recorded.
    std::size_t Writes() const;
    void SetDifference(Difference difference);

    int Open(const char* path, int flags) override;
    ssize_t Read(int fd, void* buffer, std::size_t size) override;
    ssize_t Write(int fd, const void* data, std::size_t size) override;
    int Close(int fd) override;
    int Ioctl(int fd, unsigned long request, void* argument) override;

private:
    struct OpenNode {
        std::string path = {};
        const NodeCall* read = nullptr;  ///< null for one that is written
        std::size_t position = 0;
    };

    // With mMutex held:
    const NodeCall* Next() const;
    const NodeCall* Matched(const NodeCall& call);
    int OpenToRead(const std::string& path);
    int GiveOut(OpenNode node);
    void Part(std::string recorded, std::string replayed);

    const Recording& mRecording;

    mutable std::mutex mMutex;
    // guarded by mMutex
    std::map<std::string, std::deque<const NodeCall*>> mReads;  // by path, in recorded order
    std::map<int, OpenNode> mOpen;                              // by descriptor
    std::size_t mNext = 0;                                      // of the entries
    std::size_t mEnd = 0;
    std::size_t mWrites = 0;
    int mNextFd;
    std::optional<Difference> mDifference;
};

}  // namespace corebeacon::tool
