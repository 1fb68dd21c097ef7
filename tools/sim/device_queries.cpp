// What the simulated device tells about itself: the record, and the state of its nodes.
#include "sim/node_slot.h"
#include "sim/operation_record.h"
#include "sim/simulated_device.h"

namespace corebeacon::sim {

void SimulatedDevice::SetRecordLimit(std::size_t count) {
    mRecord->SetLimit(count);
}

void SimulatedDevice::ClearRecord() {
    mRecord->Clear();
    for (const auto& slot : AllSlots()) {
        const std::lock_guard lock(slot->mutex);
        slot->touched = false;
    }
}

std::vector<Operation> SimulatedDevice::Operations() const {
    return mRecord->Select([](const Operation&) { return true; });
}

std::vector<Operation> SimulatedDevice::Operations(OperationKind kind) const {
    return mRecord->Select([kind](const Operation& operation) { return operation.kind == kind; });
}

std::vector<Operation> SimulatedDevice::Writes() const {
    return mRecord->Select([](const Operation& operation) {
        return operation.kind == OperationKind::WRITE && operation.Succeeded();
    });
}

std::vector<std::string> SimulatedDevice::WritesTo(const std::string& path) const {
    std::vector<std::string> texts;
    for (const Operation& write : Writes()) {
        if (write.path == path) {
            texts.push_back(write.bytes);
        }
    }
    return texts;
}

std::vector<IoctlRequest> SimulatedDevice::IoctlsTo(const std::string& path) const {
    std::vector<IoctlRequest> requests;
    for (Operation& operation : Operations(OperationKind::IOCTL)) {
        if (operation.path == path && operation.Succeeded()) {
            requests.push_back({operation.request, std::move(operation.argument)});
        }
    }
    return requests;
}

std::uint64_t SimulatedDevice::OperationCount() const {
    return mRecord->Count();
}

bool SimulatedDevice::Exists(const std::string& path) const {
    const auto slot = Slot(path);
    if (!slot) {
        return false;
    }
    const std::lock_guard lock(slot->mutex);
    return slot->present;
}

std::string SimulatedDevice::Value(const std::string& path) const {
    const auto slot = Slot(path);
    if (!slot) {
        return "";
    }
    const std::lock_guard lock(slot->mutex);
    return slot->present ? slot->node->Value() : "";
}

std::string SimulatedDevice::Bytes(const std::string& path) const {
    const auto slot = Slot(path);
    std::string bytes;
    if (!slot) {
        return bytes;
    }
    const std::lock_guard lock(slot->mutex);
    if (!slot->present || slot->node->Fetch(bytes) != 0) {
        bytes.clear();
    }
    return bytes;
}

std::size_t SimulatedDevice::OpenDescriptors() const {
    const std::shared_lock lock(mTreeMutex);
    return mFiles.size();
}

std::vector<std::string> SimulatedDevice::Nodes() const {
    std::vector<std::string> paths;
    for (const auto& slot : AllSlots()) {
        const std::lock_guard lock(slot->mutex);
        if (slot->present) {
            paths.push_back(slot->path);
        }
    }
    return paths;
}

std::vector<std::string> SimulatedDevice::TouchedNodes() const {
    std::vector<std::string> paths;
    for (const auto& slot : AllSlots()) {
        const std::lock_guard lock(slot->mutex);
        if (slot->touched) {
            paths.push_back(slot->path);
        }
    }
    return paths;
}

std::map<std::string, std::string> SimulatedDevice::Snapshot() const {
    std::map<std::string, std::string> values;
    for (const auto& slot : AllSlots()) {
        const std::lock_guard lock(slot->mutex);
        if (slot->present) {
            values[slot->path] = slot->node->Value();
        }
    }
    return values;
}

/// In the order of their paths.
std::vector<std::shared_ptr<NodeSlot>> SimulatedDevice::AllSlots() const {
    std::vector<std::shared_ptr<NodeSlot>> slots;
    const std::shared_lock lock(mTreeMutex);
    for (const auto& [path, slot] : mSlots) {
        slots.push_back(slot);
    }
    return slots;
}

}  // namespace corebeacon::sim
