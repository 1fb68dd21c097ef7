/// Counts what is on the heap, in blocks that operator new gave out. The allocator's own figures
/// count blocks that its threads keep for later, so they cannot show that nothing leaks.
#pragma once

#include <cstddef>

namespace corebeacon::test {

/// Blocks in use by the whole process. Any thread.
std::size_t LiveHeapBlocks();

/// How often the calling thread has asked for a block so far.
std::size_t HeapRequestsOfThread();

}  // namespace corebeacon::test
