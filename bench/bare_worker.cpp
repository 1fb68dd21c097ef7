#include "bare_worker.h"

#include <fcntl.h>

namespace corebeacon::bench {

BareWorker::BareWorker(TmpfsDevice& device, const std::string& name)
    : mDevice(device),
      mMinFd(device.Open((name + "/min").c_str(), O_WRONLY)),
      mMaxFd(device.Open((name + "/max").c_str(), O_WRONLY)),
      mThread(&BareWorker::Run, this) {}

BareWorker::~BareWorker() {
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mStop = true;
    }
    mCond.notify_one();
    mThread.join();
}

void BareWorker::Push(const BareChange& change) {
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mQueue.push_back(&change);
    }
    mCond.notify_one();
}

void BareWorker::Run() {
    while (true) {
        const BareChange* change = nullptr;
        {
            std::unique_lock<std::mutex> lock(mMutex);
            mCond.wait(lock, [this] { return mStop || !mQueue.empty(); });
            if (mStop) {
                return;
            }
            change = mQueue.front();
            mQueue.pop_front();
        }
        for (int i = 0; i < change->writes; ++i) {
            WriteText(i % 2 == 0 ? mMaxFd : mMinFd, change->value);
        }
    }
}

void BareWorker::WriteText(int fd, int value) {
    const std::string text = std::to_string(value);
    mDevice.Write(fd, text.data(), text.size());
}

}  // namespace corebeacon::bench
