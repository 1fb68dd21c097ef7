/// Handles: the numbers by which callers later release what they asked for. Plain values of the
/// caller's own type; only CommandManager issues new ones, in ascending order and never twice.
#pragma once

namespace corebeacon {

static_assert(sizeof(unsigned long) == 8, "a handle is a 64-bit number");

/// A command that holds no handle, and the base item that every group keeps.
inline constexpr unsigned long kNoHandle = ~0UL;

/// What the allocator answers when it has no handle to give.
inline constexpr unsigned long kInvalidHandle = static_cast<unsigned long>(-11L);

/// The greatest number that can name a request; all above are reserved.
inline constexpr unsigned long kMaxValidHandle = kInvalidHandle - 1;

}  // namespace corebeacon
