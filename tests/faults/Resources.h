#pragma once

#include <cstddef>
#include <string>

namespace cqtest::faults {

/// What this process holds of the system. Blocks are those that came from operator new and have not
/// been given back, to the library too; built with a sanitizer they are not counted, because it has
/// an operator new of its own and looks for leaks itself.
struct Resources {
    std::ptrdiff_t threads;
    std::ptrdiff_t descriptors;
    std::ptrdiff_t blocks;

    static Resources now();
    /// Waits a second at most until just as much is held as in `before`: the system shows a thread
    /// for a moment after it was joined. What is held then is the result.
    static Resources settled(const Resources& before);

    friend bool operator==(const Resources&, const Resources&) = default;
};

std::string describe(const Resources& resources);

}  // namespace cqtest::faults
