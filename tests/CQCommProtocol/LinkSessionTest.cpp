// How a session begins, is kept and ends.

#include "CQCommProtocol/LinkTest.h"

namespace ovk {
namespace {

using namespace std::chrono_literals;
using test::hex;
using test::hexText;
using test::Lines;
using testing::ElementsAre;
using testing::IsEmpty;
using State = Link::State;

/// Adds ways into each state.
class LinkSessionTest : public test::LinkTest {
  protected:
    void enter(State state) {
        link.endSession();
        if (state == State::shakeHandsRequested) {
            link.shakeHands();
        } else if (state != State::notConnected) {
            connect();
        }
        if (state == State::sending) {
            beginSending();
        } else if (state == State::receiving) {
            beginReceiving();
        } else if (state == State::closing) {
            link.requestDisconnect(now);
        }
        forget();
        ASSERT_EQ(link.state(), state);
    }

    static constexpr std::array kConnectedStates{State::idle, State::sending, State::receiving,
                                                 State::closing};
    static constexpr std::array kAllStates{State::notConnected, State::shakeHandsRequested,
                                           State::idle,         State::sending,
                                           State::receiving,    State::closing};
};

TEST_F(LinkSessionTest, BeginsWithThreePackets) {
    link.shakeHands();
    EXPECT_THAT(sent(), ElementsAre("55 AA A1 00 00 00 02 00 02"));
    EXPECT_EQ(link.state(), State::shakeHandsRequested);
    EXPECT_FALSE(link.hasSession());

    instrumentSends("AA 55 A2 07 99 40 00 11 22 33 44 55 66");
    EXPECT_THAT(sent(), ElementsAre("55 AA A3 07"));
    EXPECT_THAT(heard(), ElementsAre("connected"));
    EXPECT_EQ(link.state(), State::idle);
    EXPECT_EQ(link.session(), 7);
    EXPECT_EQ(link.instrumentValues().a, 0x11);
    EXPECT_EQ(link.instrumentValues().b, 0x443322U);
}

TEST_F(LinkSessionTest, NeedsAnIdentifierFrom1To254) {
    struct Case {
        const char* acknowledgement;
        Lines answer;
        const char* heard;
    };
    for (const Case& item : {
             Case{"AA 55 A2 01 00 40 00 00 00 00 00 00 00", {"55 AA A3 01"}, "connected"},
             Case{"AA 55 A2 FE 00 40 00 00 00 00 00 00 00", {"55 AA A3 FE"}, "connected"},
             Case{"AA 55 A2 00 00 40 00 00 00 00 00 00 00", {}, "refused"},
             Case{"AA 55 A2 FF 00 40 00 00 00 00 00 00 00", {}, "refused"},
         }) {
        link.shakeHands();
        sent();
        instrumentSends(item.acknowledgement);
        EXPECT_EQ(sent(), item.answer);
        EXPECT_THAT(heard(), ElementsAre(item.heard));
        EXPECT_EQ(link.hasSession(), !item.answer.empty());
        EXPECT_EQ(send(0x21), item.answer.empty() ? CQ_NO_SESSION : CQ_NO_ERROR);
    }
}

TEST_F(LinkSessionTest, IsNotChangedByAKeepAliveOrWhatIsOutOfPlace) {
    for (const State state : kAllStates) {
        for (const std::string packet : {
                 "AA 55 A8 07",
                 // An answer that was not asked for, and what only a host sends.
                 "AA 55 A2 09 00 00 01 00 00 00 00 00 00",
                 "AA 55 A1 00 00 00 02 00 02 AA 55 A3 07 AA 55 A9 07",
             }) {
            if (state == State::shakeHandsRequested && packet.starts_with("AA 55 A2")) {
                continue;
            }
            enter(state);
            const auto session = link.session();
            instrumentSends(packet);
            if (packet == "AA 55 A8 07") {
                EXPECT_THAT(sent(), ElementsAre(link.hasSession() ? "55 AA A9 07" : "55 AA A9 00"));
            }
            expectSilence(packet);
            EXPECT_EQ(link.state(), state) << packet;
            EXPECT_EQ(link.session(), session) << packet;
        }
    }
}

TEST_F(LinkSessionTest, KeepsToTheLargestPacketThatTheInstrumentNames) {
    struct Case {
        const char* maxPacket;
        std::size_t packetSize;
    };
    // 100 bytes are more than one packet of each but the last size.
    for (const Case& item : {Case{"40 00", 64}, Case{"20 00", 32}, Case{"0D 00", 13},
                             Case{"0C 00", 64}, Case{"00 00", 64}, Case{"FF FF", 112}}) {
        connect(item.maxPacket);
        ASSERT_EQ(send(0x2E, test::pattern(99)), 0U);
        EXPECT_EQ(hex(sent().at(0)).size(), item.packetSize) << item.maxPacket;
    }
}

TEST_F(LinkSessionTest, EndsWhenTheInstrumentSaysGoodbye) {
    for (const State state : kConnectedStates) {
        enter(state);
        instrumentSends("AA 55 A4 07");
        EXPECT_THAT(sent(), ElementsAre("55 AA A5 07"));
        EXPECT_THAT(heard(), ElementsAre("disconnected"));
        EXPECT_EQ(link.state(), State::notConnected);
        EXPECT_EQ(send(0x21), CQ_NO_SESSION);
        EXPECT_THAT(sent(), IsEmpty());
    }
    enter(State::notConnected);
    instrumentSends("AA 55 A4 07");
    EXPECT_THAT(sent(), ElementsAre("55 AA A5 00"));
    EXPECT_THAT(heard(), IsEmpty());
}

TEST_F(LinkSessionTest, EndsWhenTheInstrumentAnswersTheGoodbye) {
    for (const State state : {State::idle, State::sending, State::receiving}) {
        enter(state);
        link.requestDisconnect(now);
        EXPECT_THAT(sent(), ElementsAre("55 AA A4 07"));
        EXPECT_EQ(link.state(), State::closing);
        EXPECT_EQ(send(0x21), CQ_DEVICE_IS_BUSY);
        EXPECT_THAT(heard(), IsEmpty());

        instrumentSends("AA 55 A5 07");
        EXPECT_THAT(heard(), ElementsAre("disconnected"));
        EXPECT_FALSE(link.hasSession());
        EXPECT_THAT(sent(), IsEmpty());
    }
}

TEST_F(LinkSessionTest, EndsAtOnceWhenTheGoodbyeCannotBeWritten) {
    connect();
    canWrite = false;
    link.requestDisconnect(now);
    EXPECT_THAT(heard(), ElementsAre("disconnected"));
    EXPECT_EQ(link.state(), State::notConnected);
}

// Between the goodbye and its answer nothing that is on its way is lost, and nothing opens the
// session up again.
TEST_F(LinkSessionTest, EndsRunningTransfersAfterTheGoodbye) {
    enter(State::receiving);
    link.requestDisconnect(now);
    instrumentSends(test::dataPacket(1, test::kLast, hex("02")));
    instrumentSends(test::dataPacket(0, test::kLast, hex("23 01")));  // pressed just now
    EXPECT_THAT(heard(), ElementsAre("data 24 at 2: 02 last", "data 23 at 0: 01 last"));
    EXPECT_THAT(sent(),
                ElementsAre("55 AA A4 07", "55 AA A7 07 02 00 00 00", "55 AA A7 07 01 00 00 00"));
    EXPECT_EQ(link.state(), State::closing);

    enter(State::sending);
    link.requestDisconnect(now);
    instrumentSends(test::acknowledgement(0x00, 1));
    instrumentSends(test::acknowledgement(0x00, 2));
    EXPECT_THAT(heard(),
                ElementsAre("progress 2E of 99 error 0", "progress 2E of 99 error 0 done"));
    EXPECT_EQ(link.state(), State::closing);
    instrumentSends("AA 55 A5 07");
    EXPECT_EQ(link.state(), State::notConnected);
}

TEST_F(LinkSessionTest, EndsWhenTheGoodbyeStaysUnanswered) {
    connect();
    link.requestDisconnect(now);
    now += 1001ms;
    link.watch(now);
    EXPECT_EQ(link.state(), State::closing);
    // Whatever the instrument says, it is still there.
    instrumentSends("AA 55 A8 07");
    now += 1001ms;
    link.watch(now);
    EXPECT_THAT(heard(), IsEmpty());
    now += 1ns;
    link.watch(now);
    EXPECT_THAT(heard(), ElementsAre("disconnected"));
    EXPECT_EQ(link.state(), State::notConnected);
}

TEST_F(LinkSessionTest, LastsThroughAnySilence) {
    for (const State state :
         {State::shakeHandsRequested, State::idle, State::sending, State::receiving}) {
        enter(state);
        now += 24h;
        link.watch(now);
        EXPECT_EQ(link.state(), state);
        EXPECT_THAT(heard(), IsEmpty());
    }
}

TEST_F(LinkSessionTest, EndsWithThePort) {
    for (const State state : kConnectedStates) {
        enter(state);
        link.endSession();
        EXPECT_THAT(heard(), ElementsAre("disconnected"));
        EXPECT_THAT(sent(), IsEmpty());
        EXPECT_EQ(link.state(), State::notConnected);
        EXPECT_FALSE(link.hasSession());
    }
    for (const State state : {State::notConnected, State::shakeHandsRequested}) {
        enter(state);
        link.endSession();
        EXPECT_THAT(heard(), IsEmpty());
        EXPECT_EQ(link.state(), State::notConnected);
    }
}

// The host was killed in the middle of a session and has been started again; the instrument goes on
// with the old session until it has read the new request. Whatever it still sends, the shake-hands
// must come about.
TEST_F(LinkSessionTest, IsNotBrokenByWhatAKilledHostLeftBehind) {
    for (const auto* left : {
             "AA 55 A6 05 03 00 00 40 03 00 11 00 00",  // its data, numbers and CRC as they may be
             "AA 55 A6 05 00 00 00 00 03 00 24 16 85",
             "AA 55 A6 05 02 00 00 FF 00 00",
             "AA 55 A7 05 01 00 00 00",
             "AA 55 A7 05 01 00 00 80",
             "AA 55 A7 05 01 00 00 FF",
             "AA 55 A5 05",
             "11 22 33 AA 55 44",
         }) {
        link.shakeHands();
        sent();
        instrumentSends(left);
        expectSilence(left);
        instrumentSends("AA 55 A2 07 00 40 00 00 00 00 00 00 00");
        EXPECT_THAT(sent(), ElementsAre("55 AA A3 07")) << left;
        EXPECT_THAT(heard(), ElementsAre("connected")) << left;
    }
    link.shakeHands();
    sent();
    instrumentSends("AA 55 A4 05 AA 55 A2 07 00 40 00 00 00 00 00 00 00");
    EXPECT_THAT(sent(), ElementsAre("55 AA A5 00", "55 AA A3 07"));
    EXPECT_THAT(heard(), ElementsAre("connected"));
}

TEST_F(LinkSessionTest, StartsCleanWithEachRequest) {
    connect("20 00");
    beginReceiving();
    instrumentSends("AA 55 A6 07 01 00 00 40 FF 00 12");  // the beginning of a long packet
    connect();
    // The old transfer is not gone on with, and a new one begins.
    instrumentSends(test::dataPacket(1, test::kMore, hex("02")));
    EXPECT_THAT(heard(), IsEmpty());
    instrumentSends(test::dataPacket(0, test::kLast, hex("23 01")));
    EXPECT_THAT(heard(), ElementsAre("data 23 at 0: 01 last"));
}

class RecordingRawDataListener : public IRawDataListener {
  public:
    void rawData(std::span<const std::uint8_t> bytes) override { heard.push_back(hexText(bytes)); }
    Lines heard;
};

TEST_F(LinkSessionTest, PassesOnBytesThatBelongToNoPacketWhileAskedTo) {
    RecordingRawDataListener listener;
    connect();
    link.setRawDataListener(&listener, true);
    instrumentSends("01 02 AA 55 A8 07 03 AA 55 A2 09 00 40 00 00 00 00 00 00 00 04");
    EXPECT_THAT(listener.heard,
                ElementsAre("01 02", "03 AA 55 A2 09 00 40 00 00 00 00 00 00 00", "04"));
    EXPECT_THAT(sent(), ElementsAre("55 AA A9 07"));

    link.setRawDataListener(&listener, false);
    instrumentSends("05");
    link.setRawDataListener(&listener, true);
    instrumentSends("AA 55 A8 07");
    EXPECT_EQ(listener.heard.size(), 3U);
    link.setRawDataListener(nullptr, true);
    instrumentSends("06");
    EXPECT_EQ(listener.heard.size(), 3U);
}

}  // namespace
}  // namespace ovk
