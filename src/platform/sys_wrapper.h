/// The small layer through which the engine opens and writes kernel nodes: descriptors that stay
/// open between writes, one line in the log for each failure, and the retry for a device that went
/// away and came back. Stateless; a descriptor belongs to its caller, and any thread may call for
/// a descriptor of its own. Everything reaches the kernel through the NodeIo in force.
#pragma once

#include <atomic>
#include <cstddef>
#include <ctime>
#include <string>

namespace corebeacon::SysWrapper {

/// Opens `path` write-only and close-on-exec. Returns the descriptor, or a negative number and
/// errno; logs nothing.
int SysOpenWithWrOnly(const std::string& path);

/// Closes `fd` and sets it to -1; a negative one is left alone. Returns 0, or -1 and errno if the
/// kernel reported an error at closing (the descriptor is gone nevertheless).
int SysClose(int& fd);

/// Writes `value` as its 4 raw bytes in host byte order, for device nodes that take a binary
/// integer. Opens `path` first if `fd` is negative. Returns 0 with the descriptor open, or -1 with
/// `fd` negative and errno, which is 0 for a write that was cut short; the failure is logged.
/// `name` appears in messages only.
int SysOpenAndWriteUint(const std::string& name, const std::string& path, int value, int& fd);

/// Writes the bytes of `text`, without a terminator; otherwise as SysOpenAndWriteUint. A write that
/// fails with ENODEV is repeated once on a freshly opened descriptor.
int SysOpenAndWriteStr(const std::string& name, const std::string& path, const std::string& text,
                       int& fd);

/// ioctl(2) on a descriptor that the caller holds open: its result, -1 and errno on failure.
int SysIoctl(int fd, unsigned long request, void* argument);

/// Marks a point for the system tracer, if the host has bound one with BindSysTrace; never fails.
void SysTraceName(const std::string& name);

/// Whether a host has bound one. Kept apart from the tracer and its lock, since every trace point
/// looks at it. It is no promise: a marker that comes just after its binding has gone finds the
/// file closed.
extern std::atomic<bool> gSysTraceEnabled __attribute__((visibility("hidden")));

/// The same by one load; callers ask before they compose a name.
inline bool IsSysTraceEnabled() {
    return gSysTraceEnabled.load(std::memory_order_relaxed);
}

/// "month-day hour:minute:second" from the raw fields without padding; January is month 0.
std::string PutTime(const std::tm& time);

/// The text of an errno value, for a message: `ErrnoText(error).Text()`. Never allocates.
class ErrnoText {
public:
    explicit ErrnoText(int error) noexcept;
    ErrnoText(const ErrnoText&) = delete;
    ErrnoText& operator=(const ErrnoText&) = delete;

    /// Never null; valid as long as this object.
    const char* Text() const noexcept { return mText; }

private:
    static constexpr std::size_t kBufferSize = 50;
    char mBuffer[kBufferSize];
    const char* mText;  // into mBuffer, or a string of the C library's own
};

/// strerror_r comes in two kinds. The one that returns a pointer may have left `buffer` alone; the
/// one that returns a status has filled it, cut short if need be. Overloading takes either.
inline const char* StrerrorText(const char* result, const char* /*buffer*/) noexcept {
    return result;
}
inline const char* StrerrorText(int /*result*/, const char* buffer) noexcept {
    return buffer;
}

}  // namespace corebeacon::SysWrapper
