// How LogDecoder describes the packets of a wired line.

#include <cstdio>
#include <span>

#include "log/LogDecoder.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr std::size_t kMostShownData = 16;  // bytes
constexpr std::size_t kBareSize = 3;        // of a packet of which only the type is known

std::string hexByte(std::uint8_t byte) {
    char text[3];
    std::snprintf(text, sizeof text, "%02X", byte);
    return text;
}

std::string operationText(std::uint8_t operation) {
    const std::string name = wiredOperationName(operation);
    return hexByte(operation) + " " + (name.empty() ? "(not known)" : name);
}

std::string bytesText(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " byte" : " bytes");
}

void describeAcknowledgement(LogEvent& event, const WiredPacket& packet) {
    event.fields["sequence"] = packet.sequence();
    switch (packet.flag()) {
        case kAgainFlag:
            event.text += "  asks for #" + std::to_string(packet.sequence()) + " again";
            event.fields["flag"] = "again";
            event.isProblem = true;
            break;
        case kAbortFlag:
            event.text += "  aborts, error " + std::to_string(packet.sequence());
            event.fields["flag"] = "abort";
            event.isProblem = true;
            break;
        default:
            event.text += "  next is #" + std::to_string(packet.sequence());
            event.fields["flag"] = "acknowledge";
    }
}

void describeShakeHands(LogEvent& event, const WiredPacket& packet) {
    const unsigned size = packet.bytes[5] | static_cast<unsigned>(packet.bytes[6]) << 8;
    const bool isAccepted = packet.session() != 0 && packet.session() != 0xFF;
    event.isProblem = !isAccepted;
    event.text += isAccepted ? "  session " + std::to_string(packet.session()) +
                                   ", packets up to " + bytesText(size)
                             : "  refuses a session";
    event.fields["largestPacket"] = size;
}

}  // namespace

void LogDecoder::addWired(LogEvent::Direction direction, const WiredPacket& packet) {
    const std::string name = wiredPacketName(packet.type());
    LogEvent& event = add(direction, LogEvent::Layer::wired,
                          hexByte(packet.type()) + " " + (name.empty() ? "(not known)" : name));
    event.fields = {{"packet", hexByte(packet.type())}, {"name", name}};
    withoutBytes_.reset();
    if (packet.bytes.size() == kBareSize) {
        event.text += "  (its bytes are not in the log)";
        return;
    }
    event.fields["session"] = packet.session();
    switch (packet.type()) {
        case kDataType:
            describeData(event, direction == LogEvent::Direction::sent ? sending_ : receiving_,
                         packet);
            break;
        case kAcknowledgementType:
            describeAcknowledgement(event, packet);
            break;
        case kShakeHandsAcknowledgementType:
            describeShakeHands(event, packet);
            break;
        default:
            event.text += "  session " + std::to_string(packet.session());
    }
    event.fields["bytes"] = hexText(packet.bytes.data(), packet.bytes.size());
}

void LogDecoder::describeData(LogEvent& event, Transfer& transfer, const WiredPacket& packet) {
    if (packet.flag() == kAbortFlag) {
        event.text += "  aborts, error " + std::to_string(packet.sequence());
        event.fields["error"] = packet.sequence();
        event.isProblem = true;
        transfer = {};
        return;
    }
    std::span<const std::uint8_t> data = packet.payload();
    if (packet.sequence() == 0) {
        transfer = {data.empty() ? std::uint8_t{0} : data.front(), 0, 0};
        data = data.subspan(data.empty() ? 0 : 1);
    }
    if (packet.hasValidCrc() && packet.sequence() == transfer.next) {
        transfer.size += data.size();
        ++transfer.next;
    }
    const bool isLast = packet.flag() != kMoreFlag;
    event.text +=
        "  #" + std::to_string(packet.sequence()) + "  " +
        (transfer.operation ? operationText(*transfer.operation) : "of an earlier transfer") +
        ", " + bytesText(data.size());
    if (!data.empty() && data.size() <= kMostShownData) {
        event.text += " (" + hexText(data.data(), data.size()) + ")";
    }
    event.text += !isLast                       ? ", more follow"
                  : transfer.size > data.size() ? ", last of " + bytesText(transfer.size)
                                                : ", last";
    event.fields["sequence"] = packet.sequence();
    event.fields["last"] = isLast;
    if (transfer.operation) {
        event.fields["operation"] = *transfer.operation;
        event.fields["operationName"] = wiredOperationName(*transfer.operation);
    }
    event.fields["size"] = data.size();
    if (!packet.hasValidCrc()) {
        event.text += ", WRONG CRC";
        event.fields["validCrc"] = false;
        event.isProblem = true;
    }
}

void LogDecoder::receivedData(const LogMatch& match) {
    if (!withoutBytes_) {
        return;  // its bytes have given more detail
    }
    const auto operation = static_cast<std::uint8_t>(match.numbers[0]);
    LogEvent& event = events_[*withoutBytes_];
    event.text = "A6 data  #" + std::to_string(match.numbers[1]) + "  " + operationText(operation) +
                 ", " + bytesText(static_cast<std::size_t>(match.numbers[2])) + " (not in the log)";
    event.fields["sequence"] = match.numbers[1];
    event.fields["operation"] = operation;
    event.fields["operationName"] = wiredOperationName(operation);
    event.fields["size"] = match.numbers[2];
    receiving_.operation = operation;
    receiving_.size =
        (match.numbers[1] == 0 ? 0 : receiving_.size) + static_cast<std::size_t>(match.numbers[2]);
    receiving_.next = static_cast<std::uint32_t>(match.numbers[1]) + 1;
    withoutBytes_.reset();
}

/// A packet whose bytes were announced but did not follow.
void LogDecoder::flushSent() {
    if (!announced_) {
        return;
    }
    const Announced packet = *announced_;
    announced_.reset();
    LogEvent& event = add(LogEvent::Direction::sent, LogEvent::Layer::wired,
                          "A6 data  #" + std::to_string(packet.sequence) + "  " +
                              operationText(packet.operation) + " (its bytes are not in the log)");
    event.fields = {{"packet", "A6"},
                    {"name", "data"},
                    {"sequence", packet.sequence},
                    {"operation", packet.operation},
                    {"operationName", wiredOperationName(packet.operation)}};
}

void LogDecoder::sendAcknowledgement(const LogMatch& match) {
    const bool isAgain = isRetransmissionAsked_;
    isRetransmissionAsked_ = false;
    LogEvent& event = add(LogEvent::Direction::sent, LogEvent::Layer::wired,
                          "A7 acknowledgement  " +
                              (isAgain ? "asks for #" + std::to_string(match.numbers[1]) + " again"
                                       : "next is #" + std::to_string(match.numbers[1])));
    event.isProblem = isAgain;
    event.fields = {{"packet", "A7"},
                    {"name", "acknowledgement"},
                    {"sequence", match.numbers[1]},
                    {"flag", isAgain ? "again" : "acknowledge"}};
}

}  // namespace cqtool
