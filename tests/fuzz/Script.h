#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <vector>

namespace ovk::fuzz {

using Bytes = std::vector<std::uint8_t>;
using BytesView = std::span<const std::uint8_t>;

/// Ends the program, which the fuzzer takes for a finding, unless the promise holds.
inline void require(bool holds, const char* promise) {
    if (!holds) {
        std::fprintf(stderr, "Broken promise: %s\n", promise);
        std::abort();
    }
}

/// Reads an input as a series of steps with arguments, from front to back, so that a cut-off or
/// changed end leaves what comes before it as it was. Past the end everything is 0 or empty.
class Script {
  public:
    explicit Script(BytesView bytes) : rest_(bytes) {}

    bool isAtEnd() const { return rest_.empty(); }

    std::uint8_t byte() {
        const auto taken = take(1);
        return taken.empty() ? std::uint8_t{0} : taken.front();
    }
    /// Least significant byte first, as are the next.
    std::uint16_t word() {
        const unsigned low = byte();
        return static_cast<std::uint16_t>(low | static_cast<unsigned>(byte()) << 8);
    }
    std::uint32_t doubleWord() {
        const std::uint32_t low = word();
        return low | static_cast<std::uint32_t>(word()) << 16;
    }
    /// So many bytes, or what is left.
    BytesView take(std::size_t count) {
        const auto taken = rest_.first(std::min(count, rest_.size()));
        rest_ = rest_.subspan(taken.size());
        return taken;
    }
    BytesView takeAll() { return take(rest_.size()); }

  private:
    BytesView rest_;
};

}  // namespace ovk::fuzz
