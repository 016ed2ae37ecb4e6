#include "log/WiredPacket.h"

#include <array>
#include <utility>

namespace cqtool {
namespace {

constexpr std::size_t kHeaderSize = 10;  // of a data packet
constexpr std::size_t kLengthOffset = 8;
constexpr std::size_t kCrcSize = 2;

struct PacketType {
    std::uint8_t type;
    std::size_t length;  ///< of a data packet, without the bytes that its length field counts
    const char* name;
};

constexpr PacketType kTypes[] = {
    {0xA1, 9, "shake-hands request"},
    {0xA2, 13, "shake-hands acknowledgement"},
    {0xA3, 4, "shake-hands confirmation"},
    {0xA4, 4, "disconnect request"},
    {0xA5, 4, "disconnect acknowledgement"},
    {kDataType, kHeaderSize, "data"},
    {kAcknowledgementType, 8, "acknowledgement"},
    {0xA8, 4, "keep-alive request"},
    {0xA9, 4, "keep-alive answer"},
};

constexpr std::pair<std::uint8_t, const char*> kOperations[] = {
    {0x21, "device information"},
    {0x22, "instrument status"},
    {0x23, "measure a standard"},
    {0x24, "measure a trial"},
    {0x25, "calibrate"},
    {0x26, "read the white-board parameter"},
    {0x27, "write the white-board parameter"},
    {0x2A, "number of stored standards"},
    {0x2B, "number of stored samples"},
    {0x2C, "read stored standards"},
    {0x2D, "read stored samples"},
    {0x2E, "write standards"},
    {0x35, "delete a standard or all records"},
    {0x36, "delete a sample"},
    {0xB3, "read a measurement parameter"},
    {0xB4, "write a measurement parameter"},
};

struct WirelessCommand {
    int type;
    int command;
    const char* name;
};

constexpr WirelessCommand kWirelessCommands[] = {
    {1, 1, "hello"},
    {1, 2, "goodbye"},
    {1, 3, "calibrate"},
    {1, 4, "measure"},
    {1, 5, "sample count"},
    {1, 6, "read standard"},
    {1, 7, "read sample"},
    {1, 8, "write standard"},
    {1, 9, "delete standard"},
    {1, 10, "delete sample"},
    {2, 1, "standards total"},
    {2, 13, "read white-board parameter"},
    {2, 23, "write white-board text"},
    {2, 24, "write white-board parameter"},
};

constexpr bool isStatusItem(int command) {
    return command == 0 || (command >= 14 && command <= 20);
}

constexpr bool isTextItem(int command) {
    return command == 3 || command == 4 || command == 6 || command == 7 || command == 11 ||
           command == 12;
}

const PacketType* packetType(std::uint8_t type) {
    for (const PacketType& known : kTypes) {
        if (known.type == type) {
            return &known;
        }
    }
    return nullptr;
}

std::size_t lengthField(std::span<const std::uint8_t> bytes) {
    return bytes[kLengthOffset] | static_cast<std::size_t>(bytes[kLengthOffset + 1]) << 8;
}

/// CRC-16/CCITT-FALSE.
std::uint16_t crcOf(std::span<const std::uint8_t> bytes) {
    std::uint32_t crc = 0xFFFF;
    for (const std::uint8_t byte : bytes) {
        crc ^= static_cast<std::uint32_t>(byte) << 8;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 0x8000) != 0 ? (crc << 1) ^ 0x1021 : crc << 1;
        }
    }
    return static_cast<std::uint16_t>(crc);
}

}  // namespace

std::uint32_t WiredPacket::sequence() const {
    return bytes[4] | static_cast<std::uint32_t>(bytes[5]) << 8 |
           static_cast<std::uint32_t>(bytes[6]) << 16;
}

std::span<const std::uint8_t> WiredPacket::payload() const {
    const std::size_t length = lengthField(bytes);
    return std::span(bytes).subspan(kHeaderSize, length < kCrcSize ? 0 : length - kCrcSize);
}

bool WiredPacket::hasValidCrc() const {
    const std::size_t length = lengthField(bytes);
    if (length < kCrcSize) {
        return false;
    }
    const std::size_t place = kHeaderSize + length - kCrcSize;
    return (bytes[place] | bytes[place + 1] << 8) == crcOf(payload());
}

std::string wiredPacketName(std::uint8_t type) {
    const PacketType* known = packetType(type);
    return known == nullptr ? std::string() : known->name;
}

std::string wiredOperationName(std::uint8_t operation) {
    for (const auto& [code, name] : kOperations) {
        if (code == operation) {
            return name;
        }
    }
    return {};
}

std::string wirelessCommandName(int type, int command) {
    for (const WirelessCommand& known : kWirelessCommands) {
        if (known.type == type && known.command == command) {
            return known.name;
        }
    }
    if (type == 2 && isStatusItem(command)) {
        return "status item " + std::to_string(command);
    }
    return type == 2 && isTextItem(command) ? "text " + std::to_string(command) : std::string();
}

void WiredPacketFinder::append(std::span<const std::uint8_t> bytes) {
    buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
}

std::optional<std::size_t> WiredPacketFinder::lengthAtFront() const {
    static constexpr std::array<std::uint8_t, 2> kToHost{0xAA, 0x55};
    static constexpr std::array<std::uint8_t, 2> kToInstrument{0x55, 0xAA};
    const auto& marks = direction_ == Direction::toHost ? kToHost : kToInstrument;
    for (std::size_t i = 0; i < marks.size(); ++i) {
        if (i == buffer_.size()) {
            return std::nullopt;
        }
        if (buffer_[i] != marks[i]) {
            return 0;
        }
    }
    if (buffer_.size() == marks.size()) {
        return std::nullopt;
    }
    const PacketType* type = packetType(buffer_[marks.size()]);
    if (type == nullptr) {
        return 0;
    }
    if (type->type != kDataType) {
        return type->length;
    }
    return buffer_.size() < kHeaderSize ? std::nullopt
                                        : std::optional(kHeaderSize + lengthField(buffer_));
}

std::optional<WiredPacket> WiredPacketFinder::take() {
    auto length = lengthAtFront();
    std::size_t skipped = 0;
    while (length == std::size_t{0}) {
        ++skipped;
        buffer_.erase(buffer_.begin());
        length = lengthAtFront();
    }
    skipped_ += skipped;
    if (!length || buffer_.size() < *length) {
        return std::nullopt;
    }
    const auto end = buffer_.begin() + static_cast<std::ptrdiff_t>(*length);
    WiredPacket packet{{buffer_.begin(), end}};
    buffer_.erase(buffer_.begin(), end);
    return packet;
}

std::size_t WiredPacketFinder::takeSkipped() {
    return std::exchange(skipped_, 0);
}

}  // namespace cqtool
