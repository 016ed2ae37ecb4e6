#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "log/LogLines.h"
#include "log/LogPattern.h"
#include "log/WiredPacket.h"
#include "text/JsonObject.h"

namespace cqtool {

/// A step of a conversation between host and instrument.
struct LogEvent {
    enum class Direction { sent, received, note };
    enum class Layer { none, wired, moduleText, wireless };

    std::size_t line = 0;
    std::string time;
    Direction direction = Direction::note;
    Layer layer = Layer::none;
    std::string text;  ///< for people
    bool isProblem = false;
    bool isUnknown = false;  ///< not understood; text is the message itself
    JsonObject fields;       ///< the packet's fields, by stable names
};

/// Reconstructs the conversation from the messages of a log. The log is not complete: of the host's
/// packets on a wired line it has only data packets and acknowledgements, of wireless packets no
/// bytes, and no message of more than about a thousand characters.
class LogDecoder {
  public:
    /// Takes the next message.
    void take(const LogLine& line);

    /// The whole conversation, once the last message has been taken.
    std::vector<LogEvent> finish();

  private:
    struct Rule;
    static const std::vector<Rule>& rules();

    struct Transfer {
        std::optional<std::uint8_t> operation;
        std::size_t size = 0;
        std::uint32_t next = 0;  ///< the next sequence number
    };

    void receivedBytes(const LogMatch& match);
    void receivedCount(const LogMatch& match);
    void parsedPacket(const LogMatch& match);
    void receivedData(const LogMatch& match);
    void sendOperation(const LogMatch& match);
    void sendPacket(const LogMatch& match);
    void sendAgain(const LogMatch& match);
    void sendAcknowledgement(const LogMatch& match);
    void moduleCommand(const LogMatch& match);
    void waitForReply(const LogMatch& match);
    void replyTimeout(const LogMatch& match);
    void replyArrived(const LogMatch& match);
    void wirelessPacket(const LogMatch& match);
    void notification(const LogMatch& match);
    void ignore(const LogMatch& match);
    void remark(const LogMatch& match);
    void problem(const LogMatch& match);
    void crcError(const LogMatch& match);

    bool takeSentBytes();
    void flushSent();
    void flushReceived();
    void addWired(LogEvent::Direction direction, const WiredPacket& packet);
    void describeData(LogEvent& event, Transfer& transfer, const WiredPacket& packet);
    void nameReply(LogEvent& event, int type, int command);
    LogEvent& add(LogEvent::Direction direction, LogEvent::Layer layer, const std::string& text);

    std::vector<LogEvent> events_;
    LogLine line_;

    // Wired.
    WiredPacketFinder finder_{WiredPacketFinder::Direction::toHost};
    std::deque<WiredPacket> found_;  ///< in the bytes of the last read, not reported yet
    bool areBytesShown_ = false;     ///< of the read whose count comes next
    bool isMessageLost_ = false;     ///< the last message was too long
    bool isRetransmissionAsked_ = false;
    std::optional<std::size_t> withoutBytes_;  ///< the event of a packet whose bytes are lost
    struct Announced {
        std::uint8_t operation;
        std::uint32_t sequence;
    };
    std::optional<Announced> announced_;  ///< its bytes come in the next message
    Transfer sending_;
    Transfer receiving_;

    // Wireless.
    std::optional<std::size_t> waiting_;  ///< the event of the request without a reply
    struct Unexpected {
        std::size_t event;
        int type;
        int command;
    };
    std::optional<Unexpected> unexpected_;  ///< a packet that came before the request
};

}  // namespace cqtool
