#pragma once

#include <chrono>
#include <thread>

namespace cqtest {

/// Waits for something that no event tells of, and asks every two milliseconds.
/// \return false when it did not come true in time.
template <typename Condition>
bool waitUntil(Condition isTrue, std::chrono::milliseconds patience = std::chrono::seconds(10)) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!isTrue()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

}  // namespace cqtest
