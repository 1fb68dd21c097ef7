/// The tests' one way to wait for another thread: a condition, awaited with a limit so generous
/// that only a hang reaches it.
#pragma once

#include <chrono>
#include <thread>

namespace corebeacon::test {

inline constexpr std::chrono::seconds kDeadline{60};

/// Whether `condition` came true before the deadline.
template <typename Condition>
bool Eventually(Condition condition, std::chrono::nanoseconds limit = kDeadline) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return condition();
        }
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return true;
}

}  // namespace corebeacon::test
