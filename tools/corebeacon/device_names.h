/// What the program calls the device of a run. Free functions without state; any thread.
#pragma once

#include "engine_session.h"

namespace corebeacon::tool {

/// In documents: "sim", "kernel" or "snapshot".
const char* DeviceName(DeviceKind device);

/// At the beginning of a sentence.
const char* DeviceText(DeviceKind device);

}  // namespace corebeacon::tool
