// How transfers run over an established session.

#include <new>
#include <sstream>

#include "CQCommProtocol/LinkTest.h"

namespace ovk {
namespace {

using test::acknowledgement;
using test::dataPacket;
using test::hex;
using test::kAbort;
using test::kLast;
using test::kMore;
using test::kRetransmit;
using test::Lines;
using testing::ElementsAre;
using testing::IsEmpty;
using State = Link::State;

/// 20-byte packets, of which 8 are payload, keep the bytes short.
class LinkTransferTest : public test::LinkTest {
  protected:
    void SetUp() override { connect("14 00"); }

    /// A transfer of two packets: 2E 01 .. 07 and 08 09.
    const test::Bytes nineBytes = hex("01 02 03 04 05 06 07 08 09");
    const std::string firstPacket = "55 AA A6 07 00 00 00 40 0A 00 2E 01 02 03 04 05 06 07 F4 F2";
    const std::string secondPacket = "55 AA A6 07 01 00 00 00 04 00 08 09 8F 05";
};

// --- to the instrument

TEST_F(LinkTransferTest, SendsAPacketForEachAcknowledgement) {
    EXPECT_EQ(send(0x2E, nineBytes), CQ_NO_ERROR);
    EXPECT_THAT(sent(), ElementsAre(firstPacket));
    EXPECT_EQ(send(0x21), CQ_DEVICE_IS_BUSY);
    EXPECT_THAT(sent(), IsEmpty());

    instrumentSends(acknowledgement(0x00, 1));
    EXPECT_THAT(sent(), ElementsAre(secondPacket));
    EXPECT_THAT(heard(), ElementsAre("progress 2E of 9 error 0"));
    EXPECT_EQ(send(0x21), CQ_DEVICE_IS_BUSY);

    instrumentSends(acknowledgement(0x00, 2));
    EXPECT_THAT(sent(), IsEmpty());
    EXPECT_THAT(heard(), ElementsAre("progress 2E of 9 error 0 done"));
    EXPECT_EQ(link.state(), State::idle);
    EXPECT_EQ(send(0x21), CQ_NO_ERROR);
    EXPECT_THAT(sent(), ElementsAre("55 AA A6 07 00 00 00 00 03 00 21 B3 D5"));
}

TEST_F(LinkTransferTest, SendsTheLastPacketAgainAsOftenAsAsked) {
    send(0x2E, nineBytes);
    instrumentSends(acknowledgement(kRetransmit, 0));
    instrumentSends(acknowledgement(kRetransmit, 0));
    EXPECT_THAT(sent(), ElementsAre(firstPacket, firstPacket, firstPacket));
    instrumentSends(acknowledgement(0x00, 1));
    instrumentSends(acknowledgement(kRetransmit, 1));
    EXPECT_THAT(sent(), ElementsAre(secondPacket, secondPacket));
    EXPECT_THAT(heard(), ElementsAre("progress 2E of 9 error 0"));
}

TEST_F(LinkTransferTest, GoesOnOnlyWhenTheLastPacketIsAcknowledged) {
    struct Case {
        std::uint8_t flag;
        std::uint32_t number;
        bool goesOn;
    };
    // With packet 1 of three sent.
    for (const Case& item : {Case{0x00, 1, false}, Case{0x00, 2, true}, Case{0x00, 0, true},
                             Case{0x00, 0xFFFFFF, true}, Case{0x01, 2, false}, Case{0x40, 2, false},
                             Case{0x7F, 2, false}}) {
        connect("14 00");
        send(0x2E, test::pattern(20));
        instrumentSends(acknowledgement(0x00, 1));
        forget();
        instrumentSends(acknowledgement(item.flag, item.number));
        const std::size_t count = item.goesOn ? 1 : 0;
        EXPECT_EQ(sent().size(), count) << int{item.flag} << " " << item.number;
        EXPECT_EQ(heard().size(), count) << int{item.flag} << " " << item.number;
        EXPECT_EQ(link.state(), State::sending);
    }
}

TEST_F(LinkTransferTest, EndsWhenTheInstrumentAborts) {
    send(0x2E, nineBytes);
    sent();
    instrumentSends(acknowledgement(kAbort, 0x330102));
    EXPECT_THAT(heard(), ElementsAre("progress 2E of 9 error 258 done"));
    EXPECT_THAT(sent(), IsEmpty());
    EXPECT_EQ(link.state(), State::idle);
}

TEST_F(LinkTransferTest, EndsWithAnAbortPacketWhenTheListenerHasHadEnough) {
    onProgress = [] { return std::uint16_t{0x0105}; };
    send(0x2E, nineBytes);
    sent();
    instrumentSends(acknowledgement(0x00, 1));
    EXPECT_THAT(sent(), ElementsAre("55 AA A6 07 05 01 00 FF 00 00"));
    EXPECT_EQ(link.state(), State::idle);

    // After the last packet there is nothing to abort.
    send(0x21);
    sent();
    instrumentSends(acknowledgement(0x00, 1));
    EXPECT_THAT(sent(), IsEmpty());
    EXPECT_EQ(link.state(), State::idle);
}

TEST_F(LinkTransferTest, IgnoresAnswersToNothing) {
    instrumentSends(acknowledgement(kAbort, 1));
    send(0x21);
    instrumentSends(acknowledgement(0x00, 1));
    forget();
    for (const std::uint8_t flag : {std::uint8_t{0x00}, kRetransmit}) {
        instrumentSends(acknowledgement(flag, 1));
    }
    expectSilence();
    EXPECT_EQ(link.state(), State::idle);
}

// The instrument has acknowledged the command, and then cannot carry it out. What of the answer has
// come is void; a measurement that was pressed meanwhile is not.
TEST_F(LinkTransferTest, IsAbortedAfterTheAcknowledgementToo) {
    const std::string aborted = "progress 24 of 4294967295 error 258 done";
    send(0x24);
    instrumentSends(acknowledgement(0x00, 1));
    forget();
    instrumentSends(acknowledgement(kAbort, 0x0102));
    EXPECT_THAT(heard(), ElementsAre(aborted));
    EXPECT_EQ(link.state(), State::idle);

    beginReceiving();
    instrumentSends(acknowledgement(kAbort, 0x0102));
    EXPECT_THAT(heard(), ElementsAre(aborted));
    EXPECT_EQ(link.state(), State::idle);
    instrumentSends(dataPacket(1, kLast, hex("02")));
    expectSilence();

    instrumentSends(dataPacket(0, kMore, hex("23 01")));
    forget();
    instrumentSends(acknowledgement(kAbort, 0x0102));
    instrumentSends(dataPacket(1, kLast, hex("02")));
    EXPECT_THAT(heard(), ElementsAre(aborted, "data 23 at 2: 02 last"));
}

// The stream stands for memory that runs out while the first packet is built.
TEST_F(LinkTransferTest, StaysFreeWhenATransferCannotBegin) {
    struct Failing : std::stringbuf {
        int_type underflow() override { throw std::bad_alloc(); }
    } failing;
    const auto stream = std::make_shared<std::istream>(&failing);
    stream->exceptions(std::ios::badbit);
    EXPECT_THROW(link.send(0x2E, hex("01"), stream, now), std::bad_alloc);
    expectSilence();
    instrumentSends(acknowledgement(0x00, 1));
    expectSilence("an acknowledgement of what was not sent");
    EXPECT_EQ(send(0x21), CQ_NO_ERROR);
}

// The listener ends the session while it is told of progress: the transfer must not go on without
// one, nor take the state of a link that is closing.
TEST_F(LinkTransferTest, StaysClosingWhenTheListenerHasSaidGoodbye) {
    for (const bool isGoodbyeWritten : {false, true}) {
        connect("14 00");
        canWrite = isGoodbyeWritten;
        onProgress = [this] {
            link.requestDisconnect(now);
            return std::uint16_t{0};
        };
        send(0x2E, nineBytes);
        sent();
        instrumentSends(acknowledgement(0x00, 1));
        if (isGoodbyeWritten) {
            EXPECT_THAT(sent(), ElementsAre("55 AA A4 07", secondPacket));
            EXPECT_EQ(link.state(), State::closing);
        } else {
            EXPECT_THAT(sent(), ElementsAre("55 AA A4 07"));
            EXPECT_EQ(link.state(), State::notConnected);
        }
        canWrite = true;
    }
}

// --- from the instrument

TEST_F(LinkTransferTest, AcknowledgesEachPacketWithTheNumberOfTheNext) {
    instrumentSends("AA 55 A6 07 00 00 00 40 06 00 24 A0 A1 A2 04 7F");
    EXPECT_THAT(sent(), ElementsAre("55 AA A7 07 01 00 00 00"));
    EXPECT_EQ(link.state(), State::receiving);
    EXPECT_EQ(send(0x21), CQ_DEVICE_IS_BUSY);

    instrumentSends("AA 55 A6 07 01 00 00 00 04 00 A3 A4 4C A0");
    EXPECT_THAT(sent(), ElementsAre("55 AA A7 07 02 00 00 00"));
    EXPECT_THAT(heard(), ElementsAre("data 24 at 0: A0 A1 A2", "data 24 at 4: A3 A4 last"));
    EXPECT_EQ(link.state(), State::idle);
}

TEST_F(LinkTransferTest, TakesAReplyInPlaceOfTheAcknowledgement) {
    send(0x21);
    instrumentSends("AA 55 A6 07 00 00 00 00 04 00 21 10 E9 3A");
    EXPECT_THAT(heard(), ElementsAre("data 21 at 0: 10 last"));
    EXPECT_EQ(link.state(), State::idle);
    EXPECT_EQ(send(0x21), CQ_NO_ERROR);
}

TEST_F(LinkTransferTest, RunsInBothDirectionsAtOnce) {
    send(0x2E, nineBytes);
    instrumentSends("AA 55 A6 07 00 00 00 40 06 00 24 A0 A1 A2 04 7F");
    instrumentSends(acknowledgement(0x00, 1));
    instrumentSends(acknowledgement(0x00, 2));
    instrumentSends("AA 55 A6 07 01 00 00 00 04 00 A3 A4 4C A0");
    EXPECT_THAT(sent(), ElementsAre(firstPacket, "55 AA A7 07 01 00 00 00", secondPacket,
                                    "55 AA A7 07 02 00 00 00"));
    EXPECT_THAT(heard(), ElementsAre("data 24 at 0: A0 A1 A2", "progress 2E of 9 error 0",
                                     "progress 2E of 9 error 0 done", "data 24 at 4: A3 A4 last"));
    EXPECT_EQ(link.state(), State::idle);
}

// None of these packets is the next one of the transfer, and each is followed by the one that is.
TEST_F(LinkTransferTest, AsksAgainForDamagedPacketsAndDropsAllOthers) {
    struct Case {
        const char* packet;
        Lines answer;
    };
    const Lines again{"55 AA A7 07 01 00 00 80"};
    for (const Case& item : {
             Case{"AA 55 A6 07 01 00 00 00 04 00 A3 A4 4C A1", again},
             Case{"AA 55 A6 07 01 00 00 00 04 00 A3 A5 4C A0", again},
             Case{"AA 55 A6 07 01 00 00 00 02 00 00 00", again},
             // The CRC of "123456789" with its bytes the wrong way round.
             Case{"AA 55 A6 07 01 00 00 00 0B 00 31 32 33 34 35 36 37 38 39 29 B1", again},
             Case{"AA 55 A6 07 00 00 00 40 06 00 24 A0 A1 A2 04 7F", {}},
             Case{"AA 55 A6 07 02 00 00 00 04 00 A3 A4 4C A0", {}},
             Case{"AA 55 A6 07 01 00 01 00 04 00 A3 A4 4C A0", {}},
             // Wrong in two ways: length and number tell before the CRC does.
             Case{"AA 55 A6 07 09 00 00 00 02 00 00 00", {}},
             Case{"AA 55 A6 07 09 00 00 00 01 00 A3", {}},
             Case{"AA 55 A6 07 01 00 00 00 00 00", {}},
             Case{"AA 55 A6 07 01 00 00 00 01 00 A3", {}},
         }) {
        instrumentSends("AA 55 A6 07 00 00 00 40 06 00 24 A0 A1 A2 04 7F");
        forget();
        instrumentSends(item.packet);
        EXPECT_EQ(sent(), item.answer) << item.packet;
        EXPECT_THAT(heard(), IsEmpty()) << item.packet;

        instrumentSends("AA 55 A6 07 01 00 00 00 04 00 A3 A4 4C A0");
        EXPECT_THAT(sent(), ElementsAre("55 AA A7 07 02 00 00 00")) << item.packet;
        EXPECT_THAT(heard(), ElementsAre("data 24 at 4: A3 A4 last")) << item.packet;
    }
}

// A damaged or misplaced first packet does not begin a transfer: a command may still be sent.
TEST_F(LinkTransferTest, StaysFreeUntilAFirstPacketIsRight) {
    instrumentSends("AA 55 A6 07 00 00 00 40 06 00 24 A0 A1 A2 04 7E");
    EXPECT_THAT(sent(), ElementsAre("55 AA A7 07 00 00 00 80"));
    instrumentSends("AA 55 A6 07 05 00 00 00 04 00 A3 A4 4C A0");
    EXPECT_THAT(sent(), IsEmpty());
    EXPECT_EQ(send(0x21), CQ_NO_ERROR);
}

TEST_F(LinkTransferTest, TakesEveryFlagButTwoForTheLastPacket) {
    for (unsigned flag = 0; flag < 0xFF; ++flag) {
        connect("14 00");
        instrumentSends(dataPacket(0, static_cast<std::uint8_t>(flag), hex("21 01")));
        EXPECT_THAT(heard(),
                    ElementsAre(flag == kMore ? "data 21 at 0: 01" : "data 21 at 0: 01 last"));
    }
}

TEST_F(LinkTransferTest, PassesOnTheInstrumentsErrorWhateverElseIsWrong) {
    for (const auto* packet : {"AA 55 A6 07 56 34 12 FF 00 00", "AA 55 A6 07 56 34 12 FF 01 00 00",
                               "AA 55 A6 07 56 34 12 FF 03 00 AA 00 00"}) {
        beginReceiving();
        instrumentSends(packet);
        EXPECT_THAT(heard(), ElementsAre("data 24 at 0: error 1193046 last")) << packet;
    }
}

TEST_F(LinkTransferTest, TellsTheListenerWhenTheInstrumentAborts) {
    instrumentSends("AA 55 A6 07 02 01 00 FF 00 00");
    EXPECT_THAT(heard(), ElementsAre("data 00 at 0: error 258 last"));

    beginReceiving();
    instrumentSends(dataPacket(1, kMore, hex("02 03")));
    forget();
    instrumentSends("AA 55 A6 07 02 01 00 FF 00 00");
    EXPECT_THAT(heard(), ElementsAre("data 24 at 2: error 258 last"));
    EXPECT_THAT(sent(), IsEmpty());
    EXPECT_EQ(link.state(), State::idle);

    // The rest of the transfer is over; another may begin.
    instrumentSends(dataPacket(2, kLast, hex("04")));
    EXPECT_THAT(heard(), IsEmpty());
    instrumentSends(dataPacket(0, kLast, hex("23 01")));
    EXPECT_THAT(heard(), ElementsAre("data 23 at 0: 01 last"));
}

TEST_F(LinkTransferTest, AbortsWithTheNumberOfTheNextPacket) {
    onData = [] { return std::uint16_t{1}; };
    instrumentSends(dataPacket(0, kMore, hex("24 01")));
    EXPECT_THAT(sent(), ElementsAre("55 AA A7 07 01 00 00 FF"));
    EXPECT_EQ(link.state(), State::idle);
    heard();
    instrumentSends(dataPacket(1, kLast, hex("02 03")));
    expectSilence();
}

TEST_F(LinkTransferTest, CutsTheNumberInAnAbortTo16Bits) {
    constexpr std::uint32_t kCount = 0x10002;
    std::uint32_t count = 0;
    onData = [&count] { return static_cast<std::uint16_t>(++count == kCount ? 9 : 0); };
    for (std::uint32_t sequence = 0; sequence < kCount; ++sequence) {
        instrumentSends(dataPacket(sequence, kMore, hex("24")));
    }
    const Lines answers = sent();
    EXPECT_EQ(answers.at(kCount - 2), "55 AA A7 07 01 00 01 00");
    EXPECT_EQ(answers.at(kCount - 1), "55 AA A7 07 02 00 00 FF");
}

TEST_F(LinkTransferTest, AcknowledgesBeforeACommandThatTheListenerSends) {
    onData = [this] {
        EXPECT_EQ(send(0x22), CQ_NO_ERROR);
        return std::uint16_t{0};
    };
    instrumentSends(dataPacket(0, kLast, hex("23 01")));
    EXPECT_THAT(sent(),
                ElementsAre("55 AA A7 07 01 00 00 00", "55 AA A6 07 00 00 00 00 03 00 22 D0 E5"));
    EXPECT_EQ(link.state(), State::sending);
    heard();
    instrumentSends(acknowledgement(0x00, 1));
    EXPECT_THAT(heard(), ElementsAre("progress 22 of 0 error 0 done"));
}

TEST_F(LinkTransferTest, LeavesTheStateToAListenerThatActsOnAnAbort) {
    onData = [this] {
        EXPECT_EQ(send(0x22), CQ_NO_ERROR);
        return std::uint16_t{0};
    };
    instrumentSends("AA 55 A6 07 05 00 00 FF 00 00");
    EXPECT_EQ(link.state(), State::sending);

    onData = [this] {
        link.requestDisconnect(now);
        return std::uint16_t{0};
    };
    instrumentSends("AA 55 A6 07 05 00 00 FF 00 00");
    EXPECT_EQ(link.state(), State::closing);
    instrumentSends("AA 55 A5 07");

    connect("14 00");
    instrumentSends(dataPacket(0, kLast, hex("23 01")));
    EXPECT_THAT(sent(), ElementsAre("55 AA A4 07", "55 AA A7 07 01 00 00 00"));
    EXPECT_EQ(link.state(), State::closing);
}

TEST_F(LinkTransferTest, TakesNoDataWithoutASession) {
    instrumentSends("AA 55 A4 07");
    forget();
    instrumentSends(dataPacket(0, kLast, hex("23 01")));
    instrumentSends("AA 55 A6 07 05 00 00 FF 00 00");
    expectSilence();
    EXPECT_EQ(link.state(), State::notConnected);
}

}  // namespace
}  // namespace ovk
