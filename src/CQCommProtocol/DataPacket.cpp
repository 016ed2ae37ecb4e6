#include "CQCommProtocol/DataPacket.h"

#include <algorithm>

#include "CQCommProtocol/Crc16.h"

namespace ovk {

DataPacket::DataPacket(std::uint8_t session, std::uint32_t sequence, bool isLast,
                       std::span<const std::uint8_t> payload)
    : bytes_(wire::kDataOverhead + payload.size()) {
    const std::uint8_t flag = isLast ? wire::kFlagLast : wire::kFlagMore;
    bytes_[0] = wire::kToInstrumentFirst;
    bytes_[1] = wire::kToInstrumentSecond;
    bytes_[wire::kTypeOffset] = wire::kData;
    bytes_[wire::kSessionOffset] = session;
    storeLittleEndian(bytes_.data() + wire::kControlOffset, wire::controlWord(flag, sequence));
    storeLittleEndian(bytes_.data() + wire::kLengthOffset,
                      static_cast<std::uint16_t>(payload.size() + wire::kCrcSize));
    std::copy(payload.begin(), payload.end(), bytes_.begin() + wire::kPayloadOffset);
    storeLittleEndian(bytes_.data() + wire::kPayloadOffset + payload.size(), crc16(payload));
}

bool DataPacketView::hasValidCrc() const {
    const auto content = payload();
    const auto* stored = bytes_.data() + wire::kPayloadOffset + content.size();
    return loadLittleEndian<std::uint16_t>(stored) == crc16(content);
}

}  // namespace ovk
