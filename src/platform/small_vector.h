/// A vector whose first few elements live inside it: most commands address one QoS, and the heap is
/// a large part of what they would cost. Owned and locked like a std::vector, whose names it uses;
/// moving it invalidates what points to its elements.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>
#include <vector>

namespace corebeacon {

/// `kInside` elements need no heap. T is default-constructible; unused places hold such a T.
template <typename T, std::size_t kInside>
class SmallVector {
public:
    using value_type = T;

    SmallVector() = default;
    SmallVector(const SmallVector&) = default;
    SmallVector& operator=(const SmallVector&) = default;
    SmallVector(SmallVector&& other) noexcept
        : mInside(std::move(other.mInside)),
          mOutside(std::move(other.mOutside)),
          mSize(std::exchange(other.mSize, 0)) {
        other.mOutside.clear();
    }
    SmallVector& operator=(SmallVector&& other) noexcept {
        mInside = std::move(other.mInside);
        mOutside = std::move(other.mOutside);
        mSize = std::exchange(other.mSize, 0);
        other.mOutside.clear();
        return *this;
    }
    ~SmallVector() = default;

    std::size_t size() const { return mSize; }
    bool empty() const { return mSize == 0; }
    T* begin() { return IsInside() ? mInside.data() : mOutside.data(); }
    T* end() { return begin() + mSize; }
    const T* begin() const { return IsInside() ? mInside.data() : mOutside.data(); }
    const T* end() const { return begin() + mSize; }
    T& operator[](std::size_t at) { return begin()[at]; }
    const T& operator[](std::size_t at) const { return begin()[at]; }
    const T& front() const { return *begin(); }
    const T& back() const { return *(end() - 1); }

    /// Makes room for `capacity` elements.
    void reserve(std::size_t capacity) {
        if (capacity > kInside) {
            mOutside.reserve(capacity);
        }
    }
    void push_back(T value) {
        if (mSize < kInside && IsInside()) {
            mInside[mSize] = std::move(value);
        } else {
            MoveOutside();
            mOutside.push_back(std::move(value));
        }
        ++mSize;
    }
    /// Puts `value` ahead of the element at `at`.
    void insert(std::size_t at, T value) {
        push_back(std::move(value));
        std::rotate(begin() + at, end() - 1, end());
    }
    /// Drops all from the element at `size` on.
    void truncate(std::size_t size) {
        if (size == mSize) {
            return;
        }
        if (IsInside()) {
            std::fill(begin() + size, end(), T());
        } else {
            mOutside.erase(mOutside.begin() + static_cast<std::ptrdiff_t>(size), mOutside.end());
        }
        mSize = size;
    }

    friend bool operator==(const SmallVector& a, const SmallVector& b) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end());
    }

private:
    /// All elements are in one place: once one is outside, all are, until none is left.
    bool IsInside() const { return mOutside.empty(); }
    void MoveOutside() {
        if (IsInside()) {
            mOutside.reserve(std::max(mOutside.capacity(), 2 * kInside));
            for (T& value : mInside) {
                mOutside.push_back(std::exchange(value, T()));
            }
        }
    }

    std::array<T, kInside> mInside{};
    std::vector<T> mOutside;
    std::size_t mSize = 0;
};

}  // namespace corebeacon
