#include "ble/CmdPacket.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "api/CommunicationException.h"
#include "api/LittleEndian.h"

namespace ovk::CQBleProtocol {
namespace {

constexpr std::size_t kLengthOffset = 2;

}  // namespace

CmdPacket::CmdPacket(std::uint8_t type, std::uint8_t cmd, std::span<const std::uint8_t> payload) {
    if (payload.size() > kMaxPayload) {
        throw std::length_error("the payload of a command packet has at most 65535 bytes");
    }
    bytes_.reserve(kHeaderSize + payload.size());
    bytes_.assign({type, cmd, 0, 0});
    storeLittleEndian(&bytes_[kLengthOffset], static_cast<std::uint16_t>(payload.size()));
    bytes_.insert(bytes_.end(), payload.begin(), payload.end());
}

CmdPacket::CmdPacket(std::vector<std::uint8_t> bytes) : bytes_(std::move(bytes)) {
    if (bytes_.size() < kHeaderSize || bytes_.size() != announcedSize(bytes_)) {
        throw std::invalid_argument("a command packet has 4 bytes and as many as its length says");
    }
}

std::size_t CmdPacket::announcedSize(std::span<const std::uint8_t> bytes) {
    return kHeaderSize + loadLittleEndian<std::uint16_t>(&bytes[kLengthOffset]);
}

bool CmdPacket::payloadIs(std::string_view text) const {
    return std::ranges::equal(payload(), text, {}, {},
                              [](char character) { return static_cast<std::uint8_t>(character); });
}

std::string CmdPacket::text() const {
    const auto data = payload();
    return std::string(data.begin(), std::ranges::find(data, std::uint8_t{0}));
}

void throwIfRefused(const CmdPacket& reply) {
    if (reply.payloadIs("FAIL")) {
        throw CommunicationException(CQ_EXECUTE_COMMAND_FAILED);
    }
    if (reply.payloadIs("INVAL")) {
        throw CommunicationException(CQ_INVALID_PARAMETER);
    }
}

}  // namespace ovk::CQBleProtocol
