/// Counts what is on the heap, in blocks that operator new gave out. The allocator's own figures
/// count blocks that its threads keep for later, so they cannot show that nothing leaks.
#pragma once

#include <cstddef>

namespace corebeacon::test {

/// Blocks in use by the whole process. Any thread.
std::size_t LiveHeapBlocks();

}  // namespace corebeacon::test
