#include "wired/Describe.h"

#include <array>
#include <cstdio>

#include "instrument/Instrument.h"
#include "wired/Commands.h"
#include "wired/Packet.h"

namespace vi::wired {
namespace {

template <typename... Values>
std::string format(const char* pattern, Values... values) {
    std::array<char, 160> text{};
    std::snprintf(text.data(), text.size(), pattern, values...);
    return text.data();
}

std::string describeError(std::uint32_t number) {
    return format("0x%04x (%s)", static_cast<unsigned>(number & 0xFFFF),
                  vi::describe(static_cast<Error>(number & 0xFFFF)));
}

std::string describeData(const PacketView& packet) {
    if (packet.flag() == kAbort) {
        return "abort " + describeError(packet.number());
    }
    std::string text = format("data sequence=%u %s", static_cast<unsigned>(packet.number()),
                              packet.flag() == kMore ? "more" : "last");
    if (!packet.hasPayload()) {
        return text + " no payload";
    }
    const ByteView payload = packet.payload();
    if (packet.number() == 0 && !payload.empty()) {
        text += format(" operation=0x%02x (%s)", static_cast<unsigned>(payload[0]),
                       operationName(payload[0]));
    }
    text += format(" payload=%u", static_cast<unsigned>(payload.size()));
    return packet.isIntact() ? text : text + " wrong CRC";
}

std::string describeAcknowledgement(const PacketView& packet) {
    const auto number = static_cast<unsigned>(packet.number());
    switch (packet.flag()) {
        case kAcknowledge:
            return format("acknowledgement next=%u", number);
        case kSendAgain:
            return format("send again sequence=%u", number);
        case kAbort:
            return "abort receiving " + describeError(number);
        default:
            return format("acknowledgement with flag 0x%02x", static_cast<unsigned>(packet.flag()));
    }
}

std::string describeBody(const PacketView& packet) {
    switch (packet.type()) {
        case kShakeHands:
            return isShakeHandsRequest(packet.bytes()) ? "shake-hands request"
                                                       : "wrong shake-hands request";
        case kShakeHandsAcknowledgement:
            return format("shake-hands acknowledgement largest packet=%u",
                          static_cast<unsigned>(get16(packet.bytes(), 5)));
        case kShakeHandsConfirmation:
            return "shake-hands confirmation";
        case kDisconnect:
            return "disconnect request";
        case kDisconnectAcknowledgement:
            return "disconnect acknowledgement";
        case kData:
            return describeData(packet);
        case kAcknowledgement:
            return describeAcknowledgement(packet);
        case kKeepAlive:
            return "keep-alive request";
        case kKeepAliveAnswer:
            return "keep-alive answer";
        default:
            return "unknown packet";
    }
}

}  // namespace

std::string describe(ByteView packet) {
    const PacketView view(packet);
    const std::string body = describeBody(view);
    return view.type() == kShakeHands
               ? body
               : format("session=%u ", static_cast<unsigned>(view.session())) + body;
}

}  // namespace vi::wired
