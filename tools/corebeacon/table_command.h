/// The command `table`: the QoS table of a chip as an engine on the simulated device uses it.
#pragma once

#include <ostream>

namespace corebeacon::tool {

/// Returns the program's exit code.
int PrintQosTable(unsigned chip, std::ostream& out, std::ostream& diagnostics);

}  // namespace corebeacon::tool
