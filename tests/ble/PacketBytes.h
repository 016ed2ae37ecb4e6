#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// \file
/// The wireless protocol's bytes as the tests write them down, with none of the library's code.

namespace ovk::bletest {

/// A command packet. Payloads of 65535 bytes at most.
inline std::string packetBytes(int type, int cmd, const std::string& payload = {}) {
    std::string bytes;
    for (const std::size_t value : {static_cast<std::size_t>(type), static_cast<std::size_t>(cmd),
                                    payload.size() % 256, payload.size() / 256}) {
        bytes += static_cast<char>(value);
    }
    return bytes + payload;
}

/// A 32-bit number as it lies in a payload.
inline std::string u32(std::uint32_t value) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>(value >> shift & 0xFF);
    }
    return bytes;
}

/// `size` characters that differ from their neighbours, other ones for another seed.
inline std::string pattern(std::size_t size, int seed = 0) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>((i * 7 + static_cast<std::size_t>(seed)) % 251);
    }
    return bytes;
}

inline std::vector<std::uint8_t> toBytes(const std::string& text) {
    return {text.begin(), text.end()};
}

}  // namespace ovk::bletest
