/// Holds a process-wide object that is never destroyed. An engine may be a static object of its
/// host and then stops only while the process ends, and threads may outlive main(): whatever they
/// use until then must outlive every other static. The object stands in place rather than on the
/// heap, so that a host which unloads the library loses no memory.
///
///     T& TheOne() {
///         static Immortal<T> one;
///         return one.Get();
///     }
#pragma once

#include <cstddef>
#include <new>

namespace corebeacon {

template <typename T>
class Immortal {
public:
    Immortal() { ::new (static_cast<void*>(mStorage)) T; }
    Immortal(const Immortal&) = delete;
    Immortal& operator=(const Immortal&) = delete;

    T& Get() { return *std::launder(reinterpret_cast<T*>(mStorage)); }

private:
    alignas(T) std::byte mStorage[sizeof(T)];
};

}  // namespace corebeacon
