/// A vector whose first few elements live inside it: most commands address one QoS, and the heap is
/// a large part of what they would cost. Owned and locked like a std::vector, whose names it uses;
/// moving it invalidates what points to its elements.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <utility>

namespace corebeacon {

/// `kInside` elements need no heap. T is default-constructible.
template <typename T, std::size_t kInside>
class SmallVector {
public:
    using value_type = T;

    SmallVector() = default;
    SmallVector(const SmallVector& other) { *this = other; }
    SmallVector& operator=(const SmallVector& other) {
        if (this != &other) {
            reserve(other.mSize);
            std::copy(other.begin(), other.end(), begin());
            truncate(std::min(mSize, other.mSize));
            mSize = other.mSize;
        }
        return *this;
    }
    SmallVector(SmallVector&& other) noexcept
        : mSize(std::exchange(other.mSize, 0)),
          mCapacity(std::exchange(other.mCapacity, kInside)),
          mOutside(std::move(other.mOutside)),
          mInside(std::move(other.mInside)) {}
    SmallVector& operator=(SmallVector&& other) noexcept {
        mSize = std::exchange(other.mSize, 0);
        mCapacity = std::exchange(other.mCapacity, kInside);
        mOutside = std::move(other.mOutside);
        mInside = std::move(other.mInside);
        return *this;
    }
    ~SmallVector() = default;

    std::size_t size() const { return mSize; }
    bool empty() const { return mSize == 0; }
    T* begin() { return mOutside == nullptr ? mInside.data() : mOutside.get(); }
    T* end() { return begin() + mSize; }
    const T* begin() const { return mOutside == nullptr ? mInside.data() : mOutside.get(); }
    const T* end() const { return begin() + mSize; }
    T& operator[](std::size_t at) { return begin()[at]; }
    const T& operator[](std::size_t at) const { return begin()[at]; }
    const T& front() const { return *begin(); }
    T& back() { return *(end() - 1); }
    const T& back() const { return *(end() - 1); }

    /// Makes room for `capacity` elements. When memory runs out nothing has changed.
    void reserve(std::size_t capacity) {
        if (capacity > mCapacity) {
            MoveOutside(capacity);
        }
    }
    /// Appends a place for an element, to be filled: what it holds is not defined.
    T& emplace_back() {
        if (mSize == mCapacity) {
            MoveOutside(2 * mCapacity);
        }
        return begin()[mSize++];
    }
    void push_back(T value) { emplace_back() = std::move(value); }
    /// Puts `value` ahead of the element at `at`.
    void insert(std::size_t at, T value) {
        push_back(std::move(value));
        std::rotate(begin() + at, end() - 1, end());
    }
    /// Drops all from the element at `size` on.
    void truncate(std::size_t size) {
        for (T *dropped = begin() + size, *last = end(); dropped != last; ++dropped) {
            *dropped = T();
        }
        mSize = size;
    }

    friend bool operator==(const SmallVector& a, const SmallVector& b) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end());
    }

private:
    void MoveOutside(std::size_t capacity) {
        auto larger = std::make_unique<T[]>(capacity);
        std::move(begin(), end(), larger.get());
        mOutside = std::move(larger);
        mCapacity = capacity;
    }

    std::size_t mSize = 0;
    std::size_t mCapacity = kInside;
    std::unique_ptr<T[]> mOutside;  // all elements, once they were too many; null before
    std::array<T, kInside> mInside{};
};

}  // namespace corebeacon
