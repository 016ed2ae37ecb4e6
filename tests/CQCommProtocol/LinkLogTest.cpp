// What the link writes into the debug log: texts that people who read such logs search for.

#include <optional>

#include "api/LogFile.h"
#include "CQCommProtocol/LinkTest.h"

namespace ovk {
namespace {

using test::acknowledgement;
using test::dataPacket;
using test::hex;
using testing::ElementsAre;

// The Chinese words of the log, in the GBK code page.
constexpr auto kRetransmissionWords = "\xC7\xEB\xC7\xF3\xD6\xD8\xB4\xAB\xA3\xBA";
constexpr auto kReceivedWords = "\xCA\xD5\xB5\xBD\xA3\xBA";
constexpr auto kOperationWords = "\xB7\xA2\xCB\xCD\xB2\xD9\xD7\xF7\xC2\xEB\xA3\xBA";
constexpr auto kPacketWords = "\xB7\xA2\xCB\xCD\xB0\xFC\xA3\xBA";

class LinkLogTest : public test::LinkTest {
  protected:
    /// The messages since the log was started, but for those that repeat the bytes received.
    test::Lines logged() {
        test::Lines messages = log->messages();
        std::erase_if(messages, [](const std::string& message) {
            return message.starts_with("RECEIVED") || message.starts_with("parsed");
        });
        return messages;
    }

    std::optional<test::LogFile> log;
};

TEST_F(LinkLogTest, ShowsTheBytesReceivedAndTheirPackets) {
    log.emplace();
    instrumentSends("01 AA 55 A8 07 AA 55 A9 07");
    EXPECT_THAT(log->messages(),
                ElementsAre("RECEIVED 9 BYTES: 01 aa 55 a8 07 aa 55 a9 07\n", "RECEIVED 9 BYTES\n",
                            "parsed packet type: a8\n", "parsed packet type: a9\n",
                            "Unexpected packet type a9\n"));
}

TEST_F(LinkLogTest, ShowsATransferToTheInstrument) {
    connect("14 00");
    log.emplace();
    send(0x2E, hex("01 02 03 04 05 06 07 08"));
    instrumentSends(acknowledgement(test::kRetransmit, 0));
    instrumentSends(acknowledgement(0x00, 1));
    instrumentSends(acknowledgement(test::kAbort, 5));
    EXPECT_THAT(logged(),
                ElementsAre(kOperationWords + std::string("46\r\n"),
                            kPacketWords + std::string("operation=46, seq=0\r\n"),
                            "55 aa a6 07 00 00 00 40 0a 00 2e 01 02 03 04 05 06 07 f4 f2\r\n",
                            kRetransmissionWords + std::string("operation=46, seq=0\r\n"),
                            kReceivedWords + std::string("operation=46, seq=0\r\n"),
                            kPacketWords + std::string("operation=46, seq=1\r\n"),
                            testing::StartsWith("55 aa a6 07 01 00 00 00 03 00 08 "),
                            "Remote aborted receiving\n"));
}

TEST_F(LinkLogTest, ShowsATransferFromTheInstrument) {
    constexpr auto kInLoop =
        "SendReceivingAckPacket in ovk::CommunicationClient::HandleRecving\r\n";
    constexpr auto kInSend = "SendReceivingAckPacket in ovk::CommunicationClient::Send\r\n";
    connect();
    log.emplace();
    instrumentSends(dataPacket(0, test::kMore, hex("24 01 02")));
    instrumentSends("AA 55 A6 07 03 00 00 00 02 00 FF FF");
    instrumentSends("AA 55 A6 07 01 00 00 00 01 00 FF");
    instrumentSends("AA 55 A6 07 01 00 00 00 02 00 FF FE");
    onData = [this] { return static_cast<std::uint16_t>(send(0x22)); };
    instrumentSends(dataPacket(1, test::kLast, hex("03")));
    EXPECT_THAT(
        logged(),
        ElementsAre("received a packet, opt = 36, seq = 0, len = 2\n", kInLoop,
                    "SendPackAck: opt:36, seq:1\r\n", "Invalid seq 3, expect 1\r\n",
                    "Invalid data len: 1\r\n", "CRC error, will request retransmission\n", kInLoop,
                    "SendPackAck: opt:36, seq:1\r\n",
                    "received a packet, opt = 36, seq = 1, len = 1\n", kInSend,
                    "SendPackAck: opt:36, seq:2\r\n", kOperationWords + std::string("34\r\n"),
                    kPacketWords + std::string("operation=34, seq=0\r\n"),
                    "55 aa a6 07 00 00 00 00 03 00 22 d0 e5\r\n"));
}

TEST_F(LinkLogTest, ShowsWhatWasNotAskedForAndWhatWasCutShort) {
    using namespace std::chrono_literals;
    log.emplace();
    instrumentSends("AA 55 A2 07 00 40 00 00 00 00 00 00 00");
    connect();
    instrumentSends("AA 55 A6 07 05 00 00 FF 00 00");
    instrumentSends("AA 55 A7");
    now += 5001ms;
    instrumentSends("00");
    EXPECT_THAT(logged(), ElementsAre("Received shake hands ack packet, but had not request\n",
                                      "Data transfer was aborted by remote\n",
                                      "[DataParser::parse] timeout, reset position\n"));
}

}  // namespace
}  // namespace ovk
