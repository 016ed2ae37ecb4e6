#pragma once

#include <chrono>
#include <thread>

namespace cqtest {

/// How long a test waits for what must happen: it is over sooner, or the test has failed.
constexpr std::chrono::seconds kPatience{10};

/// Waits for something that no event tells of, and asks every two milliseconds.
/// \return false when it did not come true in time.
template <typename Condition>
bool waitUntil(Condition isTrue, std::chrono::milliseconds patience = kPatience) {
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
