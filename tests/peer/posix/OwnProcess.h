#pragma once

#include <cstddef>
#include <filesystem>
#include <iterator>

/// \file
/// What this process holds of the system.

namespace cqtest {

inline std::ptrdiff_t countEntries(const char* folder) {
    namespace fs = std::filesystem;
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

/// The system may show a thread for a moment after it was joined.
inline std::ptrdiff_t ownThreads() {
    return countEntries("/proc/self/task");
}

inline std::ptrdiff_t ownDescriptors() {
    return countEntries("/proc/self/fd");
}

}  // namespace cqtest
