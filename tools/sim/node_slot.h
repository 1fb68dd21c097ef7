/// A place in the device's tree: the node there now, whether it is present, and which of its
/// descriptors are still alive. Shared by the tree, by open descriptors and by what makes nodes
/// come and go. Every member is guarded by `mutex`, but for the path, which is fixed.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "sim/node.h"

namespace corebeacon::sim {

class NodeSlot {
public:
    NodeSlot(std::string nodePath, std::shared_ptr<Node> firstNode)
        : path(std::move(nodePath)), node(std::move(firstNode)) {}

    void Replace(std::shared_ptr<Node> newNode) {
        const std::lock_guard lock(mutex);
        node = std::move(newNode);
        present = true;
        ++generation;
    }

    void Remove() {
        const std::lock_guard lock(mutex);
        present = false;
        ++generation;
    }

    void Restore() {
        const std::lock_guard lock(mutex);
        if (!present) {
            present = true;
            node->Reset();
        }
    }

    const std::string path;
    std::mutex mutex;
    std::shared_ptr<Node> node;
    bool present = true;
    std::uint64_t generation = 0;  // a descriptor of an earlier one is dead for ever
    bool touched = false;          // written to, or driven by ioctl, with success
};

}  // namespace corebeacon::sim
