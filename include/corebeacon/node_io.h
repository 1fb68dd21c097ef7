/// The engine's only way to the kernel. Every access to a sysfs, procfs or device node passes
/// through the one NodeIo in force, so that a host, a simulator or a test can stand in for the
/// kernel. Owned by whoever installs it; called from callers' threads during set-up and from every
/// worker thread afterwards, several at once, so an implementation must be thread-safe.
#pragma once

#include <sys/types.h>

#include <cstddef>

#include "corebeacon/export.h"

namespace corebeacon {

/// Each operation behaves as the POSIX call of its name: -1 and errno on failure.
class COREBEACON_API NodeIo {
public:
    virtual ~NodeIo();

    /// `flags` are those of open(2); the engine always adds O_CLOEXEC.
    virtual int Open(const char* path, int flags) = 0;
    virtual ssize_t Read(int fd, void* buffer, std::size_t size) = 0;
    virtual ssize_t Write(int fd, const void* data, std::size_t size) = 0;
    virtual int Close(int fd) = 0;
    /// `argument` points to the bytes that the request number's size field tells.
    virtual int Ioctl(int fd, unsigned long request, void* argument) = 0;
};

/// Puts `replacement` in force; null restores the POSIX default. Call it before
/// GetPerfQosConfigMap() and ConfigManager::Init, and only while no engine is running and no trace
/// bound: descriptors opened through one implementation are closed through the one then in force.
COREBEACON_API void SetNodeIo(NodeIo* replacement);

/// The implementation in force.
COREBEACON_API NodeIo& GetNodeIo();

}  // namespace corebeacon
