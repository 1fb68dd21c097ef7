#include "device_names.h"

namespace corebeacon::tool {

const char* DeviceName(DeviceKind device) {
    switch (device) {
        case DeviceKind::SIM:
            return "sim";
        case DeviceKind::SNAPSHOT:
            return "snapshot";
        case DeviceKind::KERNEL:
        case DeviceKind::GIVEN:
            break;
    }
    return "kernel";
}

const char* DeviceText(DeviceKind device) {
    switch (device) {
        case DeviceKind::SIM:
            return "Simulated device";
        case DeviceKind::SNAPSHOT:
            return "A device simulated from a snapshot";
        case DeviceKind::KERNEL:
        case DeviceKind::GIVEN:
            break;
    }
    return "The kernel's own nodes";
}

}  // namespace corebeacon::tool
