#pragma once

#include <cstdint>

namespace cqbench {

/// How often this process has allocated memory so far, in the library and outside.
std::uint64_t allocations() noexcept;

}  // namespace cqbench
