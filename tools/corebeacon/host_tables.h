/// What the built-in tables leave to the host. A plain value.
#pragma once

#include "corebeacon/configurable_event.h"

namespace corebeacon::tool {

struct HostTables {
    bool hasTaskGroups = false;  ///< those of the simulated device
    ProbeEvent probe = {};
};

}  // namespace corebeacon::tool
