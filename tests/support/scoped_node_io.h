/// Puts a NodeIo in force for a scope and the former one back at its end. Owned by a test; every
/// engine that runs on it must be gone when the scope ends.
#pragma once

#include "corebeacon/node_io.h"

namespace corebeacon::test {

class ScopedNodeIo {
public:
    explicit ScopedNodeIo(NodeIo& nodeIo) : mFormer(GetNodeIo()) { SetNodeIo(&nodeIo); }
    ~ScopedNodeIo() { SetNodeIo(&mFormer); }
    ScopedNodeIo(const ScopedNodeIo&) = delete;
    ScopedNodeIo& operator=(const ScopedNodeIo&) = delete;

private:
    NodeIo& mFormer;
};

}  // namespace corebeacon::test
