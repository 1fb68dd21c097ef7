/// What the simulated device writes down about each call it serves. Plain values; any thread may
/// copy them.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "corebeacon/perf_types.h"

namespace corebeacon::sim {

enum class OperationKind { OPEN, READ, WRITE, CLOSE, IOCTL };

/// The name of the call: "open", "read", "write", "close" or "ioctl".
const char* OperationName(OperationKind kind);

/// One finished call.
struct Operation {
    TimePoint time;    ///< steady clock, when it took effect: after any delay
    pid_t thread = 0;  ///< kernel id of the calling thread
    OperationKind kind = OperationKind::OPEN;
    std::string path;   ///< of the node; empty for a descriptor that the device never gave out
    int fd = -1;        ///< the descriptor used, or given out by an open; -1 for a failed open
    int flags = 0;      ///< of an open
    std::string bytes;  ///< all bytes offered to a write, the bytes returned by a read
    unsigned long request = 0;           ///< of an ioctl
    std::vector<std::uint8_t> argument;  ///< of an ioctl: as many bytes as its number tells
    ssize_t result = 0;                  ///< as returned to the caller
    int error = 0;                       ///< errno of a failure, else 0

    bool Succeeded() const { return result >= 0; }
};

/// One request that an ioctl device carried out.
struct IoctlRequest {
    unsigned long request = 0;
    std::vector<std::uint8_t> argument;

    friend bool operator==(const IoctlRequest&, const IoctlRequest&) = default;
};

}  // namespace corebeacon::sim
