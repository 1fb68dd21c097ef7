/// What a run asked of the engine and what the nodes answered, as a file that can be played again
/// elsewhere; docs/replay.md describes the file. Plain values and free functions without state.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "board/board.h"
#include "engine_front.h"
#include "host_tables.h"
#include "turn_clock.h"

namespace corebeacon::tool {

/// What the engine was set up with.
struct RecordingHead {
    std::string recordedAt = {};             ///< UTC
    std::string program = {};                ///< version of the program that recorded
    std::string machine = {};                ///< for people: kernel, release and architecture
    std::optional<unsigned> chip = {};       ///< absent: found out from the nodes
    std::optional<board::Board> board = {};  ///< absent: the built-in tables of the chip ...
    HostTables host = {};                    ///< ... with these
};

struct RecordedCall {
    std::chrono::nanoseconds at{0};  ///< since the recording began
    EngineCall call;
};

struct RecordedRound {
    std::chrono::nanoseconds at{0};
    Round round = Round::ALL;
};

enum class NodeCallKind {
    READ,  ///< a node as a whole, from open to close
    OPEN,  ///< one for writing that failed
    WRITE,
    IOCTL,
};

struct NodeCall {
    NodeCallKind kind = NodeCallKind::WRITE;
    std::string path = {};
    std::string bytes = {};     ///< read, written, or the argument of an ioctl
    unsigned long request = 0;  ///< of an ioctl
    // The answer.
    int error = 0;                          ///< errno; 0 for success
    bool isOpenFailed = false;              ///< of a read: the error is that of the open
    std::optional<std::size_t> taken = {};  ///< of a write: bytes taken where that is not all
    int value = 0;                          ///< what a successful ioctl returned
    std::optional<std::string> answer =
        {};  ///< what an ioctl left in its argument where that changed
};

/// "wrote 500000 to /sys/..." and the like, for a person.
std::string Told(const NodeCall& call);
/// "request pid=1001" and the like.
std::string Told(const EngineCall& call);

/// The end of a recording that was not cut off.
struct RecordedEnd {
    bool isStarted = true;  ///< whether the engine started
    std::size_t writes = 0;
};

struct RecordedEntry {
    std::size_t line = 0;
    std::variant<RecordedCall, RecordedRound, NodeCall, RecordedEnd> what;
};

struct Recording {
    RecordingHead head;
    std::vector<RecordedEntry> entries;  ///< the last one is the end
};

// Lines of the file, without the newline.
std::string LineOf(const RecordingHead& head);
std::string LineOf(const RecordedCall& call);
std::string LineOf(const RecordedRound& round);
std::string LineOf(const NodeCall& call);
std::string LineOf(const RecordedEnd& end);

inline constexpr std::size_t kMaxRecordingBytes = 512UL * 1024UL * 1024UL;

/// Absent when the file cannot be read or is no whole recording, which is told with its place.
std::optional<Recording> LoadRecording(const std::string& path, std::ostream& diagnostics);

/// The time and the machine for a head.
std::string UtcNow();
std::string MachineText();

}  // namespace corebeacon::tool
