/// A heap that runs out on demand: while a FailingHeap lives, the chosen allocation through
/// operator new throws std::bad_alloc, once or from then on. Owned by a test; one at a time.
#pragma once

#include <functional>

namespace corebeacon::test {

/// Whose allocations are counted: the test's own thread's, or everybody else's.
enum class HeapUser { THIS_THREAD, OTHER_THREADS };

enum class Shortage { ONCE, FOR_EVER };

class FailingHeap {
public:
    /// The `nth` allocation fails, counted from 1. Just before, `ahead` runs, exempt, on the thread
    /// that has asked for it: what others do in the middle of an operation that is about to fail.
    FailingHeap(HeapUser user, Shortage shortage, long nth, std::function<void()> ahead = {});
    ~FailingHeap();
    FailingHeap(const FailingHeap&) = delete;
    FailingHeap& operator=(const FailingHeap&) = delete;

    /// Whether the `nth` allocation was asked for.
    static bool HasFailed();
};

/// Exempts the calling thread for a scope: what stands in for the kernel has memory of its own.
class HeapExemption {
public:
    HeapExemption();
    ~HeapExemption();
    HeapExemption(const HeapExemption&) = delete;
    HeapExemption& operator=(const HeapExemption&) = delete;
};

}  // namespace corebeacon::test
