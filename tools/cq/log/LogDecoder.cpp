// The messages of both kinds of connection, and what each adds to the conversation. PacketText.cpp
// describes the packets.

#include "log/LogDecoder.h"
#include "text/Text.h"

#include <utility>

namespace cqtool {

struct LogDecoder::Rule {
    const char* pattern;
    void (LogDecoder::*action)(const LogMatch&);
};

const std::vector<LogDecoder::Rule>& LogDecoder::rules() {
    // In this order: the first pattern that matches is taken.
    static const std::vector<Rule> kRules{
        {"RECEIVED % BYTES: *", &LogDecoder::receivedBytes},
        {"RECEIVED % BYTES", &LogDecoder::receivedCount},
        {"parsed packet type: *", &LogDecoder::parsedPacket},
        {"received a packet, opt = %, seq = %, len = %", &LogDecoder::receivedData},
        {"send operation: %", &LogDecoder::sendOperation},
        {"send packet: operation=%, seq=%", &LogDecoder::sendPacket},
        {"acknowledged: operation=%, seq=%", &LogDecoder::ignore},
        {"asked to send again: operation=%, seq=%", &LogDecoder::sendAgain},
        {"SendReceivingAckPacket in *", &LogDecoder::ignore},
        {"SendPackAck: opt:%, seq:%", &LogDecoder::sendAcknowledgement},
        {"CRC error, will request retransmission", &LogDecoder::crcError},
        {"Unexpected packet type *", &LogDecoder::problem},
        {"Received shake hands ack packet, but had not request", &LogDecoder::problem},
        {"Data transfer was aborted by remote", &LogDecoder::problem},
        {"Remote aborted receiving", &LogDecoder::problem},
        {"Invalid data len: %", &LogDecoder::problem},
        {"Invalid seq %, expect %", &LogDecoder::problem},
        {"[DataParser::parse] timeout, reset position", &LogDecoder::problem},
        {"expect size: %, received: %", &LogDecoder::problem},
        {"A device has opened", &LogDecoder::problem},
        {"Open *", &LogDecoder::problem},
        {"AT*", &LogDecoder::moduleCommand},
        {"waiting receiving packet... (timeout = %ms)", &LogDecoder::waitForReply},
        {"received packet timeout.", &LogDecoder::replyTimeout},
        {"received the packet.", &LogDecoder::replyArrived},
        {"received a packet: %,%", &LogDecoder::wirelessPacket},
        {"received cmd packet from instrument: type = %, cmd = %, data_len = %",
         &LogDecoder::notification},
        {"sendPacket: *", &LogDecoder::problem},
        {"Start receiving_thread", &LogDecoder::remark},
        {"End receiving_thread", &LogDecoder::remark},
    };
    return kRules;
}

LogEvent& LogDecoder::add(LogEvent::Direction direction, LogEvent::Layer layer,
                          const std::string& text) {
    LogEvent event;
    event.line = line_.number;
    event.time = line_.time;
    event.direction = direction;
    event.layer = layer;
    event.text = text;
    events_.push_back(std::move(event));
    return events_.back();
}

void LogDecoder::take(const LogLine& line) {
    line_ = line;
    if (announced_ && takeSentBytes()) {
        return;
    }
    if (line.text.empty() && !line.time.empty()) {
        isMessageLost_ = true;
        return;
    }
    if (isMessageLost_ && !matchLogText(line.text, "RECEIVED % BYTES")) {
        add(LogEvent::Direction::note, LogEvent::Layer::none, "a message too long for the log")
            .isUnknown = true;
        isMessageLost_ = false;
    }
    if (!line.time.empty() && !line.isCutOff) {
        for (const Rule& rule : rules()) {
            if (const auto match = matchLogText(line.text, rule.pattern)) {
                (this->*rule.action)(*match);
                return;
            }
        }
    }
    LogEvent& event = add(LogEvent::Direction::note, LogEvent::Layer::none, line.text);
    event.isUnknown = true;
    if (line.isCutOff) {
        event.text += " (the log ends within this message)";
    }
}

std::vector<LogEvent> LogDecoder::finish() {
    flushSent();
    flushReceived();
    if (isMessageLost_) {
        add(LogEvent::Direction::note, LogEvent::Layer::none, "a message too long for the log")
            .isUnknown = true;
        isMessageLost_ = false;
    }
    return std::exchange(events_, {});
}

void LogDecoder::ignore(const LogMatch&) {}

void LogDecoder::remark(const LogMatch&) {
    add(LogEvent::Direction::note, LogEvent::Layer::none, line_.text);
}

void LogDecoder::problem(const LogMatch&) {
    add(LogEvent::Direction::note, LogEvent::Layer::none, line_.text).isProblem = true;
}

void LogDecoder::crcError(const LogMatch& match) {
    problem(match);
    isRetransmissionAsked_ = true;
}

// ------------------------------------------------------------------ wired

void LogDecoder::receivedBytes(const LogMatch& match) {
    flushReceived();
    const auto bytes = bytesOfLogText(match.rest);
    if (!bytes) {
        add(LogEvent::Direction::note, LogEvent::Layer::none, line_.text).isUnknown = true;
        return;
    }
    areBytesShown_ = true;
    finder_.append(*bytes);
    while (auto packet = finder_.take()) {
        found_.push_back(std::move(*packet));
    }
    if (const std::size_t skipped = finder_.takeSkipped(); skipped > 0) {
        LogEvent& event = add(LogEvent::Direction::received, LogEvent::Layer::wired,
                              counted(skipped, "bytes") + " of no packet");
        event.isProblem = true;
        event.fields["skipped"] = skipped;
    }
}

void LogDecoder::receivedCount(const LogMatch& match) {
    isMessageLost_ = false;
    if (std::exchange(areBytesShown_, false)) {
        return;
    }
    flushReceived();
    finder_.reset();
    add(LogEvent::Direction::note, LogEvent::Layer::wired,
        std::to_string(match.numbers[0]) + " bytes received, too many for the log to show")
        .fields["size"] = match.numbers[0];
}

void LogDecoder::parsedPacket(const LogMatch& match) {
    const auto type = bytesOfLogText(match.rest);
    if (!type || type->size() != 1) {
        add(LogEvent::Direction::note, LogEvent::Layer::none, line_.text).isUnknown = true;
        return;
    }
    if (!found_.empty() && found_.front().type() == type->front()) {
        addWired(LogEvent::Direction::received, found_.front());
        found_.pop_front();
        return;
    }
    found_.clear();
    WiredPacket bare{{0, 0, type->front()}};
    addWired(LogEvent::Direction::received, bare);
    withoutBytes_ = events_.size() - 1;
}

void LogDecoder::flushReceived() {
    while (!found_.empty()) {
        addWired(LogEvent::Direction::received, found_.front());
        found_.pop_front();
    }
}

void LogDecoder::sendOperation(const LogMatch&) {
    sending_ = {};
}

void LogDecoder::sendPacket(const LogMatch& match) {
    announced_ = {static_cast<std::uint8_t>(match.numbers[0]),
                  static_cast<std::uint32_t>(match.numbers[1])};
}

/// True if the message is what was announced: the packet's bytes, or nothing for lack of room.
bool LogDecoder::takeSentBytes() {
    const auto bytes = bytesOfLogText(line_.text);
    const bool isLost = line_.text.empty() && !line_.time.empty();
    if (bytes && !bytes->empty() && !line_.isCutOff) {
        WiredPacketFinder finder(WiredPacketFinder::Direction::toInstrument);
        finder.append(*bytes);
        if (const auto packet = finder.take()) {
            announced_.reset();
            addWired(LogEvent::Direction::sent, *packet);
            return true;
        }
    }
    flushSent();
    return isLost;
}

void LogDecoder::sendAgain(const LogMatch& match) {
    LogEvent& event = add(LogEvent::Direction::sent, LogEvent::Layer::wired,
                          "A6 data  #" + std::to_string(match.numbers[1]) + "  the same again");
    event.isProblem = true;
    event.fields = {
        {"packet", "A6"}, {"name", "data"}, {"sequence", match.numbers[1]}, {"repeated", true}};
}

// --------------------------------------------------------------- wireless

void LogDecoder::moduleCommand(const LogMatch&) {
    static constexpr std::string_view kArrow = " ->";
    const std::size_t arrow = line_.text.rfind(" -> \"");
    const bool hasLines = arrow != std::string::npos;
    if (!hasLines && !line_.text.ends_with(kArrow)) {
        add(LogEvent::Direction::note, LogEvent::Layer::none, line_.text).isUnknown = true;
        return;
    }
    const std::size_t first = line_.text.find(" -> \"");
    const std::string command =
        line_.text.substr(0, hasLines ? first : line_.text.size() - kArrow.size());
    LogEvent& sent = add(LogEvent::Direction::sent, LogEvent::Layer::moduleText, command);
    sent.fields["command"] = command;
    if (!hasLines) {
        sent.text += "  no answer";
        sent.isProblem = true;
        return;
    }
    // "one" "two": the text between the first and the last quotation mark, split at '" "'.
    std::string_view rest = std::string_view(line_.text).substr(first + 5);
    while (!rest.empty()) {
        const std::size_t end = rest.find("\" \"");
        const std::string_view answer =
            end == std::string_view::npos ? rest.substr(0, rest.size() - 1) : rest.substr(0, end);
        add(LogEvent::Direction::received, LogEvent::Layer::moduleText, std::string(answer))
            .fields["answer"] = answer;
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 3);
    }
}

void LogDecoder::waitForReply(const LogMatch& match) {
    LogEvent& event = add(LogEvent::Direction::sent, LogEvent::Layer::wireless,
                          "a request, timeout " + std::to_string(match.numbers[0]) + " ms");
    event.fields["timeoutMs"] = match.numbers[0];
    waiting_ = events_.size() - 1;
}

void LogDecoder::replyTimeout(const LogMatch&) {
    add(LogEvent::Direction::note, LogEvent::Layer::wireless, "no reply in time").isProblem = true;
    waiting_.reset();
}

void LogDecoder::replyArrived(const LogMatch&) {
    // The receive thread may have logged the packet before the requesting thread logged its wait.
    if (waiting_ && unexpected_) {
        nameReply(events_[unexpected_->event], unexpected_->type, unexpected_->command);
    }
    waiting_.reset();
    unexpected_.reset();
}

void LogDecoder::wirelessPacket(const LogMatch& match) {
    const int type = static_cast<int>(match.numbers[0]);
    const int command = static_cast<int>(match.numbers[1]);
    LogEvent& event = add(LogEvent::Direction::received, LogEvent::Layer::wireless, "");
    event.fields = {{"type", type}, {"cmd", command}};
    if (waiting_) {
        nameReply(event, type, command);
        waiting_.reset();
    } else {
        event.text = "packet " + std::to_string(type) + "," + std::to_string(command) +
                     "  that no request waits for";
        unexpected_ = {events_.size() - 1, type, command};
    }
}

/// The log shows requests only by their replies, which have the same numbers.
void LogDecoder::nameReply(LogEvent& event, int type, int command) {
    const std::string known = wirelessCommandName(type, command);
    const std::string name = std::to_string(type) + "," + std::to_string(command) + " " +
                             (known.empty() ? "(not known)" : known);
    event.text = "reply  " + name;
    event.fields["name"] = known;
    LogEvent& request = events_[*waiting_];
    request.text = "request  " + name + request.text.substr(request.text.find(','));
    request.fields["name"] = known;
}

void LogDecoder::notification(const LogMatch& match) {
    const int type = static_cast<int>(match.numbers[0]);
    const int command = static_cast<int>(match.numbers[1]);
    const bool isMeasurement = type == 1 && (command == 4 || command == 5);
    const std::string name = !isMeasurement ? "notification (not known)"
                             : command == 4 ? "a standard was measured on the instrument"
                                            : "a trial was measured on the instrument";
    if (!unexpected_) {
        add(LogEvent::Direction::received, LogEvent::Layer::wireless, "");
        unexpected_ = {events_.size() - 1, type, command};
    }
    LogEvent& event = events_[std::exchange(unexpected_, std::nullopt)->event];
    event.text = name + ", " + std::to_string(type) + "," + std::to_string(command) + ", " +
                 std::to_string(match.numbers[2]) + " bytes";
    event.fields = {{"type", type}, {"cmd", command}, {"name", name}, {"size", match.numbers[2]}};
}

}  // namespace cqtool
