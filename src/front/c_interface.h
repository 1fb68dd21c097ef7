/// What the files of the C interface share: the engine behind the opaque pointer, the guard that
/// lets nothing throw, and the checks of arguments. Free functions; any thread.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "corebeacon/config_manager.h"
#include "corebeacon/corebeacon.h"
#include "platform/mutex.h"

struct corebeacon_engine {
    explicit corebeacon_engine(const corebeacon::HandleLimits& limits) : front(limits) {}

    corebeacon::ConfigManager front;
};

namespace corebeacon::c_interface {

/// Held while an engine is set up, since the compiled-in tables are the process's and are narrowed
/// in place, and while the node access is replaced or a trace bound or unbound through it.
Mutex& SetUpMutex();

/// How many engines of the C interface live.
std::size_t& LiveEngines() REQUIRES(SetUpMutex());

/// Tells the log what is wrong with the arguments of `operation`. Returns -1.
int BadArgument(const char* operation, const char* what) noexcept;

/// For a catch clause: tells the log what was thrown out of `operation`. Returns -1.
int Thrown(const char* operation) noexcept;

/// What `run` returns; -1 when it throws.
template <typename Run>
int Guarded(const char* operation, Run run) noexcept {
    try {
        return run();
    } catch (...) {
        return Thrown(operation);
    }
}

/// Whether `count` elements can be read at `array`.
inline bool IsArray(const void* array, std::size_t count) {
    return count == 0 || (array != nullptr && count <= COREBEACON_MAX_COUNT);
}

/// The same values, gathered by QoS and group, in the order in which they are told.
std::vector<PerfRequestInfo> ToRequest(const corebeacon_item* items, std::size_t count);

/// What a record that may grow looked like at first, and looks like now.
struct RecordSizes {
    std::size_t atFirst = 0;
    std::size_t now = 0;
};

/// Takes the record of `size` bytes that a caller passed, built with an older or a newer header
/// than this library: of the former, what it lacks stays as it is in `to`; the latter must not ask
/// for anything that is unknown here. False when it does not fit.
bool TakeRecord(const void* from, std::size_t size, const RecordSizes& sizes, void* to);

}  // namespace corebeacon::c_interface
