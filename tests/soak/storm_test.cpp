// Many callers at once, for a time.
#include <chrono>

#include "soak/crowd_fixture.h"
#include "support/sizes.h"

namespace corebeacon::test {
namespace {

constexpr int kCallers = 16;

class StormTest : public CrowdFixture {};

TEST_F(StormTest, AfterManyCallersAtOnceEveryNodeIsBackAtItsBase) {
    const long seconds = SizeFromEnvironment("COREBEACON_STORM_SECONDS", 2);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    ExpectNothingIsLeftOfACrowd(kCallers, [end] { return std::chrono::steady_clock::now() < end; });
}

}  // namespace
}  // namespace corebeacon::test
