#include "verify/timed_reader.h"

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

#include "platform/node_reader.h"
#include "platform/sys_wrapper.h"
#include "recording_node_io.h"

namespace corebeacon::tool {

namespace {

using std::chrono::milliseconds;

NodeReading ReadNow(NodeIo& nodes, const std::string& path) {
    NodeReading reading;
    std::string bytes;
    errno = 0;
    const NodeStatus status = ReadNode(nodes, path, bytes);
    if (status == NodeStatus::READ) {
        reading.status = NodeReading::READ;
        reading.text = NodeText(bytes);
        return reading;
    }
    reading.error = errno;
    reading.status =
        status == NodeStatus::NOT_OPENED ? NodeReading::NOT_OPENED : NodeReading::NOT_READ;
    return reading;
}

}  // namespace

/// One question at a time. The thread holds it too, since it may outlive the reader.
class TimedReader::Worker : public std::enable_shared_from_this<Worker> {
public:
    explicit Worker(NodeIo& nodes) : mNodes(nodes) {}

    void Start() {
        std::thread([self = shared_from_this()] { self->Work(); }).detach();
    }

    void Ask(const std::string& path) {
        const std::lock_guard lock(mMutex);
        mAsked = path;
        mAnswer.reset();
        mChanged.notify_all();
    }

    /// Nothing when there is none in time.
    std::optional<NodeReading> Await(std::chrono::milliseconds limit) {
        std::unique_lock lock(mMutex);
        mChanged.wait_for(lock, limit, [this] { return mAnswer.has_value(); });
        return mAnswer;
    }

    /// The thread goes once it is through with its read.
    void Dismiss() {
        const std::lock_guard lock(mMutex);
        mIsDismissed = true;
        mChanged.notify_all();
    }

private:
    void Work() {
        std::unique_lock lock(mMutex);
        for (;;) {
            mChanged.wait(lock, [this] { return mAsked.has_value() || mIsDismissed; });
            if (!mAsked) {
                return;
            }
            const std::string path = std::move(*mAsked);
            mAsked.reset();
            lock.unlock();
            NodeReading reading = ReadNow(mNodes, path);
            lock.lock();
            mAnswer = std::move(reading);
            mChanged.notify_all();
        }
    }

    NodeIo& mNodes;

    std::mutex mMutex;
    std::condition_variable mChanged;
    // guarded by mMutex
    std::optional<std::string> mAsked;
    std::optional<NodeReading> mAnswer;
    bool mIsDismissed = false;
};

TimedReader::TimedReader(NodeIo& nodes, std::chrono::milliseconds limit)
    : mNodes(nodes), mLimit(limit) {}

TimedReader::~TimedReader() {
    const auto deadline = std::chrono::steady_clock::now() + mLimit;
    for (const auto& [path, worker] : mHanging) {
        worker->Await(std::max(milliseconds(0), std::chrono::ceil<milliseconds>(
                                                    deadline - std::chrono::steady_clock::now())));
        worker->Dismiss();
    }
    if (mWorker != nullptr) {
        mWorker->Dismiss();
    }
}

NodeReading TimedReader::Read(const std::string& path) {
    if (const auto hanging = mHanging.find(path); hanging != mHanging.end()) {
        if (!hanging->second->Await(std::chrono::milliseconds(0))) {
            return {};
        }
        hanging->second->Dismiss();
        mHanging.erase(hanging);
    }
    if (mWorker == nullptr) {
        mWorker = std::make_shared<Worker>(mNodes);
        mWorker->Start();
    }
    mWorker->Ask(path);
    if (std::optional<NodeReading> reading = mWorker->Await(mLimit)) {
        return std::move(*reading);
    }
    mHanging.emplace(path, std::move(mWorker));
    mWorker = nullptr;
    return {};
}

std::string WhyNotRead(const NodeReading& reading) {
    return reading.status == NodeReading::NO_ANSWER
               ? std::string("no answer in time")
               : std::string(SysWrapper::ErrnoText(reading.error).Text());
}

}  // namespace corebeacon::tool
