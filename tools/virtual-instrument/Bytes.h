#pragma once

#include <chrono>
#include <cstdint>
#include <span>
#include <vector>

namespace vi {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;
using TimePoint = std::chrono::steady_clock::time_point;

// Both protocols and the records are little-endian throughout.

inline void put16(Bytes& to, std::uint32_t value) {
    to.push_back(static_cast<std::uint8_t>(value));
    to.push_back(static_cast<std::uint8_t>(value >> 8));
}

inline void put32(Bytes& to, std::uint32_t value) {
    put16(to, value);
    put16(to, value >> 16);
}

/// \param offset the first of two bytes.
inline std::uint16_t get16(ByteView from, std::size_t offset) {
    return static_cast<std::uint16_t>(from[offset] | from[offset + 1] << 8);
}

/// \param offset the first of four bytes.
inline std::uint32_t get32(ByteView from, std::size_t offset) {
    return get16(from, offset) | std::uint32_t{get16(from, offset + 2)} << 16;
}

}  // namespace vi
