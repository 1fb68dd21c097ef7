/// Lets the engine's trace points be seen in a kernel trace. Every request, scenario, work mode,
/// suspension, event and frequency write then leaves an instant marker, whose name begins with
/// "corebeacon_log:", among the kernel's own events (Documentation/trace/ftrace.rst, trace_marker).
/// Process-wide and off until bound; while off a trace point costs one relaxed load. Every function
/// may be called from any thread, also while engines are running.
#pragma once

#include <cstdint>
#include <string>

#include "corebeacon/export.h"

namespace corebeacon {

/// Sends the markers to a tracefs's trace_marker, as a rule /sys/kernel/tracing/trace_marker, or
/// that of an instance. The file is opened here, through the NodeIo in force, and stays open.
/// Returns 0, or -1 (logged) and errno when it cannot be opened for writing: what was bound before
/// then stays bound.
///
/// A marker is "I|<process id>|<name>" in one write call, of at most 1024 bytes, control characters
/// replaced by blanks. One that the kernel does not take, as while tracing is off, is lost: the
/// first one is logged, the others are only counted, and the operation that it marks goes on.
COREBEACON_API int BindSysTrace(const std::string& traceMarkerPath);

/// Closes the file. When this returns no marker is under way any more. Without a binding nothing
/// happens.
COREBEACON_API void UnbindSysTrace();

/// How many markers were lost since the last successful BindSysTrace.
COREBEACON_API std::uint64_t LostSysTraceMarkers();

}  // namespace corebeacon
