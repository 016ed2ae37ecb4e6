#include "ble/PacketAssembler.h"

#include <utility>

namespace ovk {

using CQBleProtocol::CmdPacket;

bool PacketAssembler::isOvergrown() const {
    return hasHeader() && gathered_.size() > CmdPacket::announcedSize(gathered_);
}

std::shared_ptr<const CmdPacket> PacketAssembler::feed(std::span<const std::uint8_t> bytes,
                                                       TimePoint now) {
    if (now - lastArrival_ >= kSilence) {
        gathered_.clear();
    }
    lastArrival_ = now;
    if (isOvergrown()) {
        return nullptr;  // and the memory stays bounded, however much noise comes
    }
    gathered_.insert(gathered_.end(), bytes.begin(), bytes.end());
    if (!hasHeader() || gathered_.size() != CmdPacket::announcedSize(gathered_)) {
        return nullptr;
    }
    return std::make_shared<const CmdPacket>(std::exchange(gathered_, {}));
}

}  // namespace ovk
