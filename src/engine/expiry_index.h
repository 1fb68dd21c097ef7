/// Knows the end times of a set of items and how many of them have passed, so that a queue can let
/// expired items lie and yet bound their number without walking over the live ones. Owned by one
/// queue and used on that queue's thread.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <utility>

#include "corebeacon/perf_types.h"
#include "platform/node_pool.h"

namespace corebeacon {

/// `Token` is what the owner finds an item by; a small value.
template <typename Token>
class ExpiryIndex {
public:
    using Entries = std::multimap<TimePoint, Token, std::less<>,
                                  PoolAllocator<std::pair<const TimePoint, Token>>>;
    using Iterator = typename Entries::iterator;

    explicit ExpiryIndex(std::size_t maxExpired) : mMaxExpired(maxExpired) {}

    /// The result stays valid until it is removed.
    Iterator Add(TimePoint end, Token token) {
        // Later arrivals mostly end later; then the hint saves the search.
        const Iterator added = mByEnd.emplace_hint(mByEnd.end(), end, token);
        mExpiredCount += end <= mSweptTo ? 1U : 0U;
        return added;
    }

    void Remove(Iterator entry) {
        mExpiredCount -= entry->first <= mSweptTo ? 1U : 0U;
        mByEnd.erase(entry);
    }

    /// The item that expired first, while more than the permitted number have ended at or before
    /// `now`; the owner then removes it and asks again. `now` never goes back: an earlier one is
    /// taken for the latest that was given. Each item is passed once, whatever the number of calls.
    std::optional<Token> FindExcess(TimePoint now) {
        if (now > mSweptTo && mByEnd.size() > mMaxExpired) {
            // With none counted the search is spared: nothing lies before the first live item.
            auto entry = mExpiredCount == 0 ? mByEnd.begin() : mByEnd.upper_bound(mSweptTo);
            for (; entry != mByEnd.end() && entry->first <= now; ++entry) {
                ++mExpiredCount;
            }
            mSweptTo = now;
        }
        if (mExpiredCount <= mMaxExpired) {
            return std::nullopt;
        }
        return mByEnd.begin()->second;
    }

private:
    const std::size_t mMaxExpired;
    NodePool mPool;
    Entries mByEnd{typename Entries::allocator_type(mPool)};
    TimePoint mSweptTo = TimePoint::min();  // mExpiredCount counts the ends up to here
    std::size_t mExpiredCount = 0;
};

}  // namespace corebeacon
