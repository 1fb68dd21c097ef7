// The function that libFuzzer calls; which target it passes the bytes to, the build says.
#include <cstddef>
#include <cstdint>

#include "fuzz/fuzz_targets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    corebeacon::fuzz::COREBEACON_FUZZ_TARGET({data, size});
    return 0;
}
