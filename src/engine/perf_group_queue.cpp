#include "engine/perf_group_queue.h"

#include <optional>

namespace corebeacon {

bool BoostQueCompare(const PerfGroupQueItem& a, const PerfGroupQueItem& b) {
    return a.value > b.value;
}

bool LimitQueCompare(const PerfGroupQueItem& a, const PerfGroupQueItem& b) {
    return a.value < b.value;
}

bool WaitingQueCompare(const PerfGroupQueItem& a, const PerfGroupQueItem& b) {
    return a.startTime < b.startTime;
}

PerfGroupQueue::PerfGroupQueue(Order order, ItemLife life, const PerfGroupQueItem& head)
    : mOrder(order),
      mLife(life),
      mHead(head),
      mQueued(order, PoolAllocator<PerfGroupQueItem>(mQueuedPool)) {}

const PerfGroupQueItem* PerfGroupQueue::FindQueued(unsigned long handle) const {
    const auto entry = mByHandle.find(handle);
    return entry == mByHandle.end() ? nullptr : &*entry->second.queued;
}

bool PerfGroupQueue::Add(const PerfGroupQueItem& item, TimePoint now) {
    bool headChanged = false;
    if (!HasHead()) {
        mHead = item;
        return true;
    }
    if (mOrder(item, mHead)) {
        Insert(mHead);
        mHead = item;
        headChanged = true;
    } else {
        Insert(item);
    }
    if (mLife == ItemLife::TIMED) {
        while (const std::optional<Multiset::iterator> excess = mExpiry.FindExcess(now)) {
            Erase(*excess);
        }
    }
    return headChanged;
}

void PerfGroupQueue::AddQueued(const PerfGroupQueItem& item) {
    Insert(item);
}

std::size_t PerfGroupQueue::EraseQueued(const PerfGroupQueItem& item) {
    std::size_t erased = 0;
    auto [entry, last] = mByHandle.equal_range(item.handle);
    while (entry != last) {
        if (RankEqual(*entry->second.queued, item)) {
            entry = Erase(entry);
            ++erased;
        } else {
            ++entry;
        }
    }
    return erased;
}

void PerfGroupQueue::EraseAllEqual(const PerfGroupQueItem& item) {
    // `item` may be one of those erased; it is not looked at again.
    auto [queued, last] = mQueued.equal_range(item);
    while (queued != last) {
        Erase(queued++);
    }
}

void PerfGroupQueue::DropHead() {
    mHead = mQueued.empty() ? PerfGroupQueItem{} : TakeBest();
}

bool PerfGroupQueue::DropHead(unsigned long handle) {
    if (mHead.handle != handle) {
        return false;
    }
    DropHead();
    return true;
}

void PerfGroupQueue::ExpireHead(TimePoint now) {
    while (HasHead() && mHead.endTime <= now) {
        DropHead();
    }
}

void PerfGroupQueue::PromoteBetter() {
    if (mQueued.empty() || !mOrder(*mQueued.begin(), mHead)) {
        return;
    }
    const PerfGroupQueItem best = TakeBest();
    Insert(mHead);
    mHead = best;
}

bool PerfGroupQueue::RankEqual(const PerfGroupQueItem& a, const PerfGroupQueItem& b) const {
    return !mOrder(a, b) && !mOrder(b, a);
}

void PerfGroupQueue::Insert(const PerfGroupQueItem& item) {
    Place place;
    // A multiset puts a new item behind its equals, which is the order of arrival.
    place.queued = mQueued.insert(item);
    if (mLife == ItemLife::TIMED) {
        place.expiry = mExpiry.Add(item.endTime, place.queued);
    }
    mByHandle.emplace(item.handle, place);
}

PerfGroupQueue::HandleIndex::iterator PerfGroupQueue::Erase(HandleIndex::iterator entry) {
    if (mLife == ItemLife::TIMED) {
        mExpiry.Remove(entry->second.expiry);
    }
    mQueued.erase(entry->second.queued);
    return mByHandle.erase(entry);
}

void PerfGroupQueue::Erase(Multiset::iterator queued) {
    // A handle has one item in a queue, or a few where an event asks in several steps.
    auto entry = mByHandle.find(queued->handle);
    while (entry->second.queued != queued) {
        ++entry;
    }
    Erase(entry);
}

PerfGroupQueItem PerfGroupQueue::TakeBest() {
    const PerfGroupQueItem best = *mQueued.begin();
    Erase(mQueued.begin());
    return best;
}

}  // namespace corebeacon
