#include "CQCommProtocol/Crc16.h"

#include <array>
#include <cstddef>

namespace ovk {
namespace {

constexpr std::uint16_t kPolynomial = 0x1021;
constexpr std::uint16_t kInitialValue = 0xFFFF;

/// How many bytes a step takes at once.
constexpr std::size_t kSlices = 8;

using Table = std::array<std::uint16_t, 256>;

/// Table 0 advances the CRC by one byte; table k by that byte and k zero bytes after it. A step
/// then looks its eight bytes up side by side, where the plain method waits for each before the
/// next.
constexpr std::array<Table, kSlices> makeTables() {
    std::array<Table, kSlices> tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t crc = byte << 8;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc << 1) ^ ((crc & 0x8000) != 0 ? kPolynomial : 0U);
        }
        tables[0][byte] = static_cast<std::uint16_t>(crc);
    }
    for (std::size_t slice = 1; slice < kSlices; ++slice) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const std::uint16_t shorter = tables[slice - 1][byte];
            tables[slice][byte] =
                static_cast<std::uint16_t>((shorter << 8) ^ tables[0][shorter >> 8]);
        }
    }
    return tables;
}

constexpr auto kTables = makeTables();

}  // namespace

std::uint16_t crc16(std::span<const std::uint8_t> bytes) noexcept {
    std::uint32_t crc = kInitialValue;
    const std::uint8_t* at = bytes.data();
    std::size_t left = bytes.size();
    for (; left >= kSlices; left -= kSlices, at += kSlices) {
        crc = static_cast<std::uint32_t>(kTables[7][at[0] ^ (crc >> 8)]) ^
              kTables[6][at[1] ^ (crc & 0xFF)] ^ kTables[5][at[2]] ^ kTables[4][at[3]] ^
              kTables[3][at[4]] ^ kTables[2][at[5]] ^ kTables[1][at[6]] ^ kTables[0][at[7]];
    }
    for (; left > 0; --left, ++at) {
        crc = ((crc << 8) & 0xFFFF) ^ kTables[0][(crc >> 8) ^ *at];
    }
    return static_cast<std::uint16_t>(crc);
}

}  // namespace ovk
