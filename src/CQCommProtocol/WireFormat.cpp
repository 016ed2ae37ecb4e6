#include "CQCommProtocol/WireFormat.h"

#include "api/LittleEndian.h"

namespace ovk::wire {

std::array<std::uint8_t, kShortPacketSize> shortPacket(PacketType type, std::uint8_t session) {
    return {kToInstrumentFirst, kToInstrumentSecond, type, session};
}

std::array<std::uint8_t, kAcknowledgementSize> acknowledgementPacket(std::uint8_t session,
                                                                     std::uint32_t controlWord) {
    std::array<std::uint8_t, kAcknowledgementSize> packet{kToInstrumentFirst, kToInstrumentSecond,
                                                          kAcknowledgement, session};
    storeLittleEndian(packet.data() + kControlOffset, controlWord);
    return packet;
}

std::array<std::uint8_t, kDataHeaderSize> abortPacket(std::uint8_t session, std::uint16_t error) {
    std::array<std::uint8_t, kDataHeaderSize> packet{kToInstrumentFirst, kToInstrumentSecond, kData,
                                                     session};
    storeLittleEndian(packet.data() + kControlOffset, controlWord(kFlagAbort, error));
    return packet;
}

}  // namespace ovk::wire
