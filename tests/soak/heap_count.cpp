#include "soak/heap_count.h"

#include <atomic>
#include <cstdlib>

#include "support/heap_operators.h"

namespace {

std::atomic<std::size_t> gBlocks{0};
thread_local std::size_t tRequests = 0;

}  // namespace

namespace corebeacon::test {

void* TakeFromHeap(std::size_t size) {
    void* const block = std::malloc(size);
    if (block != nullptr) {
        gBlocks.fetch_add(1, std::memory_order_relaxed);
        ++tRequests;
    }
    return block;
}

void GiveToHeap(void* block) noexcept {
    if (block != nullptr) {
        gBlocks.fetch_sub(1, std::memory_order_relaxed);
        std::free(block);
    }
}

std::size_t LiveHeapBlocks() {
    return gBlocks.load(std::memory_order_relaxed);
}

std::size_t HeapRequestsOfThread() {
    return tRequests;
}

}  // namespace corebeacon::test
