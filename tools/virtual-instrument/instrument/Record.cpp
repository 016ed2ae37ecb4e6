#include "instrument/Record.h"

#include <algorithm>
#include <bit>
#include <cassert>

namespace vi {
namespace {

constexpr std::uint32_t kMagic = 0x31524D56;  // "VMR1"
constexpr std::uint32_t kVersion = 1;

constexpr std::size_t kNameOffset = 16;
constexpr std::size_t kStandardNumberOffset = 40;
constexpr std::size_t kReflectanceOffset = 64;
constexpr std::size_t kChecksumOffset = 252;

/// CRC-32 as in ISO/IEC/IEEE 8802-3, clause 3.2.9, bit by bit: a record is short.
std::uint32_t crc32(ByteView bytes) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (const std::uint8_t byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1) != 0 ? crc >> 1 ^ 0xEDB88320 : crc >> 1;
        }
    }
    return ~crc;
}

void padTo(Bytes& bytes, std::size_t size) {
    assert(bytes.size() <= size);
    bytes.resize(size);
}

}  // namespace

Record encode(const Measured& measured) {
    Bytes bytes;
    put32(bytes, kMagic);
    put16(bytes, kVersion);
    bytes.push_back(static_cast<std::uint8_t>(measured.kind));
    bytes.push_back(measured.patch);
    put32(bytes, measured.number);
    put32(bytes, measured.time);
    const auto name = measured.name.substr(0, kStandardNumberOffset - kNameOffset - 1);
    bytes.insert(bytes.end(), name.begin(), name.end());
    padTo(bytes, kStandardNumberOffset);
    put32(bytes, measured.standardNumber);
    put16(bytes, kFirstWavelength);
    bytes.push_back(kWavelengthStep);
    bytes.push_back(kBandCount);
    padTo(bytes, kReflectanceOffset);
    for (const float value : measured.reflectance) {
        put32(bytes, std::bit_cast<std::uint32_t>(value));
    }
    padTo(bytes, kChecksumOffset);
    put32(bytes, crc32(bytes));

    Record record{};
    std::copy(bytes.begin(), bytes.end(), record.begin());
    return record;
}

}  // namespace vi
