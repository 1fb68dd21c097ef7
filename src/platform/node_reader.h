/// Reads a kernel node as text, through the NodeIo in force unless told otherwise. Stateless; any
/// thread may call it.
#pragma once

#include <cstddef>
#include <string>

#include "corebeacon/node_io.h"

namespace corebeacon {

/// No node that the engine reads comes near this; one that never ends must not fill the memory.
inline constexpr std::size_t kMaxNodeBytes = 1024UL * 1024UL;

enum class NodeStatus {
    READ,
    NOT_OPENED,
    NOT_READ,  ///< it opened, but as the files of an offline cpufreq policy gave nothing
};

/// Puts all that the node at `path` holds into `out`, byte for byte. Unless the status is READ,
/// errno tells why (EFBIG: more than kMaxNodeBytes) and `out` is unchanged. Logs nothing: only the
/// caller knows whether a missing node is a failure.
NodeStatus ReadNode(const std::string& path, std::string& out);
/// The same through another NodeIo than the one in force.
NodeStatus ReadNode(NodeIo& nodes, const std::string& path, std::string& out);

}  // namespace corebeacon
