/// The operators new and delete of a program that counts or withholds memory: heap_operators.cpp
/// puts them in the place of the library's, and whoever counts defines what they do. Any thread.
#pragma once

#include <cstddef>

namespace corebeacon::test {

/// A block, or null for an operator that is to throw std::bad_alloc.
void* TakeFromHeap(std::size_t size);
/// Null is no block.
void GiveToHeap(void* block) noexcept;

}  // namespace corebeacon::test
