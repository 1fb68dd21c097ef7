#include <sstream>
#include <thread>

#include "fuzz/workers.h"
#include "support/all_asleep.h"

namespace corebeacon::fuzz {

WorkerScope::WorkerScope() = default;
WorkerScope::~WorkerScope() = default;

/// A dump is answered by each worker in its turn.
void AwaitWorkers(ConfigManager& front, const test::ManualClock& clock) {
    while (clock.HasDueWaiters()) {
        std::this_thread::yield();
    }
    std::ostringstream ignored;
    front.TaskDump(true, ignored);
    while (!test::AllAsleep(front, clock)) {
        std::this_thread::yield();
    }
}

}  // namespace corebeacon::fuzz
