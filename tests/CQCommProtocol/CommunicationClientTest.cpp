// The client with its threads over a pseudo-terminal, with the test in the instrument's place.

#include "CQCommProtocol/CommunicationClient.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <functional>
#include <future>
#include <mutex>
#include <stdexcept>
#include <system_error>

#include "peer/WaitUntil.h"
#include "serial/posix/PseudoTerminal.h"

namespace ovk {
namespace {

using namespace std::chrono_literals;
using cqtest::kPatience;
using test::Bytes;
using test::hex;
using test::hexText;
using test::PseudoTerminal;

constexpr auto kData = "AA 55 A6 07 00 00 00 00 04 00 21 10 E9 3A";
constexpr auto kShakeHandsAnswer = "AA 55 A2 07 00 40 00 00 00 00 00 00 00";

/// Remembers what it hears, and lets the test wait for it.
class AwaitableListener : public ICommunicationEventListener {
  public:
    /// True when such an event has come, or comes in time.
    bool hears(const std::string& event) {
        return cqtest::waitUntil([&] { return hasHeard(event); });
    }
    bool hasHeard(const std::string& event) {
        const std::lock_guard lock(mutex_);
        return std::ranges::find(events_, event) != events_.end();
    }

    std::function<void()> onData = [] {};

  private:
    void connectionResult(bool isConnected) override { add(isConnected ? "connected" : "refused"); }
    void disconnected() override { add("disconnected"); }
    std::uint16_t dataReceived(std::uint8_t, std::uint32_t, std::span<const std::uint8_t> data,
                               std::uint32_t, bool) override {
        add("data " + hexText(data));
        onData();
        return 0;
    }
    std::uint16_t transferProgress(std::uint8_t, std::uint32_t, std::uint16_t, bool) override {
        add("progress");
        return 0;
    }

    void add(const std::string& event) {
        const std::lock_guard lock(mutex_);
        events_.push_back(event);
    }

    std::mutex mutex_;
    std::vector<std::string> events_;
};

class CommunicationClientTest : public testing::Test {
  protected:
    // Without the device nobody waits for the answer to a goodbye.
    void TearDown() override { terminal.hangUp(); }

    /// Expects the host to send just this.
    void expectFromHost(std::string_view text) {
        EXPECT_EQ(hexText(terminal.receive(hex(text).size())), text);
    }

    void connect(std::string_view answer = kShakeHandsAnswer) {
        ASSERT_TRUE(client.open(terminal.path()));
        client.shakeHands();
        expectFromHost("55 AA A1 00 00 00 02 00 02");
        terminal.send(hex(answer));
        expectFromHost("55 AA A3 07");
        ASSERT_TRUE(listener.hears("connected"));
    }

    /// Closes, with the instrument answering the goodbye.
    void close() {
        auto closed = std::async(std::launch::async, [this] { client.close(); });
        expectFromHost("55 AA A4 07");
        terminal.send(hex("AA 55 A5 07"));
        closed.get();
    }

    PseudoTerminal terminal;
    AwaitableListener listener;
    CommunicationClient client{listener};
};

TEST_F(CommunicationClientTest, RefusesToWorkWithoutAPortOrASession) {
    EXPECT_FALSE(client.open("/dev/no-such-port"));
    EXPECT_FALSE(client.isConnected());
    EXPECT_EQ(client.Send(0x21, {}), CQ_DEVICE_IS_CLOSED);
    ASSERT_TRUE(client.open(terminal.path()));
    EXPECT_TRUE(client.isConnected());
    EXPECT_EQ(client.portName(), terminal.path());
    EXPECT_FALSE(client.open(terminal.path()));
    EXPECT_EQ(client.Send(0x21, {}), CQ_NO_SESSION);
    client.close();
    EXPECT_EQ(client.Send(0x21, {}), CQ_DEVICE_IS_CLOSED);
    client.close();
}

TEST_F(CommunicationClientTest, SaysGoodbyeAndCanBeOpenedAgain) {
    auto fastest = std::chrono::steady_clock::duration::max();
    for (int round = 0; round < 3; ++round) {
        connect();
        const auto start = std::chrono::steady_clock::now();
        close();
        fastest = std::min(fastest, std::chrono::steady_clock::now() - start);
        EXPECT_TRUE(listener.hasHeard("disconnected"));
        EXPECT_FALSE(client.hasSession());
        EXPECT_FALSE(client.isConnected());
        EXPECT_EQ(client.portName(), "");
    }
    // The answer ends the wait; it is not found at the end of a round of 50 ms.
    EXPECT_LT(fastest, 45ms);
}

TEST_F(CommunicationClientTest, WaitsHalfASecondForTheAnswerToItsGoodbye) {
    connect();
    const auto start = std::chrono::steady_clock::now();
    client.close();
    const auto elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_GE(elapsed, 450ms);
    EXPECT_LT(elapsed, 5s);
    EXPECT_TRUE(listener.hasHeard("disconnected"));
    EXPECT_FALSE(client.hasSession());
}

TEST_F(CommunicationClientTest, EndsTheSessionWhenTheGoodbyeStaysUnanswered) {
    connect();
    client.closePort();
    EXPECT_TRUE(listener.hears("disconnected"));
    EXPECT_FALSE(client.hasSession());
}

// The instrument is still sending to a host that was killed. The beginning of a long packet would
// swallow everything that comes within five seconds, the answer to the shake-hands as well.
TEST_F(CommunicationClientTest, LetsTheLineGetQuietBeforeTheShakeHands) {
    using Clock = std::chrono::steady_clock;
    ASSERT_TRUE(SerialPort(terminal.path()).open());  // from now on the terminal echoes nothing
    for (int attempt = 0; attempt < 20; ++attempt) {
        auto last = Clock::now();
        std::thread instrument([&] {
            for (const auto end = last + 120ms; last < end; last = Clock::now()) {
                terminal.send(hex("AA 55 A6 05 03 00 00 40 FF FF 01 02 03"));
                std::this_thread::sleep_for(3ms);
            }
        });
        const bool isOpen = client.open(terminal.path());
        const auto opened = Clock::now();
        instrument.join();
        ASSERT_TRUE(isOpen);
        if (opened > last - 5ms) {
            client.shakeHands();
            expectFromHost("55 AA A1 00 00 00 02 00 02");
            return;
        }
        client.close();  // a busy machine may make a pause that looks like quiet
    }
    FAIL() << "the line was not quiet yet";
}

TEST_F(CommunicationClientTest, NoticesThatTheDeviceIsGone) {
    connect();
    terminal.hangUp();
    EXPECT_FALSE(client.isConnected());
    EXPECT_EQ(client.Send(0x21, {}), CQ_NO_SESSION);

    const PseudoTerminal other;
    EXPECT_TRUE(client.open(other.path()));
    EXPECT_TRUE(listener.hasHeard("disconnected"));
    EXPECT_TRUE(client.isConnected());
    EXPECT_FALSE(client.hasSession());
}

// As a callback that takes its time, or waits for the very call.
TEST_F(CommunicationClientTest, WaitsNoLongerThanItsTimeForTheLink) {
    std::promise<void> entered;
    std::promise<void> mayLeave;
    listener.onData = [&] {
        entered.set_value();
        mayLeave.get_future().wait();
    };
    connect();
    terminal.send(hex(kData));
    entered.get_future().wait();
    EXPECT_FALSE(client.lockLink(Deadline::in(50ms)));
    mayLeave.set_value();
    EXPECT_TRUE(client.lockLink(Deadline::in(kPatience)));
}

// The callback is waited for, and its measurement acknowledged, before anything is said.
TEST_F(CommunicationClientTest, SaysGoodbyeAfterTheListenerHasEnded) {
    std::promise<void> entered;
    listener.onData = [&] {
        entered.set_value();
        std::this_thread::sleep_for(700ms);  // longer than a goodbye waits for room
    };
    connect();
    terminal.send(hex(kData));
    entered.get_future().wait();
    auto closed = std::async(std::launch::async, [this] { client.close(); });
    expectFromHost("55 AA A7 07 01 00 00 00 55 AA A4 07");
    terminal.hangUp();
    ASSERT_EQ(closed.wait_for(kPatience), std::future_status::ready);
}

TEST_F(CommunicationClientTest, CannotBeClosedByItsReceivingThread) {
    std::promise<void> refused;
    listener.onData = [&] {
        EXPECT_THROW(client.close(), std::system_error);
        refused.set_value();
    };
    connect();
    terminal.send(hex(kData));
    ASSERT_EQ(refused.get_future().wait_for(kPatience), std::future_status::ready);
    client.close();
    EXPECT_FALSE(client.isConnected());
    EXPECT_FALSE(client.hasSession());
}

// What the library's own thread throws ends the session, and not the process.
TEST_F(CommunicationClientTest, OutlivesWhatItsReceivingThreadThrows) {
    listener.onData = [] { throw std::runtime_error("no memory"); };
    connect();
    terminal.send(hex(kData));
    EXPECT_TRUE(listener.hears("disconnected"));
    EXPECT_EQ(client.Send(0x21, {}), CQ_NO_SESSION);
    client.close();
    EXPECT_FALSE(client.isConnected());
}

// Nobody writes, and the line is full: the goodbye must not wait for room.
TEST_F(CommunicationClientTest, ClosesAnIdlePortThatTakesNoBytes) {
    const int other = open(terminal.path().c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    connect();
    const std::array<char, 4096> bytes{};
    while (write(other, bytes.data(), bytes.size()) > 0) {
    }
    ::close(other);
    auto closed = std::async(std::launch::async, [this] { client.close(); });
    EXPECT_EQ(closed.wait_for(1500ms), std::future_status::ready);
    terminal.hangUp();
}

// The instrument has stopped reading, and a packet larger than the line holds is on its way: the
// writing thread holds the link mutex for as long as it takes.
TEST_F(CommunicationClientTest, ClosesWhileAWriteIsStuck) {
    connect("AA 55 A2 07 00 FF FF 00 00 00 00 00 00");
    auto sent =
        std::async(std::launch::async, [this] { return client.Send(0x2E, test::pattern(65000)); });
    ASSERT_EQ(sent.wait_for(100ms), std::future_status::timeout);
    auto closed = std::async(std::launch::async, [this] { client.close(); });
    ASSERT_EQ(closed.wait_for(kPatience), std::future_status::ready);
    ASSERT_EQ(sent.wait_for(kPatience), std::future_status::ready);
    EXPECT_FALSE(client.hasSession());
    Bytes written;
    for (Bytes some = terminal.receiveSome(50ms); !some.empty();
         some = terminal.receiveSome(50ms)) {
        written.insert(written.end(), some.begin(), some.end());
    }
    EXPECT_FALSE(written.empty());
    EXPECT_TRUE(std::ranges::search(written, hex("55 AA A4 07")).empty())
        << "a goodbye in the middle of a packet";
}

}  // namespace
}  // namespace ovk
