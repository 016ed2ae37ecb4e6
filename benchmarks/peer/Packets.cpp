#include "peer/Packets.h"

#include <algorithm>
#include <stdexcept>

#include "api/LittleEndian.h"
#include "CQCommProtocol/DataPacket.h"
#include "CQCommProtocol/WireFormat.h"

namespace cqbench {
namespace {

namespace wire = ovk::wire;

void setMarks(Sender sender, Bytes& packet) {
    const bool isHost = sender == Sender::host;
    packet[0] = isHost ? wire::kToInstrumentFirst : wire::kToHostFirst;
    packet[1] = isHost ? wire::kToInstrumentSecond : wire::kToHostSecond;
}

}  // namespace

Train makeTrain(Sender sender, std::size_t maxPacket, std::uint8_t operation, ByteView data) {
    Bytes transfer{operation};
    transfer.insert(transfer.end(), data.begin(), data.end());
    const std::size_t chunkSize = maxPacket - wire::kDataOverhead;
    Train train;
    for (ByteView rest(transfer); !rest.empty();) {
        const auto chunk = rest.first(std::min(chunkSize, rest.size()));
        rest = rest.subspan(chunk.size());
        const ovk::DataPacket packet(kSession, static_cast<std::uint32_t>(train.size()),
                                     rest.empty(), chunk);
        train.emplace_back(packet.bytes().begin(), packet.bytes().end());
        setMarks(sender, train.back());
    }
    return train;
}

Bytes acknowledgement(Sender sender, std::uint32_t nextSequence) {
    const auto packet = wire::acknowledgementPacket(
        kSession, wire::controlWord(wire::kFlagAcknowledge, nextSequence));
    Bytes bytes(packet.begin(), packet.end());
    setMarks(sender, bytes);
    return bytes;
}

void setSequence(Bytes& acknowledgement, std::uint32_t nextSequence) {
    ovk::storeLittleEndian(acknowledgement.data() + wire::kControlOffset, nextSequence);
}

Bytes shakeHandsAcknowledgement(std::uint16_t maxPacket) {
    Bytes packet(wire::kShakeHandsAcknowledgementSize);
    setMarks(Sender::instrument, packet);
    packet[wire::kTypeOffset] = wire::kShakeHandsAcknowledgement;
    packet[wire::kSessionOffset] = kSession;
    ovk::storeLittleEndian(packet.data() + wire::kMaxPacketOffset, maxPacket);
    return packet;
}

std::size_t packetSize(ByteView bytes) {
    if (bytes.size() < wire::kShortPacketSize) {
        return 0;
    }
    switch (bytes[wire::kTypeOffset]) {
        case wire::kShakeHandsRequest:
            return wire::kShakeHandsRequestSize;
        case wire::kAcknowledgement:
            return wire::kAcknowledgementSize;
        case wire::kData:
            return bytes.size() < wire::kDataHeaderSize
                       ? 0
                       : wire::kDataHeaderSize + ovk::loadLittleEndian<std::uint16_t>(
                                                     bytes.data() + wire::kLengthOffset);
        default:
            return wire::kShortPacketSize;
    }
}

Bytes rangePayload(std::uint32_t first, std::uint32_t count) {
    Bytes payload(2 * sizeof first);
    ovk::storeLittleEndian(payload.data(), first);
    ovk::storeLittleEndian(payload.data() + sizeof first, count);
    return payload;
}

}  // namespace cqbench
