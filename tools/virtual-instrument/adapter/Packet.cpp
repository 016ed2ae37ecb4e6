#include "adapter/Packet.h"

#include "adapter/Commands.h"

namespace vi::adapter {

Bytes makePacket(std::uint8_t type, std::uint8_t cmd, ByteView payload) {
    Bytes packet;
    packet.reserve(kHeaderSize + payload.size());
    packet.push_back(type);
    packet.push_back(cmd);
    put16(packet, static_cast<std::uint32_t>(payload.size()));
    packet.insert(packet.end(), payload.begin(), payload.end());
    return packet;
}

std::string describe(std::string_view role, ByteView packet) {
    const PacketView view(packet);
    std::string text(role);
    text += " type=" + std::to_string(view.type()) + " cmd=" + std::to_string(view.cmd());
    text.append(" (").append(commandName(view.type(), view.cmd())).append(")");
    return text + " payload=" + std::to_string(view.payload().size());
}

void PacketCutter::receive(std::uint8_t byte, TimePoint now) {
    elapse(now);
    buffer_.push_back(byte);
    lastByte_ = now;
    if (buffer_.size() >= kHeaderSize && buffer_.size() == kHeaderSize + get16(buffer_, 2)) {
        packet_(std::exchange(buffer_, {}));
    }
}

void PacketCutter::elapse(TimePoint now) {
    const auto due = deadline();
    if (due && *due <= now) {
        stray_(std::exchange(buffer_, {}));
    }
}

std::optional<TimePoint> PacketCutter::deadline() const {
    return buffer_.empty() ? std::nullopt : std::optional(lastByte_ + kPatience);
}

}  // namespace vi::adapter
