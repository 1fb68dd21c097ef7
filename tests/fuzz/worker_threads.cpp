#include <sstream>

#include "fuzz/demand.h"
#include "fuzz/workers.h"
#include "support/all_asleep.h"
#include "support/deadline.h"

namespace corebeacon::fuzz {

WorkerScope::WorkerScope() = default;
WorkerScope::~WorkerScope() = default;

/// A dump is answered by each worker in its turn.
void AwaitWorkers(ConfigManager& front, const test::ManualClock& clock) {
    Demand(test::Eventually([&clock] { return !clock.HasDueWaiters(); }), "time-outs come about");
    std::ostringstream ignored;
    front.TaskDump(true, ignored);
    Demand(test::Eventually([&] { return test::AllAsleep(front, clock); }),
           "every worker goes back to sleep");
}

}  // namespace corebeacon::fuzz
