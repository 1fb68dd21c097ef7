/// A log that nobody reads: callers at random are refused so often that their errors would hide
/// what matters. Owned by a test; installed for its scope.
#pragma once

#include "corebeacon/log.h"

namespace corebeacon::test {

class SilentLog : public LogSink {
public:
    SilentLog() { SetLogSink(this); }
    ~SilentLog() override { SetLogSink(nullptr); }
    SilentLog(const SilentLog&) = delete;
    SilentLog& operator=(const SilentLog&) = delete;

    void Write(int, const char*, const char*) noexcept override {}
};

}  // namespace corebeacon::test
