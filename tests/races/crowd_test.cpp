// A crowd of callers, counted in calls rather than in time.
#include <atomic>

#include "soak/crowd_fixture.h"
#include "support/sizes.h"

namespace corebeacon::test {
namespace {

constexpr int kCallers = 64;

class CrowdTest : public CrowdFixture {};

TEST_F(CrowdTest, AfterManyCallsOfSixtyFourCallersEveryNodeIsBackAtItsBase) {
    std::atomic<long> callsLeft{SizeFromEnvironment("COREBEACON_STORM_CALLS", 5000)};
    ExpectNothingIsLeftOfACrowd(
        kCallers, [&callsLeft] { return callsLeft.fetch_sub(1, std::memory_order_relaxed) > 0; });
}

}  // namespace
}  // namespace corebeacon::test
