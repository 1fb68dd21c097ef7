#include "demo_story.h"

namespace corebeacon::tool {

const std::string_view kDemoStory = R"(
# A frequency is written as ceiling, floor, ceiling: whatever stood before, kernels take that order.
# An app starts: floors under the larger clusters and the GPU for 900 ms.
request pid=1001 for=900ms CPU_M.boost=1655000 CPU_B.boost=2309000 GPU.boost=603000000 as launch
wait 250ms

# Thermal control caps the big cluster for 400 ms: of timed requests, the ceiling beats the floor.
request pid=1002 for=400ms CPU_B.limit=1774000 as cooling
wait 900ms

# Two callers ask for a floor on the same knob, until released: the higher one counts.
request pid=2001 CPU_B.boost=1595000 as video
request pid=2002 CPU_B.boost=1952000 as game
wait 200ms

# The game leaves, and the video's floor is in force again.
release game
wait 200ms

# A battery saver sets a standing ceiling, which the standing floor has to bow to.
request pid=3001 CPU_B.limit=1417000 as saver
wait 200ms

# A touch: a short boost may exceed a standing ceiling.
request pid=1001 for=250ms CPU_B.boost=2130000 as touch
wait 450ms

# Everybody is done, and every node is back at its base value.
release saver
release-all pid=2001
)";

}  // namespace corebeacon::tool
