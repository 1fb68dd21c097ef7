/// A queue in one block of memory that grows with its longest backlog and shrinks when it has run
/// empty: unlike a std::deque, which asks the heap for a chunk and gives one back again and again
/// although hardly anything is queued. Guarded by its owner.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace corebeacon {

/// T is default-constructible and its moving does not throw; unused places hold a moved-from or
/// default T.
template <typename T>
class Fifo {
public:
    bool Empty() const { return mSize == 0; }
    std::size_t Size() const { return mSize; }

    /// The next PushBack then takes no memory. When memory runs out nothing has changed.
    void MakeRoom() {
        if (mSize == mPlaces.size()) {
            Grow();
        }
    }

    /// When memory runs out nothing has changed, but `value` is gone.
    void PushBack(T value) {
        MakeRoom();
        mPlaces[(mFirst + mSize) & (mPlaces.size() - 1)] = std::move(value);
        ++mSize;
    }

    /// Takes the oldest element out; there must be one.
    T PopFront() {
        T value = std::exchange(mPlaces[mFirst], T());
        mFirst = (mFirst + 1) & (mPlaces.size() - 1);
        --mSize;
        if (mSize == 0 && mPlaces.size() > kMostIdlePlaces) {
            mPlaces = std::vector<T>();
            mFirst = 0;
        }
        return value;
    }

private:
    // Powers of two, so that a mask wraps the end of the block around.
    static constexpr std::size_t kFirstPlaces = 8;
    static constexpr std::size_t kMostIdlePlaces = 1024;

    void Grow() {
        std::vector<T> larger(mPlaces.empty() ? kFirstPlaces : 2 * mPlaces.size());
        for (std::size_t i = 0; i < mSize; ++i) {
            larger[i] = std::move(mPlaces[(mFirst + i) & (mPlaces.size() - 1)]);
        }
        mPlaces = std::move(larger);
        mFirst = 0;
    }

    std::vector<T> mPlaces;
    std::size_t mFirst = 0;
    std::size_t mSize = 0;
};

}  // namespace corebeacon
