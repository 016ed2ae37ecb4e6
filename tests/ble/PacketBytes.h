#pragma once

#include <cstdint>
#include <string>

#include "CQCommProtocol/WireBytes.h"

/// \file
/// The wireless protocol's bytes as the tests write them down, with none of the library's code.

namespace ovk::bletest {

inline std::string toText(const test::Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

/// A 32-bit number as it lies in a payload.
inline std::string u32(std::uint32_t value) {
    test::Bytes bytes;
    test::append(bytes, value, 4);
    return toText(bytes);
}

/// A command packet. Payloads of 65535 bytes at most.
inline std::string packetBytes(int type, int cmd, const std::string& payload = {}) {
    test::Bytes header{static_cast<std::uint8_t>(type), static_cast<std::uint8_t>(cmd)};
    test::append(header, static_cast<std::uint32_t>(payload.size()), 2);
    return toText(header) + payload;
}

/// `size` characters that differ from their neighbours, other ones for another seed.
inline std::string pattern(std::size_t size, std::size_t seed = 0) {
    return toText(test::pattern(size, seed));
}

inline test::Bytes toBytes(const std::string& text) {
    return {text.begin(), text.end()};
}

}  // namespace ovk::bletest
