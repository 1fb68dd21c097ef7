/// How an operation of the front ends that finds no memory. Its work is arranged so that nothing
/// has to be undone here: what may fail comes first, and what takes something back needs no memory.
/// A free function without state; any thread.
#pragma once

namespace corebeacon {

/// Tells the log, which needs no memory either. Returns -1, the result of the operation.
int OutOfMemory(const char* operation);

}  // namespace corebeacon
