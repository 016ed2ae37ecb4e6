#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// \file
/// The wire as the tests write it down, worked out from docs/wired-protocol.md with none of the
/// library's code.

namespace ovk::test {

using Bytes = std::vector<std::uint8_t>;

/// Bytes from text such as "AA 55 A6".
inline Bytes hex(std::string_view text) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    Bytes bytes;
    for (std::size_t at = 0; at + 1 < text.size(); at += 3) {
        bytes.push_back(
            static_cast<std::uint8_t>(kDigits.find(text[at]) * 16 + kDigits.find(text[at + 1])));
    }
    return bytes;
}

/// Text such as "AA 55 A6" from bytes.
inline std::string hexText(std::span<const std::uint8_t> bytes) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += text.empty() ? "" : " ";
        text += kDigits[byte / 16];
        text += kDigits[byte % 16];
    }
    return text;
}

inline Bytes joined(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

/// `size` bytes that repeat only after 251.
inline Bytes pattern(std::size_t size, std::size_t first = 0) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<std::uint8_t>((first + i) * 7 % 251);
    }
    return bytes;
}

/// CRC-16/CCITT-FALSE by its definition, bit by bit.
inline std::uint16_t crcByBits(std::span<const std::uint8_t> bytes) {
    std::uint32_t crc = 0xFFFF;
    for (const std::uint8_t byte : bytes) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            const bool in = (byte << bit & 0x80) != 0;
            const bool out = (crc & 0x8000) != 0;
            crc = (crc << 1 & 0xFFFF) ^ (in != out ? 0x1021U : 0U);
        }
    }
    return static_cast<std::uint16_t>(crc);
}

inline void append(Bytes& bytes, std::uint32_t value, int width) {
    for (int i = 0; i < width; ++i) {
        bytes.push_back(static_cast<std::uint8_t>(value >> 8 * i));
    }
}

constexpr std::uint8_t kSession = 7;
constexpr std::uint8_t kLast = 0x00;
constexpr std::uint8_t kMore = 0x40;
constexpr std::uint8_t kRetransmit = 0x80;
constexpr std::uint8_t kAbort = 0xFF;

/// A data packet from the instrument, or with its marks the other way round from the host.
inline Bytes dataPacket(std::uint32_t sequence, std::uint8_t flag,
                        std::span<const std::uint8_t> payload, std::string_view marks = "AA 55") {
    Bytes packet = hex(marks);
    packet.insert(packet.end(), {0xA6, kSession});
    append(packet, sequence, 3);
    packet.push_back(flag);
    append(packet, static_cast<std::uint32_t>(payload.size()) + 2, 2);
    packet.insert(packet.end(), payload.begin(), payload.end());
    append(packet, crcByBits(payload), 2);
    return packet;
}

/// The instrument's answer to a data packet, or with its marks the other way round the host's.
inline Bytes acknowledgement(std::uint8_t flag, std::uint32_t number,
                             std::uint8_t session = kSession, std::string_view marks = "AA 55") {
    Bytes packet = hex(marks);
    packet.insert(packet.end(), {0xA7, session});
    append(packet, number, 3);
    packet.push_back(flag);
    return packet;
}

/// The instrument's answer to a request for a session.
inline Bytes sessionOffer(std::uint8_t session, std::uint16_t maxPacket) {
    Bytes packet{0xAA, 0x55, 0xA2, session, 0};
    append(packet, maxPacket, 2);
    packet.resize(13);
    return packet;
}

}  // namespace ovk::test
