/// Which CPU runs what. Process-wide; set once by main, then used by the one thread that sets a
/// benchmark up. Threads inherit the placement of the thread that starts them.
#pragma once

namespace corebeacon::bench {

enum class Placement {
    FREE,      ///< wherever the kernel likes
    ONE_CPU,   ///< callers and workers share a CPU: shows what the software costs
    TWO_CPUS,  ///< workers have one of their own: shows the interrupt that wakes them
};

/// False when the machine has too few CPUs.
bool SetPlacement(Placement placement);

/// The calling thread starts workers from now on.
void PlaceWorkers();
/// The calling thread is a caller from now on.
void PlaceCaller();

}  // namespace corebeacon::bench
