#include "bare_worker.h"

#include <fcntl.h>

#include <string>

namespace corebeacon::bench {

BareWorker::BareWorker(CountingDevice& device)
    : mDevice(device),
      mMinFd(device.Open("min", O_WRONLY)),
      mMaxFd(device.Open("max", O_WRONLY)),
      mThread(&BareWorker::Run, this) {}

BareWorker::~BareWorker() {
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mStop = true;
    }
    mCond.notify_one();
    mThread.join();
    mDevice.Close(mMinFd);
    mDevice.Close(mMaxFd);
}

void BareWorker::Push(int value) {
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mQueue.push_back(value);
    }
    mCond.notify_one();
}

void BareWorker::Run() {
    while (true) {
        int value = 0;
        {
            std::unique_lock<std::mutex> lock(mMutex);
            mCond.wait(lock, [this] { return mStop || !mQueue.empty(); });
            if (mStop) {
                return;
            }
            value = mQueue.front();
            mQueue.pop_front();
        }
        WriteText(mMaxFd, value);
        WriteText(mMinFd, value);
        WriteText(mMaxFd, value);
    }
}

void BareWorker::WriteText(int fd, int value) {
    const std::string text = std::to_string(value);
    mDevice.Write(fd, text.data(), text.size());
}

}  // namespace corebeacon::bench
