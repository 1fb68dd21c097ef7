/// How the workers of an engine get on with their work while a target plays their host. There are
/// two answers, and the build chooses: as threads, as everywhere else (worker_threads.cpp, in the
/// replay of the corpus), or taking turns on the caller's own thread (worker_turns.cpp, in the fuzz
/// programs, where hand-overs between threads would be most of the time). One thread at a time.
#pragma once

#include "corebeacon/config_manager.h"
#include "support/manual_clock.h"

namespace corebeacon::fuzz {

/// While it lives, whoever starts a thread starts a worker. Put in force around an engine's life.
class WorkerScope {
public:
    WorkerScope();
    ~WorkerScope();
    WorkerScope(const WorkerScope&) = delete;
    WorkerScope& operator=(const WorkerScope&) = delete;
};

/// Returns once all that was asked of the workers, and all that was due, is done.
void AwaitWorkers(ConfigManager& front, const test::ManualClock& clock);

}  // namespace corebeacon::fuzz
