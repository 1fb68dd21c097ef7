// The function that libFuzzer calls; which target it passes the bytes to, the build says.
#include <cstddef>
#include <cstdint>

#include "fuzz/fuzz_targets.h"

// What makes millions of runs affordable; ASAN_OPTIONS still overrules it, to see more of a
// finding. One frame of each allocation instead of thirty, since the bytes tell the rest; freed
// memory is kept from use for the length of a run and some more, not until 256 MiB went out of the
// cache.
extern "C" const char* __asan_default_options() {
    return "malloc_context_size=1:quarantine_size_mb=1:thread_local_quarantine_size_kb=64:"
           "detect_stack_use_after_return=0";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    corebeacon::fuzz::COREBEACON_FUZZ_TARGET({data, size});
    return 0;
}
