#include "sim/devfreq_device.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <string_view>
#include <utility>

namespace corebeacon::sim {

DevfreqDevice::DevfreqDevice(std::vector<std::int64_t> frequenciesHz)
    : mTable(SortedTable(std::move(frequenciesHz))) {}

void DevfreqDevice::Ask(Bound bound, std::int64_t hz) {
    const std::lock_guard lock(mMutex);
    (bound == Bound::MIN ? mAskedMin : mAskedMax) = hz;
}

std::int64_t DevfreqDevice::Read(Bound bound) const {
    const std::lock_guard lock(mMutex);
    std::int64_t min = mAskedMin;
    std::int64_t max = mAskedMax;
    if (!mTable.empty()) {
        min = std::max(min, mTable.front());
        max = max == 0 ? mTable.back() : std::min(max, mTable.back());
    }
    return bound == Bound::MIN ? std::min(min, max) : max;
}

namespace {

class DevfreqListNode : public Attribute {
public:
    explicit DevfreqListNode(std::shared_ptr<DevfreqDevice> device)
        : Attribute(Access::READ_ONLY), mDevice(std::move(device)) {}

protected:
    int ShowText(std::string& out) const override {
        for (const std::int64_t hz : mDevice->Frequencies()) {
            out += (out.empty() ? "" : " ") + std::to_string(hz);
        }
        return 0;
    }

private:
    const std::shared_ptr<DevfreqDevice> mDevice;
};

class DevfreqBoundNode : public Attribute {
public:
    DevfreqBoundNode(std::shared_ptr<DevfreqDevice> device, Bound bound)
        : Attribute(Access::READ_WRITE), mDevice(std::move(device)), mBound(bound) {}

    void Reset() override { mDevice->Ask(mBound, 0); }

protected:
    int StoreText(std::string_view text) override {
        // This parser takes the digits in front and lets the rest go.
        const std::string_view digits = text.substr(0, text.find_first_not_of("0123456789"));
        std::int64_t hz = 0;
        if (const int error = ParseNumber(digits, 10, hz); error != 0) {
            return error;
        }
        mDevice->Ask(mBound, hz);
        return 0;
    }

    int ShowText(std::string& out) const override {
        out = std::to_string(mDevice->Read(mBound));
        return 0;
    }

private:
    const std::shared_ptr<DevfreqDevice> mDevice;
    const Bound mBound;
};

}  // namespace

std::shared_ptr<Node> MakeDevfreqListNode(std::shared_ptr<DevfreqDevice> device) {
    return std::make_shared<DevfreqListNode>(std::move(device));
}

std::shared_ptr<Node> MakeDevfreqBoundNode(std::shared_ptr<DevfreqDevice> device, Bound bound) {
    return std::make_shared<DevfreqBoundNode>(std::move(device), bound);
}

}  // namespace corebeacon::sim
