#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>

namespace ovk {

/// Reads an unsigned integer of T's width, least significant byte first.
template <std::unsigned_integral T>
constexpr T loadLittleEndian(const std::uint8_t* bytes) noexcept {
    T value = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i) {
        value = static_cast<T>(value | static_cast<T>(static_cast<T>(bytes[i]) << (8 * i)));
    }
    return value;
}

/// Writes an unsigned integer of T's width, least significant byte first.
template <std::unsigned_integral T>
constexpr void storeLittleEndian(std::uint8_t* bytes, T value) noexcept {
    for (std::size_t i = 0; i < sizeof(T); ++i) {
        bytes[i] = static_cast<std::uint8_t>(value >> (8 * i));
    }
}

}  // namespace ovk
