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

# A game begins: its scenario tunes governors, latencies and budgets until it is released.
scenario pid=2002 0 as game
wait 200ms

# The game asks for a standing floor, a battery saver for a standing ceiling: the floor bows to it.
request pid=2002 CPU_B.boost=1952000 as frames
request pid=3001 CPU_B.limit=1417000 as saver
wait 200ms

# A touch: in work mode 0 a short boost may exceed a standing ceiling.
request pid=1001 for=250ms CPU_B.boost=2130000 as touch
wait 450ms

# In work mode 2 ceilings always win: the next touch is in vain.
mode pid=3001 2 as strict
request pid=1001 for=250ms CPU_B.boost=2130000 as tap
wait 450ms
dump workMode
release strict
release saver

# Another app starts, which the system knows as event 1; here it lasts for 300 ms.
event start 1 for=300ms
wait 500ms

# The GPU is suspended: requests are kept account of, and written when it resumes.
suspend GPU
request pid=2002 GPU.boost=500000000 as shaders
wait 200ms
resume GPU
wait 200ms

# A thread of the game has a burst of work: it is bound, and floors go with it for 500 ms.
probe start 4242
wait 700ms

# Everybody is done, and every node is back at its base value.
release-all pid=2002

# What the engine remembers of it: each ceiling that was in force lately.
dump limit_history
)";

}  // namespace corebeacon::tool
