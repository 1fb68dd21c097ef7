#include "soak/heap_count.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> gBlocks{0};
thread_local std::size_t tRequests = 0;

void* Allocate(std::size_t size) {
    void* block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    gBlocks.fetch_add(1, std::memory_order_relaxed);
    ++tRequests;
    return block;
}

void Free(void* block) noexcept {
    if (block != nullptr) {
        gBlocks.fetch_sub(1, std::memory_order_relaxed);
        std::free(block);
    }
}

}  // namespace

void* operator new(std::size_t size) {
    return Allocate(size);
}

void* operator new[](std::size_t size) {
    return Allocate(size);
}

void operator delete(void* block) noexcept {
    Free(block);
}

void operator delete[](void* block) noexcept {
    Free(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
    Free(block);
}

void operator delete[](void* block, std::size_t /*size*/) noexcept {
    Free(block);
}

namespace corebeacon::test {

std::size_t LiveHeapBlocks() {
    return gBlocks.load(std::memory_order_relaxed);
}

std::size_t HeapRequestsOfThread() {
    return tRequests;
}

}  // namespace corebeacon::test
