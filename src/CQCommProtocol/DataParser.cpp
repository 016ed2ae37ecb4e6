#include "CQCommProtocol/DataParser.h"

#include <algorithm>
#include <utility>

#include "api/DebugLog.h"
#include "api/LittleEndian.h"
#include "CQCommProtocol/WireFormat.h"

namespace ovk {
namespace {

/// The length of a packet of this type, of a data packet that of its header; 0 for no packet's
/// type.
std::size_t initialSize(std::uint8_t type) {
    switch (type) {
        case wire::kShakeHandsRequest:
            return wire::kShakeHandsRequestSize;
        case wire::kShakeHandsAcknowledgement:
            return wire::kShakeHandsAcknowledgementSize;
        case wire::kShakeHandsConfirmation:
        case wire::kDisconnectRequest:
        case wire::kDisconnectAcknowledgement:
        case wire::kKeepAliveRequest:
        case wire::kKeepAliveAnswer:
            return wire::kShortPacketSize;
        case wire::kData:
            return wire::kDataHeaderSize;
        case wire::kAcknowledgement:
            return wire::kAcknowledgementSize;
        default:
            return 0;
    }
}

}  // namespace

std::size_t DataParser::parse(std::span<const std::uint8_t> bytes, TimePoint now) {
    dropStale(now);
    std::size_t taken = 0;
    while (taken < bytes.size() && !isComplete()) {
        taken += step(bytes.subspan(taken));
    }
    lastCall_ = now;
    return taken;
}

void DataParser::dropStale(TimePoint now) {
    if (isComplete()) {
        clear();
    } else if (!packet_.empty() && now - lastCall_ > timeout_) {
        discardPacket();
        debuglog::write("[DataParser::parse] timeout, reset position");
    }
}

std::size_t DataParser::step(std::span<const std::uint8_t> bytes) {
    switch (state_) {
        case State::firstMark:
            return seekFirstMark(bytes);
        case State::secondMark:
            packet_.push_back(bytes.front());
            if (bytes.front() == wire::kToHostSecond) {
                state_ = State::type;
            } else {
                discardPacket();
            }
            return 1;
        case State::type:
            packet_.push_back(bytes.front());
            takeType(bytes.front());
            return 1;
        default:
            return fill(bytes);
    }
}

std::size_t DataParser::seekFirstMark(std::span<const std::uint8_t> bytes) {
    const auto mark = std::find(bytes.begin(), bytes.end(), wire::kToHostFirst);
    discarded_.insert(discarded_.end(), bytes.begin(), mark);
    if (mark == bytes.end()) {
        return bytes.size();
    }
    packet_.push_back(*mark);
    state_ = State::secondMark;
    return static_cast<std::size_t>(mark - bytes.begin()) + 1;
}

void DataParser::takeType(std::uint8_t type) {
    expectedSize_ = initialSize(type);
    if (expectedSize_ == 0) {
        discardPacket();
    } else {
        state_ = State::header;
    }
}

std::size_t DataParser::fill(std::span<const std::uint8_t> bytes) {
    const std::size_t count = std::min(bytes.size(), expectedSize_ - packet_.size());
    packet_.insert(packet_.end(), bytes.begin(),
                   bytes.begin() + static_cast<std::ptrdiff_t>(count));
    if (packet_.size() < expectedSize_) {
        return count;
    }
    const bool isDataHeader = state_ == State::header && packetType() == wire::kData;
    const std::uint16_t length =
        isDataHeader ? loadLittleEndian<std::uint16_t>(packet_.data() + wire::kLengthOffset)
                     : std::uint16_t{0};
    if (length != 0) {
        expectedSize_ = wire::kDataHeaderSize + length;
        packet_.reserve(expectedSize_);
        state_ = State::body;
    } else {
        state_ = State::complete;
    }
    return count;
}

std::uint8_t DataParser::packetType() const {
    return packet_.size() >= wire::kShortPacketSize ? packet_[wire::kTypeOffset] : std::uint8_t{0};
}

std::vector<std::uint8_t> DataParser::takeDiscarded() {
    return std::exchange(discarded_, {});
}

void DataParser::clear() {
    packet_.clear();
    discarded_.clear();
    state_ = State::firstMark;
}

void DataParser::discardPacket() {
    discarded_.insert(discarded_.end(), packet_.begin(), packet_.end());
    packet_.clear();
    state_ = State::firstMark;
}

}  // namespace ovk
