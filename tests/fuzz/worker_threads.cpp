#include <sstream>
#include <thread>

#include "fuzz/workers.h"

namespace corebeacon::fuzz {

WorkerScope::WorkerScope() = default;
WorkerScope::~WorkerScope() = default;

/// Base information is answered by each worker in its turn.
void AwaitWorkers(ConfigManager& front, const test::ManualClock& clock) {
    while (clock.HasDueWaiters()) {
        std::this_thread::yield();
    }
    std::ostringstream ignored;
    front.TaskDump(true, ignored);
}

}  // namespace corebeacon::fuzz
