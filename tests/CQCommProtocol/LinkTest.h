#pragma once

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "CQCommProtocol/Link.h"
#include "CQCommProtocol/WireBytes.h"

namespace ovk::test {

using Lines = std::vector<std::string>;

/// A link, with a test in the instrument's place and in the listener's. Packets are hexadecimal
/// text; what the listener hears is put in words:
///
///     connected | refused | disconnected
///     data 24 at 4: 01 02 last             a piece of transfer 0x24, from its byte 4 on, the last
///     data 24 at 4: error 5 last           the instrument has aborted it
///     progress 2E of 99 error 0 done       a packet of transfer 0x2E has been acknowledged
class LinkTest : public testing::Test, protected ICommunicationEventListener {
  protected:
    LinkTest()
        : link(*this, [this](std::span<const std::uint8_t> bytes) {
              sent_.push_back(hexText(bytes));
              return canWrite;
          }) {}

    void instrumentSends(const Bytes& bytes) { link.receive(bytes, now); }
    void instrumentSends(std::string_view text) { instrumentSends(hex(text)); }

    /// What the host has written since the last look.
    Lines sent() { return std::exchange(sent_, {}); }
    /// What the listener has heard since the last look.
    Lines heard() { return std::exchange(heard_, {}); }
    /// Lets pass what has been written and heard so far.
    void forget() {
        sent_.clear();
        heard_.clear();
    }
    /// Expects nothing to have been written or heard since the last look.
    void expectSilence(const std::string& after = {}) {
        EXPECT_THAT(sent(), testing::IsEmpty()) << after;
        EXPECT_THAT(heard(), testing::IsEmpty()) << after;
    }

    /// Gets session 7, with a largest packet given as its two bytes.
    void connect(std::string_view maxPacket = "40 00") {
        link.shakeHands();
        instrumentSends("AA 55 A2 07 00 " + std::string(maxPacket) + " 00 00 00 00 00 00");
        ASSERT_EQ(link.state(), Link::State::idle);
        forget();
    }

    ResultCode send(std::uint8_t operation, const Bytes& data = {}) {
        return link.send(operation, data, nullptr, now);
    }

    /// Makes the link receive a transfer that has begun and not ended.
    void beginReceiving() {
        instrumentSends(dataPacket(0, kMore, hex("24 01")));
        ASSERT_EQ(link.state(), Link::State::receiving);
        forget();
    }

    void beginSending() {
        ASSERT_EQ(send(0x2E, pattern(99)), 0U);
        ASSERT_EQ(link.state(), Link::State::sending);
        sent();
    }

    bool canWrite = true;
    Link::TimePoint now{};
    /// What the listener does, and what it returns.
    std::function<std::uint16_t()> onData = [] { return std::uint16_t{0}; };
    std::function<std::uint16_t()> onProgress = [] { return std::uint16_t{0}; };
    Link link;

  private:
    void connectionResult(bool isConnected) override {
        heard_.push_back(isConnected ? "connected" : "refused");
    }
    void disconnected() override { heard_.push_back("disconnected"); }
    std::uint16_t dataReceived(std::uint8_t operation, std::uint32_t offset,
                               std::span<const std::uint8_t> data, std::uint32_t error,
                               bool isLast) override {
        const Bytes name{operation};
        heard_.push_back("data " + hexText(name) + " at " + std::to_string(offset) + ":" +
                         (data.empty() ? "" : " " + hexText(data)) +
                         (error == 0 ? "" : " error " + std::to_string(error)) +
                         (isLast ? " last" : ""));
        return onData();
    }
    std::uint16_t transferProgress(std::uint8_t operation, std::uint32_t total, std::uint16_t error,
                                   bool isDone) override {
        const Bytes name{operation};
        heard_.push_back("progress " + hexText(name) + " of " + std::to_string(total) + " error " +
                         std::to_string(error) + (isDone ? " done" : ""));
        return onProgress();
    }

    Lines sent_;
    Lines heard_;
};

}  // namespace ovk::test
