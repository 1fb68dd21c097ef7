/// Reads a kernel node as text through the NodeIo in force. Stateless; any thread may call it.
#pragma once

#include <cstddef>
#include <string>

namespace corebeacon {

/// No node that the engine reads comes near this; one that never ends must not fill the memory.
inline constexpr std::size_t kMaxNodeBytes = 1024UL * 1024UL;

/// Puts all that the node at `path` holds into `out`, byte for byte. Returns 0, or -1 with errno
/// and `out` unchanged; EFBIG means more than kMaxNodeBytes. Logs nothing: only the caller knows
/// whether a missing node is a failure.
int ReadNode(const std::string& path, std::string& out);

}  // namespace corebeacon
