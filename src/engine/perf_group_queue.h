/// The items that compete for one aspect of a group: the head, which is the best of them and the
/// only one in force, and all others in order. Owned by a PerfGroup, whose worker thread alone uses
/// it. Adding and removing cost no more among many equal values than among different ones. What
/// adds may throw std::bad_alloc, with nothing changed; what removes takes no memory.
#pragma once

#include <cstddef>
#include <functional>
#include <set>
#include <unordered_map>
#include <utility>

#include "command/handle.h"
#include "corebeacon/perf_types.h"
#include "engine/expiry_index.h"
#include "platform/node_pool.h"

namespace corebeacon {

/// One request on one group.
struct PerfGroupQueItem {
    unsigned long handle = kInvalidHandle;  ///< kInvalidHandle: none; kNoHandle: the default item
    PerfOperationType operation = PERF_OPERATION_BOOST;
    int value = 0;
    TimePoint startTime;
    TimePoint endTime;
};

/// Whether `a` comes strictly before `b`: the higher value first.
bool BoostQueCompare(const PerfGroupQueItem& a, const PerfGroupQueItem& b);
/// The lower value first.
bool LimitQueCompare(const PerfGroupQueItem& a, const PerfGroupQueItem& b);
/// The earlier start first.
bool WaitingQueCompare(const PerfGroupQueItem& a, const PerfGroupQueItem& b);

class PerfGroupQueue {
public:
    using Order = bool (*)(const PerfGroupQueItem&, const PerfGroupQueItem&);
    using Multiset = std::multiset<PerfGroupQueItem, Order, PoolAllocator<PerfGroupQueItem>>;

    /// Whether the items' end times mean anything to the queue.
    enum class ItemLife { TIMED, UNTIMED };

    /// How many expired items may lie behind the head of a queue of timed items.
    static constexpr std::size_t kMaxExpired = 4096;

    /// `head` is the item in force from the beginning, if any.
    PerfGroupQueue(Order order, ItemLife life, const PerfGroupQueItem& head = {});
    /// The same items in the same order.
    PerfGroupQueue(const PerfGroupQueue& other);
    PerfGroupQueue& operator=(const PerfGroupQueue&) = delete;

    bool HasHead() const { return mHead.handle != kInvalidHandle; }
    const PerfGroupQueItem& Head() const { return mHead; }
    /// All items but the head, best first, equals in the order in which they came here.
    const Multiset& Queued() const { return mQueued; }
    /// A queued item with this handle, null if there is none.
    const PerfGroupQueItem* FindQueued(unsigned long handle) const;

    /// Makes a strictly better item the head, ahead of which the old head steps back behind its
    /// equals; any other item is queued. Whether the head changed. Expired queued items in excess
    /// of kMaxExpired are dropped, those that expired first.
    bool Add(const PerfGroupQueItem& item, TimePoint now);

    /// Erases the queued items that have the handle of `item` and rank equal with it; their number.
    std::size_t EraseQueued(const PerfGroupQueItem& item);
    /// Adds `item`, as Add does, in the place of all queued items that rank equal with `former`,
    /// which may be one of them.
    void ReplaceEqual(const PerfGroupQueItem& former, const PerfGroupQueItem& item);

    /// Replaces the head by the best queued item, or by none.
    void DropHead();
    /// Drops the head if it has this handle; whether it had.
    bool DropHead(unsigned long handle);
    /// Replaces a head whose end has come by the best queued item that is still live, erasing the
    /// expired ones before it. A live head is left alone, and so is everything behind it.
    void ExpireHead(TimePoint now);

    /// Exchanges the head for the best queued item where that is then strictly better.
    void SetHeadValue(int value);

private:
    /// Where an item stands in the other two containers.
    struct Place {
        Multiset::iterator queued;
        ExpiryIndex<Multiset::iterator>::Iterator expiry;  // only in a queue of timed items
    };
    using HandleIndex =
        std::unordered_multimap<unsigned long, Place, std::hash<unsigned long>, std::equal_to<>,
                                PoolAllocator<std::pair<const unsigned long, Place>>>;

    bool RankEqual(const PerfGroupQueItem& a, const PerfGroupQueItem& b) const;
    /// Makes the item the head, whose place it takes, or queues it. What was queued.
    Multiset::iterator Enter(const PerfGroupQueItem& item, bool asHead);
    Multiset::iterator Insert(const PerfGroupQueItem& item);
    void AddToIndexes(Multiset::iterator queued);
    HandleIndex::iterator Erase(HandleIndex::iterator entry);
    void Erase(Multiset::iterator queued);
    PerfGroupQueItem TakeBest();

    const Order mOrder;
    const ItemLife mLife;
    PerfGroupQueItem mHead;
    NodePool mQueuedPool;
    Multiset mQueued;
    // Equal values may be very many, so a release finds its item by handle.
    NodePool mByHandlePool;
    HandleIndex mByHandle{HandleIndex::allocator_type(mByHandlePool)};
    ExpiryIndex<Multiset::iterator> mExpiry{kMaxExpired};
};

}  // namespace corebeacon
