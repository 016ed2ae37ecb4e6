#include "ble/PacketReceiver.h"

#include <gmock/gmock.h>

#include <condition_variable>
#include <system_error>

#include "api/LogFile.h"
#include "ScriptedInstrument.h"
#include "serial/posix/PseudoTerminal.h"

namespace ovk {
namespace {

using namespace std::chrono_literals;
using bletest::codeOf;
using bletest::packetBytes;
using bletest::ScriptedPeer;
using bletest::toBytes;
using CQBleProtocol::CmdPacket;
using Packet = PacketReceiver::Packet;
using testing::ElementsAre;

constexpr auto kLong = 10'000ms;
constexpr auto kBrief = 40ms;

/// The packets that a handler has been given.
class Handled {
  public:
    PacketReceiver::PacketHandler handler() {
        return [this](const Packet& packet) {
            const std::lock_guard lock(mutex_);
            commands_.push_back(packet->cmd());
            arrived_.notify_all();
        };
    }
    std::vector<int> commands(std::size_t count) {
        std::unique_lock lock(mutex_);
        arrived_.wait_for(lock, kLong, [&] { return commands_.size() >= count; });
        return commands_;
    }

  private:
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::vector<int> commands_;
};

/// A receiver with an instrument at the other end of the line.
class Receiving {
  public:
    explicit Receiving(ScriptedPeer::Script script = {}) : peer(std::move(script)) {
        EXPECT_TRUE(port->open());
        receiver.startReceiving(port);
    }

    Packet request(int cmd, std::chrono::milliseconds timeout = kLong) {
        return receiver.sendPacket(CmdPacket(1, static_cast<std::uint8_t>(cmd)), timeout);
    }
    std::future<Packet> requestMeanwhile(int cmd) {
        return std::async(std::launch::async, [=, this] { return request(cmd); });
    }

    ScriptedPeer peer;
    std::shared_ptr<SerialPort> port = std::make_shared<SerialPort>(peer.portName());
    Handled handled;
    PacketReceiver receiver;  // last, so that its thread ends first
};

TEST(PacketReceiver, GivesARequestTheNextPacketWhateverItIs) {
    const std::string packet = packetBytes(2, 77, "abc");
    Receiving line({{packetBytes(1, 5), {packet.substr(0, 3), packet.substr(3)}}});
    line.receiver.setPacketHandler(line.handled.handler());
    const auto reply = line.request(5);
    EXPECT_EQ(reply->type(), 2);
    EXPECT_EQ(reply->cmd(), 77);
    EXPECT_TRUE(reply->payloadIs("abc"));
    EXPECT_EQ(line.peer.finish(), packetBytes(1, 5));
    EXPECT_TRUE(line.handled.commands(0).empty());
}

// A reply that comes after its request has given up must not be taken for a measurement that the
// instrument sends by itself; the packet after it is one.
TEST(PacketReceiver, ALateReplyGoesNowhere) {
    const test::LogFile log;
    Receiving line;
    line.receiver.setPacketHandler(line.handled.handler());
    EXPECT_EQ(codeOf([&] { line.request(4, kBrief); }), CQ_RECEIVING_TIMEOUT);
    line.peer.send(packetBytes(1, 4));
    ASSERT_TRUE(log.waitFor("received a packet: 1,4"));
    line.peer.send(packetBytes(1, 5));
    EXPECT_THAT(line.handled.commands(1), ElementsAre(5));
    line.receiver.stopReceiving();
    EXPECT_THAT(
        log.messages(),
        testing::UnorderedElementsAre(
            "Start receiving_thread\r\n", "waiting receiving packet... (timeout = 40ms)\r\n",
            "received packet timeout.\r\n", "sendPacket: receiving timeout.\r\n",
            "received a packet: 1,4\r\n", "received a packet: 1,5\r\n",
            "End receiving_thread\r\n"));
}

TEST(PacketReceiver, StoppingEndsTheRequestThatWaitsAndHandsThePortBack) {
    Receiving line({{packetBytes(1, 4), {}}, {"AT\r\n", {"OK\r\n"}}});
    auto waiting = line.requestMeanwhile(4);
    line.peer.awaitSteps(1);
    EXPECT_EQ(line.receiver.stopReceiving(), line.port);
    EXPECT_EQ(codeOf([&] { waiting.get(); }), CQ_DEVICE_IS_CLOSED);
    EXPECT_EQ(line.receiver.port(), nullptr);
    EXPECT_EQ(line.receiver.stopReceiving(), nullptr);

    ASSERT_EQ(line.port->write(toBytes("AT\r\n")), 4);
    EXPECT_EQ(line.port->readLine(kLong), "OK");
}

TEST(PacketReceiver, RequestsFailWithoutAPortOrItsDeviceAndAfterTheLastOne) {
    PacketReceiver unstarted;
    EXPECT_EQ(codeOf([&] { unstarted.sendPacket(CmdPacket(1, 1), kLong); }), CQ_DEVICE_IS_CLOSED);
    Receiving line({{packetBytes(1, 2), {packetBytes(1, 2)}}});
    EXPECT_EQ(line.receiver.sendLastPacket(CmdPacket(1, 2), kLong)->cmd(), 2);
    EXPECT_EQ(codeOf([&] { line.request(1); }), CQ_DEVICE_IS_CLOSED);
    Receiving gone;
    gone.peer.unplug();
    EXPECT_EQ(codeOf([&] { gone.request(1); }), CQ_DEVICE_IS_CLOSED);
}

// The device goes while a request waits: the thread ends by itself, which nobody notices until the
// time-out, or until receiving is stopped.
TEST(PacketReceiver, UnpluggingLeavesTheRequestWaitingUntilItIsStopped) {
    const test::LogFile log;
    Receiving line({{packetBytes(1, 4), {}}});
    auto waiting = line.requestMeanwhile(4);
    line.peer.awaitSteps(1);
    line.peer.unplug();
    ASSERT_TRUE(log.waitFor("End receiving_thread"));
    EXPECT_EQ(waiting.wait_for(kBrief), std::future_status::timeout);
    line.receiver.stopReceiving();
    EXPECT_THAT([&] { waiting.get(); },
                testing::ThrowsMessage<CommunicationException>("serial port detached"));
}

TEST(PacketReceiver, ARequestThatCannotBeWrittenFails) {
    const test::PseudoTerminal unread;
    const SerialPortSettings settings{.writeTimeout = kBrief};
    const auto port = std::make_shared<SerialPort>(unread.path(), settings);
    ASSERT_TRUE(port->open());
    PacketReceiver receiver;
    receiver.startReceiving(port);
    const CmdPacket tooMuch(1, 8, toBytes(bletest::pattern(65535)));
    EXPECT_EQ(codeOf([&] { receiver.sendPacket(tooMuch, kLong); }), CQ_SYSTEM_ERROR);
}

TEST(PacketReceiver, WhatAHandlerThrowsEndsTheThreadAndNothingElse) {
    const test::LogFile log;
    Receiving line;
    line.receiver.setPacketHandler([](const Packet&) { throw std::runtime_error("from a host"); });
    line.peer.send(packetBytes(1, 4));
    ASSERT_TRUE(log.waitFor("End receiving_thread"));
    EXPECT_EQ(line.receiver.stopReceiving(), line.port);
}

// A handler that stops receiving while another thread does so already must be refused, or the two
// would wait for each other for ever.
TEST(PacketReceiver, TheReceivingThreadCannotStopItself) {
    Receiving line;
    std::promise<void> entered;
    std::error_code refusal;
    line.receiver.setPacketHandler([&](const Packet&) {
        entered.set_value();
        std::this_thread::sleep_for(kBrief);
        try {
            line.receiver.stopReceiving();
        } catch (const std::system_error& error) {
            refusal = error.code();
        }
    });
    line.peer.send(packetBytes(1, 4));
    entered.get_future().get();
    EXPECT_EQ(line.receiver.stopReceiving(), line.port);
    EXPECT_EQ(refusal, std::errc::resource_deadlock_would_occur);
}

}  // namespace
}  // namespace ovk
