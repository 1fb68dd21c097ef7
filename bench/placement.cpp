#include "placement.h"

#include <sched.h>

#include <vector>

namespace corebeacon::bench {

namespace {

int gWorkersCpu = -1;
int gCallersCpu = -1;

std::vector<int> AllowedCpus() {
    cpu_set_t set;
    CPU_ZERO(&set);
    sched_getaffinity(0, sizeof(set), &set);
    std::vector<int> cpus;
    for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu) {
        if (CPU_ISSET(cpu, &set)) {
            cpus.push_back(cpu);
        }
    }
    return cpus;
}

void MoveTo(int cpu) {
    if (cpu < 0) {
        return;
    }
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(cpu, &set);
    sched_setaffinity(0, sizeof(set), &set);
}

}  // namespace

bool SetPlacement(Placement placement) {
    if (placement == Placement::FREE) {
        return true;
    }
    // From the end: the first CPU is where most machines serve their interrupts.
    const std::vector<int> cpus = AllowedCpus();
    const bool apart = placement == Placement::TWO_CPUS;
    if (cpus.size() < (apart ? 2U : 1U)) {
        return false;
    }
    gCallersCpu = cpus.back();
    gWorkersCpu = apart ? cpus[cpus.size() - 2] : gCallersCpu;
    PlaceCaller();
    return true;
}

void PlaceWorkers() {
    MoveTo(gWorkersCpu);
}

void PlaceCaller() {
    MoveTo(gCallersCpu);
}

}  // namespace corebeacon::bench
