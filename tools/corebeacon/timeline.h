/// A run over time: who asked for what, which floor and ceiling each group had, what its nodes were
/// told. Plain values; made by the recorder, written by the writers below.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "corebeacon/perf_types.h"

namespace corebeacon::tool {

/// Microseconds since the run began.
using TimelineMicros = std::int64_t;

/// From `time` on, what the group is to have.
struct TimelineStep {
    TimelineMicros time = 0;
    int floor = 0;
    int ceiling = 0;
};

struct TimelineWrite {
    TimelineMicros time = 0;
    std::string value;
    std::string failure;  ///< "" if it succeeded
};

struct TimelineNode {
    std::string name;  ///< the end of the path
    std::string path;
    std::vector<TimelineWrite> writes;
};

/// One group of a QoS.
struct TimelineTrack {
    std::string qos;
    unsigned group = 0;
    std::string name;
    std::string unit;      ///< "" where a value is a level or a plain number
    bool isRange = false;  ///< a node for the floor and one for the ceiling, in this order
    std::vector<TimelineStep> steps;
    std::vector<TimelineNode> nodes;
};

/// What a request asks of one group.
struct TimelinePart {
    std::size_t track = 0;
    PerfOperationType operation = PERF_OPERATION_BOOST;
    int value = 0;
};

struct TimelineRequest {
    int pid = 0;
    unsigned long handle = 0;
    std::string name;
    std::string kind;  ///< request, scenario 0, work mode 2 and so on
    TimelineMicros from = 0;
    TimelineMicros until = 0;
    std::string ending;
    std::vector<TimelinePart> parts;
};

struct TimelineMark {
    TimelineMicros time = 0;
    bool isNote = false;  ///< a line of the story, else a statement
    std::string text;
};

/// One ceiling in the engine's own history. The texts are the engine's.
struct TimelineCeiling {
    int value = 0;
    TimelineMicros from = 0;
    TimelineMicros until = 0;
    std::string fromText;
    std::string untilText;  ///< "" while it lasts
};

struct TimelineLimits {
    std::string name;
    std::string unit;
    std::vector<TimelineCeiling> entries;
};

struct Timeline {
    std::string title;
    std::string device;
    std::string begin;  ///< local date and time, for a person
    TimelineMicros end = 0;
    std::vector<TimelineTrack> tracks;
    std::vector<TimelineRequest> requests;  ///< in the order of their starts
    std::vector<TimelineMark> marks;        ///< in order of time
    std::vector<TimelineLimits> limits;
};

/// As scripts write it.
const char* TimelineOperation(PerfOperationType operation);

/// In the trace-event form: a JSON document that trace viewers open.
void WriteTimelineTrace(const Timeline& timeline, std::ostream& out);

/// As one page of HTML that needs nothing else, not even a network.
void WriteTimelinePage(const Timeline& timeline, std::ostream& out);

}  // namespace corebeacon::tool
