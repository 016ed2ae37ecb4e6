#pragma once

#include <cstdint>
#include <span>

namespace ovk {

/// CRC-16/CCITT-FALSE: polynomial 0x1021, initial value 0xFFFF, most significant bit first, no
/// final XOR. Of "123456789" it is 0x29B1, of nothing 0xFFFF.
std::uint16_t crc16(std::span<const std::uint8_t> bytes) noexcept;

}  // namespace ovk
