#include "log/LogDecoder.h"

#include "Samples.h"

namespace cqtool {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::vector<LogEvent> decoded(const std::string& log) {
    LogDecoder decoder;
    for (const LogLine& line : readLog(log, "file")) {
        decoder.take(line);
    }
    return decoder.finish();
}

/// "> text", "< text" or "  text" of every event, problems with a mark.
std::vector<std::string> conversation(const std::string& log) {
    std::vector<std::string> lines;
    for (const LogEvent& event : decoded(log)) {
        const std::string arrow = event.direction == LogEvent::Direction::sent       ? "> "
                                  : event.direction == LogEvent::Direction::received ? "< "
                                  : event.isUnknown                                  ? "? "
                                                                                     : "  ";
        lines.push_back((event.isProblem ? "!" : "") + arrow + event.text);
    }
    return lines;
}

constexpr const char* kSendOperation = "[17:0:0.1]\xB7\xA2\xCB\xCD\xB2\xD9\xD7\xF7\xC2\xEB\xA3\xBA";
constexpr const char* kSendPacket = "[17:0:0.1]\xB7\xA2\xCB\xCD\xB0\xFC\xA3\xBA";
constexpr const char* kAskedAgain = "[17:0:0.1]\xC7\xEB\xC7\xF3\xD6\xD8\xB4\xAB\xA3\xBA";

TEST(LogLines, TurnsTheLogsTimeIntoUtc) {
    const auto lines = readLog("[8:5:3.7]one\r\n[31:59:59.999]two\nthree\n", "file");
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0].time, "00:05:03.007");
    EXPECT_EQ(lines[1].time, "23:59:59.999");
    EXPECT_EQ(lines[1].text, "two");
    EXPECT_EQ(lines[2].time, "");
    EXPECT_EQ(lines[2].number, 3U);
    for (const char* foreign :
         {"", "hello\n", "[7:0:0.0]x", "[32:0:0.0]x", "[9:60:0.0]x", "[9:0]x"}) {
        EXPECT_THAT(thrownBy<Failure>([&] { readLog(foreign, "file"); }),
                    HasSubstr("file is not a debug log"));
    }
}

TEST(LogDecoder, DecodesAWiredSession) {
    // Joined in one reading, and cut between two.
    EXPECT_THAT(
        conversation(std::string("[17:0:0.0]RECEIVED 17 BYTES: aa 55 a2 07 00 40 00 00 00 00 00 00 "
                                 "00 aa 55 a8 07\n[17:0:0.0]RECEIVED 17 BYTES\n"
                                 "[17:0:0.0]parsed packet type: a2\n"
                                 "[17:0:0.0]parsed packet type: a8\n") +
                     kSendOperation + "36\r\n" + kSendPacket + "operation=36, seq=0\r\n" +
                     "[17:0:0.1]55 aa a6 07 00 00 00 00 03 00 24 16 85\r\n"
                     "[17:0:0.2]RECEIVED 4 BYTES: aa 55 a7 07\n[17:0:0.2]RECEIVED 4 BYTES\n"
                     "[17:0:0.2]RECEIVED 4 BYTES: 01 00 00 00\n[17:0:0.2]RECEIVED 4 BYTES\n"
                     "[17:0:0.2]parsed packet type: a7\n"
                     "[17:0:0.3]RECEIVED 13 BYTES: 00 aa 55 a6 07 02 01 00 ff 00 00 aa 55\n"
                     "[17:0:0.3]RECEIVED 13 BYTES\n[17:0:0.3]parsed packet type: a6\n"
                     "[17:0:0.3]Data transfer was aborted by remote\n"),
        ElementsAre("< A2 shake-hands acknowledgement  session 7, packets up to 64 bytes",
                    "< A8 keep-alive request  session 7",
                    "> A6 data  #0  24 measure a trial, 0 bytes, last",
                    "< A7 acknowledgement  next is #1", "!< 1 byte of no packet",
                    "!< A6 data  aborts, error 258", "!  Data transfer was aborted by remote"));
}

TEST(LogDecoder, FollowsTransfersAndTheirFaults) {
    EXPECT_THAT(
        conversation("[17:0:0.0]RECEIVED 15 BYTES: aa 55 a6 07 00 00 00 40 05 00 21 01 02 00 00\n"
                     "[17:0:0.0]RECEIVED 15 BYTES\n[17:0:0.0]parsed packet type: a6\n"
                     "[17:0:0.0]CRC error, will request retransmission\n"
                     "[17:0:0.0]SendReceivingAckPacket in x\n"
                     "[17:0:0.0]SendPackAck: opt:33, seq:0\n"
                     "[17:0:0.1]RECEIVED 15 BYTES: aa 55 a6 07 00 00 00 40 05 00 21 01 02 19 6e\n"
                     "[17:0:0.1]RECEIVED 15 BYTES\n[17:0:0.1]parsed packet type: a6\n"
                     "[17:0:0.1]RECEIVED 12 BYTES: aa 55 a6 07 01 00 00 00 02 00 ff ff\n"
                     "[17:0:0.1]RECEIVED 12 BYTES\n[17:0:0.1]parsed packet type: a6\n"
                     "[17:0:0.1]SendPackAck: opt:33, seq:2\n" +
                     std::string(kAskedAgain) + "operation=46, seq=3\r\n"),
        ElementsAre("!< A6 data  #0  21 device information, 2 bytes (0102), more follow, WRONG CRC",
                    "!  CRC error, will request retransmission",
                    "!> A7 acknowledgement  asks for #0 again",
                    "< A6 data  #0  21 device information, 2 bytes (0102), more follow",
                    "< A6 data  #1  21 device information, 0 bytes, last of 2 bytes",
                    "> A7 acknowledgement  next is #2", "!> A6 data  #3  the same again"));
}

TEST(LogDecoder, MakesDoWithoutBytesThatWereTooMany) {
    EXPECT_THAT(conversation("[17:0:0.0][17:0:0.0]RECEIVED 400 BYTES\n"
                             "[17:0:0.0]parsed packet type: a6\n"
                             "[17:0:0.0]received a packet, opt = 44, seq = 1, len = 388\n" +
                             std::string(kSendPacket) + "operation=46, seq=2\r\n" +
                             "[17:0:0.1][17:0:0.2]Remote aborted receiving\n[17:0:0.3]"),
                ElementsAre("  400 bytes received, too many for the log to show",
                            "< A6 data  #1  2C read stored standards, 388 bytes (not in the log)",
                            "> A6 data  #2  2E write standards (its bytes are not in the log)",
                            "!  Remote aborted receiving", "? a message too long for the log"));
}

TEST(LogDecoder, DecodesAWirelessSession) {
    EXPECT_THAT(
        conversation("[17:0:0.0]AT+CT=C4BE84A1B2C3 -> \"OK\" \"+CONNECTED>>C4BE84A1B2C3\"\r\n"
                     "[17:0:0.0]AT+DC ->\r\n"
                     "[17:0:1.0]waiting receiving packet... (timeout = 8000ms)\r\n"
                     "[17:0:1.1]received a packet: 1,4\r\n[17:0:1.1]received the packet.\r\n"
                     "[17:0:2.0]received a packet: 1,5\r\n"
                     "[17:0:2.0]received cmd packet from instrument: type = 1, cmd = 5, data_len = "
                     "256\r\n"
                     "[17:0:3.0]received a packet: 2,14\r\n"
                     "[17:0:3.0]waiting receiving packet... (timeout = 2000ms)\r\n"
                     "[17:0:3.0]received the packet.\r\n"
                     "[17:0:4.0]waiting receiving packet... (timeout = 50ms)\r\n"
                     "[17:0:4.1]received packet timeout.\r\n"),
        ElementsAre(
            "> AT+CT=C4BE84A1B2C3", "< OK", "< +CONNECTED>>C4BE84A1B2C3", "!> AT+DC  no answer",
            "> request  1,4 measure, timeout 8000 ms", "< reply  1,4 measure",
            "< a trial was measured on the instrument, 1,5, 256 bytes",
            "< reply  2,14 status item 14", "> request  2,14 status item 14, timeout 2000 ms",
            "> a request, timeout 50 ms", "!  no reply in time"));
}

TEST(LogDecoder, ShowsWhatItDoesNotKnow) {
    EXPECT_THAT(conversation("[17:0:0.0]some \x1b[31mother text\nno time\n"
                             "[17:0:0.0]RECEIVED 3 BYTES: aa 5\n[17:0:0.0]parsed packet type: zz\n"
                             "[17:0:0.0]AT\n[17:0:0.0]RECEIVED 99"),
                ElementsAre("? some ?[31mother text", "? no time", "? RECEIVED 3 BYTES: aa 5",
                            "? parsed packet type: zz", "? AT",
                            "? RECEIVED 99 (the log ends within this message)"));
}

}  // namespace
}  // namespace cqtool
