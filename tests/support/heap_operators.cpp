#include "support/heap_operators.h"

#include <new>

using corebeacon::test::GiveToHeap;
using corebeacon::test::TakeFromHeap;

void* operator new(std::size_t size) {
    void* const block = TakeFromHeap(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void* operator new[](std::size_t size) {
    return ::operator new(size);
}

void operator delete(void* block) noexcept {
    GiveToHeap(block);
}

void operator delete[](void* block) noexcept {
    GiveToHeap(block);
}

// Seen by shared libraries, as the ones above are by themselves: clang hides what knows the size,
// and a library would give a block from here to another heap.
[[gnu::visibility("default")]] void operator delete(void* block, std::size_t /*size*/) noexcept {
    GiveToHeap(block);
}

[[gnu::visibility("default")]] void operator delete[](void* block, std::size_t /*size*/) noexcept {
    GiveToHeap(block);
}
