#pragma once

#include <cstddef>
#include <thread>
#include <vector>

namespace cqtest {

/// Calls work(0) to work(count - 1) at once, each in a thread of its own, and waits for them.
template <typename Work>
void atOnce(std::size_t count, const Work& work) {
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < count; ++i) {
        threads.emplace_back([&work, i] { work(i); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace cqtest
