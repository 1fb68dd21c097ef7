#include "engine/perf_group_queue.h"

#include <new>
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

PerfGroupQueue::PerfGroupQueue(const PerfGroupQueue& other)
    : PerfGroupQueue(other.mOrder, other.mLife, other.mHead) {
    for (const PerfGroupQueItem& item : other.mQueued) {
        Insert(item);
    }
}

const PerfGroupQueItem* PerfGroupQueue::FindQueued(unsigned long handle) const {
    const auto entry = mByHandle.find(handle);
    return entry == mByHandle.end() ? nullptr : &*entry->second.queued;
}

bool PerfGroupQueue::Add(const PerfGroupQueItem& item, TimePoint now) {
    if (!HasHead()) {
        mHead = item;
        return true;
    }
    const bool headChanged = mOrder(item, mHead);
    Enter(item, headChanged);
    if (mLife == ItemLife::TIMED) {
        while (const std::optional<Multiset::iterator> excess = mExpiry.FindExcess(now)) {
            Erase(*excess);
        }
    }
    return headChanged;
}

void PerfGroupQueue::ReplaceEqual(const PerfGroupQueItem& former, const PerfGroupQueItem& item) {
    const auto [first, last] = mQueued.equal_range(former);
    const Multiset::iterator added = Enter(item, mOrder(item, mHead));
    // An equal of those replaced stands behind them.
    for (auto queued = first; queued != last && queued != added;) {
        Erase(queued++);
    }
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

void PerfGroupQueue::SetHeadValue(int value) {
    PerfGroupQueItem changed = mHead;
    changed.value = value;
    if (mQueued.empty() || !mOrder(*mQueued.begin(), changed)) {
        mHead = changed;
        return;
    }
    Insert(changed);  // first, as it may fail; the best item stays the first
    mHead = TakeBest();
}

bool PerfGroupQueue::RankEqual(const PerfGroupQueItem& a, const PerfGroupQueItem& b) const {
    return !mOrder(a, b) && !mOrder(b, a);
}

PerfGroupQueue::Multiset::iterator PerfGroupQueue::Enter(const PerfGroupQueItem& item,
                                                         bool asHead) {
    const auto queued = Insert(asHead ? mHead : item);
    if (asHead) {
        mHead = item;
    }
    return queued;
}

/// All of it or, when memory is lacking, nothing.
PerfGroupQueue::Multiset::iterator PerfGroupQueue::Insert(const PerfGroupQueItem& item) {
    // A multiset puts a new item behind its equals, which is the order of arrival.
    const auto queued = mQueued.insert(item);
    try {
        AddToIndexes(queued);
    } catch (const std::bad_alloc&) {
        mQueued.erase(queued);
        throw;
    }
    return queued;
}

void PerfGroupQueue::AddToIndexes(Multiset::iterator queued) {
    const auto entry = mByHandle.emplace(queued->handle, Place{queued, {}});
    if (mLife == ItemLife::UNTIMED) {
        return;
    }
    try {
        entry->second.expiry = mExpiry.Add(queued->endTime, queued);
    } catch (const std::bad_alloc&) {
        mByHandle.erase(entry);
        throw;
    }
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
