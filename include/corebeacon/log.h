/// The engine's log: one printf-style call, one replaceable sink, one switch for the chatty levels.
/// Process-wide; every function may be called from any thread.
#pragma once

#include <atomic>

#include "corebeacon/export.h"

namespace corebeacon {

/// Severities, numbered as the platform log numbers them.
enum LogLevel : int {
    LOG_LEVEL_DEBUG = 3,    ///< only with bit value 2 of the log switch
    LOG_LEVEL_INFO = 4,     ///< only with bit value 1 of the log switch
    LOG_LEVEL_WARNING = 5,  ///< always
    LOG_LEVEL_ERROR = 6,    ///< always
};

/// Where log lines go. Owned by whoever installs it. Write is called from callers' and worker
/// threads, several at once; it must neither throw nor call back into the engine.
class COREBEACON_API LogSink {
public:
    virtual ~LogSink();
    /// `message` is complete, beginning with "[function:line] ".
    virtual void Write(int level, const char* tag, const char* message) noexcept = 0;
};

/// Puts `sink` in force; null restores the default, which writes time, level letter, tag and
/// message to standard error, one write call a line. When the call returns, no thread is inside
/// the former sink any more, so the caller may destroy it.
COREBEACON_API void SetLogSink(LogSink* sink);

/// Formats one line and hands it to the sink. Never throws; what cannot be formatted is dropped.
/// Called seldom as compilers shall know: what leads to a line then stands out of the way.
COREBEACON_API void VLogPrint(int level, const char* tag, const char* format, ...) noexcept
    __attribute__((format(printf, 3, 4), cold));

/// The switch for level 3 (bit value 2) and level 4 (bit value 1) messages. Initially 0.
namespace PfLogonNamespace {
/// Stores the switch; returns 0. A change takes effect when a thread next looks.
COREBEACON_API int PfLogonSet(unsigned int value);
/// The switch itself, valid for the life of the process.
COREBEACON_API const std::atomic<unsigned int>* PfLogonGet();
}  // namespace PfLogonNamespace

}  // namespace corebeacon
