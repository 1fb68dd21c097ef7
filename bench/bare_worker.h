/// The floor that the engine is measured against: the least that hands a value to another thread
/// and has it written. A mutex, a deque of pointers, a condition variable and one worker, which by
/// default makes the three write calls of a frequency group. No handles, no validation, no
/// arbitration. Any thread may push.
#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

#include "tmpfs_device.h"

namespace corebeacon::bench {

/// What is handed over; it stays with its owner, who keeps it until it has been written.
struct BareChange {
    int value = 0;
    int writes = 3;
};

class BareWorker {
public:
    /// `name` makes its files its own.
    BareWorker(TmpfsDevice& device, const std::string& name);
    /// What is still queued is dropped.
    ~BareWorker();
    BareWorker(const BareWorker&) = delete;
    BareWorker& operator=(const BareWorker&) = delete;

    void Push(const BareChange& change);

private:
    void Run();
    void WriteText(int fd, int value);

    TmpfsDevice& mDevice;
    const int mMinFd;
    const int mMaxFd;
    std::mutex mMutex;
    std::condition_variable mCond;
    std::deque<const BareChange*> mQueue;  // guarded by mMutex
    bool mStop = false;                    // guarded by mMutex
    std::thread mThread;                   // last: runs on all of the above
};

}  // namespace corebeacon::bench
