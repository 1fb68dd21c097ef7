/// What the nodes of a machine held at one moment, as a file that the device can be simulated from
/// elsewhere; docs/snapshot.md describes the file. Plain values and free functions without state.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

namespace corebeacon::tool {

enum class NodeMode { READ_WRITE, READ_ONLY, WRITE_ONLY, ABSENT };

enum class NodeForm {
    TEXT,
    BINARY,  ///< reads give the 4 bytes of a number
    IOCTL,   ///< never opened by a snapshot
};

struct CapturedNode {
    NodeMode mode = NodeMode::ABSENT;
    NodeForm form = NodeForm::TEXT;
    std::string bytes = {};     ///< exactly what a read gave
    int readError = 0;          ///< errno with which it ended; 0 for the end of the node
    bool isOpenFailed = false;  ///< readError is that of the open
};

struct DeviceSnapshot {
    std::string takenAt = {};                   ///< UTC, as "2026-01-31T12:00:00Z"
    std::string machine = {};                   ///< for people: kernel, release and architecture
    std::map<std::string, CapturedNode> nodes;  ///< by path
};

/// The file's text.
std::string SnapshotText(const DeviceSnapshot& snapshot);

struct ReadSnapshot {
    DeviceSnapshot snapshot;
    std::string error;  ///< "" for none; begins with the line and column, or the way to the value
};

inline constexpr std::size_t kMaxSnapshotBytes = 8UL * 1024UL * 1024UL;

/// Takes any bytes whatever.
ReadSnapshot ParseSnapshot(std::string_view text);

/// Absent when the file cannot be read or is no snapshot, which is told.
std::optional<DeviceSnapshot> LoadSnapshot(const std::string& path, std::ostream& diagnostics);

}  // namespace corebeacon::tool
