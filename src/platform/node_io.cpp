#include "corebeacon/node_io.h"

#include <atomic>

#include "platform/immortal.h"
#include "platform/posix_node_io.h"

namespace corebeacon {

namespace {

NodeIo& Kernel() {
    static Immortal<PosixNodeIo> kernel;
    return kernel.Get();
}

// Null means the kernel, so that no static of another file can run before this one is set.
std::atomic<NodeIo*> gNodeIo{nullptr};

}  // namespace

NodeIo::~NodeIo() = default;

void SetNodeIo(NodeIo* replacement) {
    gNodeIo.store(replacement, std::memory_order_release);
}

NodeIo& GetNodeIo() {
    NodeIo* replacement = gNodeIo.load(std::memory_order_acquire);
    return replacement != nullptr ? *replacement : Kernel();
}

}  // namespace corebeacon
