#include "recording/replay_node_io.h"

#include <asm/ioctl.h>
#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace corebeacon::tool {

namespace {

constexpr int kFirstFd = 1000000;  // above what the process's own files ever reach

int Fail(int error) {
    errno = error;
    return -1;
}

bool IsSame(const NodeCall& recorded, const NodeCall& call) {
    return recorded.kind == call.kind && recorded.path == call.path &&
           recorded.bytes == call.bytes && recorded.request == call.request;
}

}  // namespace

ReplayNodeIo::ReplayNodeIo(const Recording& recording) : mRecording(recording), mNextFd(kFirstFd) {
    for (const RecordedEntry& entry : recording.entries) {
        const auto* const call = std::get_if<NodeCall>(&entry.what);
        if (call != nullptr && call->kind == NodeCallKind::READ) {
            mReads[call->path].push_back(call);
        }
    }
}

std::size_t ReplayNodeIo::Expect(std::size_t position) {
    const std::lock_guard lock(mMutex);
    mNext = position;
    mEnd = position;
    while (mEnd < mRecording.entries.size() &&
           std::holds_alternative<NodeCall>(mRecording.entries[mEnd].what)) {
        ++mEnd;
    }
    return mEnd;
}

void ReplayNodeIo::ExpectNoMore() {
    const std::lock_guard lock(mMutex);
    if (const NodeCall* const missing = Next()) {
        Part(Told(*missing), "nothing of the kind");
    }
}

std::optional<Difference> ReplayNodeIo::FirstDifference() const {
    const std::lock_guard lock(mMutex);
    return mDifference;
}

std::size_t ReplayNodeIo::Writes() const {
    const std::lock_guard lock(mMutex);
    return mWrites;
}

void ReplayNodeIo::SetDifference(Difference difference) {
    const std::lock_guard lock(mMutex);
    if (!mDifference) {
        mDifference = std::move(difference);
    }
}

int ReplayNodeIo::Open(const char* path, int flags) {
    const std::lock_guard lock(mMutex);
    if ((flags & O_ACCMODE) == O_RDONLY) {
        return OpenToRead(path);
    }
    const NodeCall* const next = Next();
    if (next != nullptr && next->kind == NodeCallKind::OPEN && next->path == path) {
        ++mNext;
        return Fail(next->error);
    }
    return GiveOut({.path = path});
}

int ReplayNodeIo::OpenToRead(const std::string& path) {
    std::deque<const NodeCall*>& answers = mReads[path];
    if (answers.empty()) {
        Part("no further read of " + path, "a read of it");
        return Fail(ENOENT);
    }
    const NodeCall* const answer = answers.front();
    answers.pop_front();
    return answer->isOpenFailed ? Fail(answer->error) : GiveOut({.path = path, .read = answer});
}

ssize_t ReplayNodeIo::Read(int fd, void* buffer, std::size_t size) {
    const std::lock_guard lock(mMutex);
    const auto found = mOpen.find(fd);
    if (found == mOpen.end() || found->second.read == nullptr) {
        return Fail(EBADF);
    }
    OpenNode& node = found->second;
    const std::string& bytes = node.read->bytes;
    const std::size_t count = std::min(size, bytes.size() - node.position);
    if (count == 0 && node.read->error != 0) {
        return Fail(node.read->error);
    }
    std::memcpy(buffer, bytes.data() + node.position, count);
    node.position += count;
    return static_cast<ssize_t>(count);
}

ssize_t ReplayNodeIo::Write(int fd, const void* data, std::size_t size) {
    const std::lock_guard lock(mMutex);
    const auto found = mOpen.find(fd);
    const NodeCall call{.kind = NodeCallKind::WRITE,
                        .path = found != mOpen.end() ? found->second.path : "",
                        .bytes = {static_cast<const char*>(data), size}};
    const NodeCall* const recorded = Matched(call);
    if (recorded == nullptr) {
        return static_cast<ssize_t>(size);
    }
    return recorded->error != 0 ? Fail(recorded->error)
                                : static_cast<ssize_t>(recorded->taken.value_or(size));
}

int ReplayNodeIo::Ioctl(int fd, unsigned long request, void* argument) {
    const std::lock_guard lock(mMutex);
    const auto found = mOpen.find(fd);
    const std::size_t size = argument != nullptr ? _IOC_SIZE(request) : 0;
    const NodeCall call{
        .kind = NodeCallKind::IOCTL,
        .path = found != mOpen.end() ? found->second.path : "",
        .bytes = size > 0 ? std::string(static_cast<const char*>(argument), size) : "",
        .request = request};
    const NodeCall* const recorded = Matched(call);
    if (recorded == nullptr) {
        return 0;
    }
    if (recorded->answer) {
        std::memcpy(argument, recorded->answer->data(), std::min(size, recorded->answer->size()));
    }
    return recorded->error != 0 ? Fail(recorded->error) : recorded->value;
}

int ReplayNodeIo::Close(int fd) {
    const std::lock_guard lock(mMutex);
    return mOpen.erase(fd) != 0 ? 0 : Fail(EBADF);
}

/// What the engine has to do next; null when there is nothing more before the next call or round.
const NodeCall* ReplayNodeIo::Next() const {
    for (std::size_t at = mNext; at < mEnd; ++at) {
        const auto* const call = std::get_if<NodeCall>(&mRecording.entries[at].what);
        if (call->kind != NodeCallKind::READ) {
            return call;
        }
    }
    return nullptr;
}

/// Takes the next one if it is this one; null after a difference.
const NodeCall* ReplayNodeIo::Matched(const NodeCall& call) {
    if (mDifference) {
        return nullptr;
    }
    const NodeCall* const next = Next();
    if (next == nullptr || !IsSame(*next, call)) {
        Part(next != nullptr ? Told(*next) : "nothing more of a node here", Told(call));
        return nullptr;
    }
    while (std::get_if<NodeCall>(&mRecording.entries[mNext].what) != next) {
        ++mNext;  // reads
    }
    ++mNext;
    ++mWrites;
    return next;
}

int ReplayNodeIo::GiveOut(OpenNode node) {
    mOpen[mNextFd] = std::move(node);
    return mNextFd++;
}

void ReplayNodeIo::Part(std::string recorded, std::string replayed) {
    if (mDifference) {
        return;
    }
    std::size_t at = mNext;
    while (at < mEnd &&
           std::get_if<NodeCall>(&mRecording.entries[at].what)->kind == NodeCallKind::READ) {
        ++at;
    }
    const std::size_t last = mRecording.entries.size() - 1;
    mDifference = {mRecording.entries[std::min(at, last)].line, std::move(recorded),
                   std::move(replayed)};
}

}  // namespace corebeacon::tool
