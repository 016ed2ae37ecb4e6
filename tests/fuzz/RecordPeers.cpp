#include "fuzz/RecordPeers.h"

#include <array>
#include <string_view>
#include <utility>

#include "protocol/WireBytes.h"

namespace ovk::fuzz {
namespace {

constexpr std::uint8_t kWiredSession = 9;
constexpr std::size_t kMeasurementSize = 256;

void append(Bytes& bytes, const Bytes& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

std::uint32_t doubleWordAt(const Bytes& bytes, std::size_t place) {
    Script script(BytesView(bytes).subspan(place));
    return script.doubleWord();
}

/// A transfer from the instrument, all its packets at once.
Bytes transfer(std::uint8_t operation, const Bytes& data, std::size_t packetSize) {
    Bytes content{operation};
    append(content, data);
    Bytes packets;
    std::uint32_t number = 0;
    for (Script rest(content); !rest.isAtEnd(); ++number) {
        const auto payload = rest.take(packetSize);
        append(packets,
               test::dataPacket(number, rest.isAtEnd() ? test::kLast : test::kMore, payload));
    }
    return packets;
}

/// Whether a transfer of the instrument's follows; other operations end with the acknowledgement.
bool isAnswered(std::uint8_t operation) {
    static constexpr std::array kAcknowledged{0x25, 0x27, 0x2E, 0x35, 0x36, 0xB4};
    return std::ranges::find(kAcknowledged, operation) == kAcknowledged.end();
}

std::size_t rightWiredSize(const Bytes& request) {
    switch (request[0]) {
        case 0x21:
            return 136;
        case 0x22:
            return 20;
        case 0x26:
            return 280;
        case 0x2A:
        case 0x2B:
            return 4;
        case 0x2C:
        case 0x2D:
            return kMeasurementSize * doubleWordAt(request, 5);
        case 0xB3:
            return 1;
        default:
            return kMeasurementSize;
    }
}

Bytes bytesOf(std::string_view text) {
    return Bytes(text.begin(), text.end());
}

Bytes rightWirelessReply(std::uint8_t type, std::uint8_t command, const ReplyPlan& plan) {
    if (type == 1) {
        switch (command) {
            case 4:
            case 6:
            case 7:
                return plan.reply(kMeasurementSize);
            case 5:
                return plan.reply(4);
            default:
                return bytesOf("OK");
        }
    }
    switch (command) {
        case 1:
            return plan.reply(4);
        case 13:
            return plan.reply(248);
        case 3:
        case 4:
        case 6:
        case 7:
        case 11:
        case 12:
            return plan.content.empty() ? bytesOf("CQ-100") : plan.content;
        case 23:
        case 24:
            return bytesOf("OK");
        default:
            return plan.reply(1);
    }
}

}  // namespace

ReplyPlan ReplyPlan::read(Script& script) {
    ReplyPlan plan;
    if (script.isAtEnd()) {
        return plan;
    }
    const std::uint8_t how = script.byte();
    plan.kind = static_cast<Kind>(how & 3U);
    plan.packetChoice = static_cast<std::uint8_t>(how >> 5);
    if (plan.kind != Kind::right) {
        plan.number = script.word();
    }
    if ((how & 4U) != 0) {
        const auto content = script.take(script.byte());
        plan.content.assign(content.begin(), content.end());
    }
    plan.hasMeasurement = (how & 8U) != 0;
    if (plan.hasMeasurement) {
        plan.measurementSize = script.word();
    }
    return plan;
}

std::size_t ReplyPlan::packetSize() const {
    static constexpr std::array<std::size_t, 8> kSizes{52, 16, 53, 244, 1012, 4084, 20000, 65533};
    return kSizes[packetChoice];
}

Bytes ReplyPlan::reply(std::size_t size) const {
    if (content.empty()) {
        return test::pattern(size);
    }
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = content[i % content.size()];
    }
    return bytes;
}

Bytes WiredPeer::answer(BytesView written) {
    switch (written[2]) {
        case 0xA1:
            return test::sessionOffer(kWiredSession, maxPacket_);
        case 0xA4:
            return {0xAA, 0x55, 0xA5, kWiredSession};
        case 0xA6:
            return answerData(written);
        default:
            return {};
    }
}

Bytes WiredPeer::answerData(BytesView packet) {
    const std::uint32_t number = packet[4] + 256U * packet[5] + 65536U * packet[6];
    if (number == 0) {
        request_.clear();
    }
    request_.insert(request_.end(), packet.begin() + 10, packet.end() - 2);
    return packet[7] == test::kMore ? test::acknowledgement(test::kLast, number + 1)
                                    : answerTransfer(number + 1);
}

Bytes WiredPeer::answerTransfer(std::uint32_t nextNumber) {
    Exchange exchange{request_, ReplyPlan::read(script_), {}};
    const ReplyPlan& plan = exchange.plan;
    const std::uint8_t operation = request_[0];
    if (plan.kind == ReplyPlan::Kind::rejected) {
        exchanges_.push_back(exchange);
        return test::acknowledgement(test::kAbort, plan.number);
    }
    Bytes bytes = test::acknowledgement(test::kLast, nextNumber);
    if (isAnswered(operation)) {
        if (plan.hasMeasurement) {
            const std::uint8_t other = operation == 0x23 ? 0x24 : 0x23;
            const Bytes measurement = test::pattern(plan.measurementSize, 1);
            append(bytes, transfer(other, measurement, plan.packetSize()));
            if (measurement.size() == kMeasurementSize) {
                measurements_.push_back(measurement);
            }
        }
        if (plan.kind == ReplyPlan::Kind::refused) {
            append(bytes, test::dataPacket(plan.number, test::kAbort, {}));
        } else {
            exchange.reply = replyTo(exchange);
            append(bytes, transfer(operation, exchange.reply, plan.packetSize()));
        }
    }
    exchanges_.push_back(exchange);
    return bytes;
}

Bytes WiredPeer::replyTo(const Exchange& exchange) const {
    const bool isRight = exchange.plan.kind == ReplyPlan::Kind::right;
    Bytes reply =
        exchange.plan.reply(isRight ? rightWiredSize(exchange.request) : exchange.plan.number);
    const bool isTotal = exchange.request[0] == 0x2A || exchange.request[0] == 0x2B;
    if (isTotal && reply.size() == 4 && doubleWordAt(reply, 0) > mostTotal) {
        reply.clear();
        test::append(reply, mostTotal, 4);
    }
    return reply;
}

std::vector<Bytes> WiredPeer::takeMeasurements() {
    return std::exchange(measurements_, {});
}

Bytes WirelessPeer::answer(BytesView written) {
    require(written.size() >= 4 && written.size() == 4U + written[2] + 256U * written[3],
            "a command packet is as long as it says");
    Exchange exchange{{written[0], written[1]}, ReplyPlan::read(script_), {}};
    exchange.request.insert(exchange.request.end(), written.begin() + 4, written.end());
    const ReplyPlan& plan = exchange.plan;
    switch (plan.kind) {
        case ReplyPlan::Kind::right:
            exchange.reply = rightWirelessReply(written[0], written[1], plan);
            break;
        case ReplyPlan::Kind::sized:
            exchange.reply = plan.reply(plan.number);
            break;
        case ReplyPlan::Kind::refused:
            exchange.reply = bytesOf("FAIL");
            break;
        case ReplyPlan::Kind::rejected:
            exchange.reply = bytesOf("INVAL");
            break;
    }
    Bytes packet{written[0], written[1]};
    test::append(packet, static_cast<std::uint32_t>(exchange.reply.size()), 2);
    append(packet, exchange.reply);
    exchanges_.push_back(std::move(exchange));
    return packet;
}

}  // namespace ovk::fuzz
