/// The floor that the engine is measured against: the least that hands a value to another thread
/// and has it written. A mutex, a deque, a condition variable and one worker, which makes the same
/// three write calls as a frequency group. No handles, no validation, no arbitration.
#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "counting_device.h"

namespace corebeacon::bench {

class BareWorker {
public:
    explicit BareWorker(CountingDevice& device);
    /// What is still queued is dropped.
    ~BareWorker();
    BareWorker(const BareWorker&) = delete;
    BareWorker& operator=(const BareWorker&) = delete;

    /// Any thread.
    void Push(int value);

private:
    void Run();
    void WriteText(int fd, int value);

    CountingDevice& mDevice;
    const int mMinFd;
    const int mMaxFd;
    std::mutex mMutex;
    std::condition_variable mCond;
    std::deque<int> mQueue;  // guarded by mMutex
    bool mStop = false;      // guarded by mMutex
    std::thread mThread;     // last: runs on all of the above
};

}  // namespace corebeacon::bench
