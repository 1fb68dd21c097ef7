#include "sim/device_nodes.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <utility>

namespace corebeacon::sim {

namespace {

constexpr std::int32_t kNoRequest = -1;  // what a client writes to take its wish back

std::uint32_t WordAt(const std::vector<std::uint8_t>& bytes, std::size_t offset) {
    std::uint32_t word = 0;
    std::memcpy(&word, bytes.data() + offset, sizeof(word));
    return word;
}

}  // namespace

BinaryNode::BinaryNode(Aggregate aggregate, std::int32_t idleValue, bool hexText)
    : Node(Access::READ_WRITE), mAggregate(aggregate), mIdleValue(idleValue), mHexText(hexText) {}

void BinaryNode::Opened(int fd) {
    mRequests[fd] = std::nullopt;
}

void BinaryNode::Closed(int fd) {
    mRequests.erase(fd);
}

ssize_t BinaryNode::Store(int fd, std::string_view bytes) {
    std::int32_t value = 0;
    if (bytes.size() == sizeof(value)) {
        // Four bytes are the number itself, even if they look like text.
        std::memcpy(&value, bytes.data(), sizeof(value));
    } else {
        if (!mHexText) {
            return -EINVAL;
        }
        std::string_view text = bytes;
        if (text.ends_with('\n')) {
            text.remove_suffix(1);
        }
        std::int64_t wide = 0;
        if (const int error = ParseNumber(text, 16, wide); error != 0) {
            return -error;
        }
        value = static_cast<std::int32_t>(wide);
        if (value != wide) {
            return -ERANGE;
        }
    }
    mRequests[fd] = value == kNoRequest ? std::nullopt : std::optional(value);
    return static_cast<ssize_t>(bytes.size());
}

int BinaryNode::Fetch(std::string& out) const {
    const std::int32_t total = Total();
    out.assign(reinterpret_cast<const char*>(&total), sizeof(total));
    return 0;
}

std::string BinaryNode::Value() const {
    return std::to_string(Total());
}

void BinaryNode::Reset() {
    for (auto& [fd, value] : mRequests) {
        value = std::nullopt;
    }
}

std::int32_t BinaryNode::Total() const {
    std::optional<std::int64_t> total;
    for (const auto& [fd, value] : mRequests) {
        if (!value) {
            continue;
        }
        const std::int64_t one = *value;
        if (!total) {
            total = one;
        } else if (mAggregate == Aggregate::SUM) {
            *total += one;
        } else {
            total =
                mAggregate == Aggregate::SMALLEST ? std::min(*total, one) : std::max(*total, one);
        }
    }
    using Limits = std::numeric_limits<std::int32_t>;
    return total ? static_cast<std::int32_t>(
                       std::clamp<std::int64_t>(*total, Limits::min(), Limits::max()))
                 : mIdleValue;
}

IoctlNode::IoctlNode(std::vector<unsigned long> requests)
    : Node(Access::WRITE_ONLY), mRequests(std::move(requests)) {}

int IoctlNode::Fetch(std::string&) const {
    return EINVAL;
}

int IoctlNode::Control(unsigned long request, const std::vector<std::uint8_t>& argument) {
    if (std::find(mRequests.begin(), mRequests.end(), request) == mRequests.end()) {
        return -ENOTTY;
    }
    if (request == kSetPriority) {
        mPriorities[WordAt(argument, 0)] = WordAt(argument, 8);
    } else if (request == kResetPriority) {
        mPriorities.erase(WordAt(argument, 0));
    }
    return 0;
}

std::string IoctlNode::Value() const {
    std::string text;
    for (const auto& [id, priority] : mPriorities) {
        text += (text.empty() ? "" : " ") + std::to_string(id) + ":" + std::to_string(priority);
    }
    return text;
}

void IoctlNode::Reset() {
    mPriorities.clear();
}

}  // namespace corebeacon::sim
