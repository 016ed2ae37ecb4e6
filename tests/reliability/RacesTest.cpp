// Eight threads close, call, look up and take callbacks on one handle at the same time. What must
// survive: every call returns with one of the codes of its documentation, an answer is never another
// call's, and no callback comes after it was removed.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <barrier>
#include <chrono>
#include <functional>
#include <iostream>
#include <mutex>
#include <random>
#include <thread>

#include "endtoend/wireless/Wireless.h"
#include "peer/AtOnce.h"
#include "peer/Rounds.h"

namespace cqtest {
namespace {

constexpr std::uint32_t kStandards = 5;
constexpr std::size_t kThreads = 8;

/// A callback's user data, of which it must be told when it is gone.
struct Audience {
    std::atomic<bool> isGone{false};
    std::atomic<int> heard{0};

    static void callback(bool, const CqMeasurementRecord* record, void* user) {
        auto& audience = *static_cast<Audience*>(user);
        EXPECT_FALSE(audience.isGone) << "called after it was removed";
        EXPECT_NE(record, nullptr);
        ++audience.heard;
    }
};

/// One handle and what eight threads do to it at once, each round in other roles.
class Race {
  public:
    using Open = std::function<CqHandle(const char*)>;
    using Role = void (Race::*)();

    /// \param longestStart how long after the opening a thread begins, at most.
    Race(VirtualInstrument& instrument, Open open, std::array<Role, kThreads> roles,
         std::chrono::microseconds longestStart)
        : instrument_(instrument),
          open_(std::move(open)),
          roles_(roles),
          longestStart_(longestStart) {
        const CqHandle handle = open_(instrument_.portName());
        EXPECT_EQ(cqUploadStandards(handle, stored_.data(), 0, kStandards), CQ_NO_ERROR);
        cqClose(handle);
    }

    void run(int rounds) {
        std::barrier line(kThreads);
        atOnce(kThreads, [&](std::size_t i) {
            std::mt19937 random(static_cast<unsigned>(i));
            for (int round = 0; round < rounds; ++round) {
                if (i == 0) {
                    handle_ = open_(instrument_.portName());
                    EXPECT_NE(handle_, nullptr) << "round " << round;
                }
                line.arrive_and_wait();
                play((i + static_cast<std::size_t>(round)) % kThreads, round, random);
                line.arrive_and_wait();
            }
        });
        EXPECT_GT(answered_, 0) << "no call came before the closing: there was no race";
        EXPECT_GT(heard_, 0) << "no callback came before the closing: there was no race";
        std::cout << rounds << " rounds, " << answered_ << " calls answered, " << heard_
                  << " callbacks\n";
    }

    void close() {
        cqClose(handle_);
        EXPECT_FALSE(cqIsValidHandle(handle_));
        std::uint32_t count = 0;
        EXPECT_EQ(cqGetTotalStandards(handle_, &count), CQ_NOT_SUPPORTED);
    }

    /// Leaves the others their time.
    void closeLate() {
        std::this_thread::sleep_for(longestStart_);
        close();
    }

    void count() {
        std::uint32_t count = 0;
        if (isAnswered(cqGetTotalStandards(handle_, &count))) {
            EXPECT_EQ(count, kStandards);
        }
    }

    /// Asks a wireless instrument, whose reply may turn out to be a button's record or the reply to
    /// the goodbye: nothing in it says what it replies to.
    void ask() {
        std::uint32_t count = 0;
        const std::uint32_t code = cqGetTotalStandards(handle_, &count);
        if (code != CQ_INVALID_PACKET) {
            isAnswered(code);
        }
    }

    void measure() {
        CqMeasurementRecord record;
        if (isAnswered(cqMeasureTrial(handle_, &record))) {
            EXPECT_EQ(std::memcmp(record.bytes, "VMR1", 4), 0);
        }
    }

    void upload() {
        std::array<CqMeasurementRecord, kStandards> records{};
        if (isAnswered(cqUploadStandards(handle_, records.data(), 0, kStandards))) {
            EXPECT_EQ(records, stored_);
        }
    }

    void listen() {
        Audience audience;
        cqSetMeasurementResultReceivedCallback(handle_, &Audience::callback, &audience);
        press();
        std::this_thread::sleep_for(longestStart_);
        cqSetMeasurementResultReceivedCallback(handle_, nullptr, nullptr);
        audience.isGone = true;
        heard_ += audience.heard;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

    void lookUp() {
        const CqHandle handle = handle_;
        for (int i = 0; i < 200; ++i) {
            char name[256] = {};
            const std::uint32_t code = cqGetPortName(handle, name, sizeof(name) - 1);
            EXPECT_TRUE(code == CQ_NO_ERROR || code == CQ_NOT_SUPPORTED) << code;
            // A handle that is being closed has no port any more.
            const std::string text = name;
            EXPECT_TRUE(text.empty() || text == instrument_.portName()) << text;
            cqIsValidHandle(handle);
        }
    }

    void press() {
        const std::lock_guard lock(keysMutex_);
        instrument_.pressTrial();
    }

  private:
    /// In some rounds all happens in one moment, in others some calls are over before the closing.
    void play(std::size_t role, int round, std::mt19937& random) {
        const auto longest = longestStart_ * (round % 4 + 1) / 4;
        std::uniform_int_distribution<long> microseconds(0, static_cast<long>(longest.count()));
        std::this_thread::sleep_for(std::chrono::microseconds(microseconds(random)));
        (this->*roles_[role])();
    }

    bool isAnswered(std::uint32_t code) {
        static constexpr std::array<std::uint32_t, 6> kExpected{
            CQ_NO_ERROR,       CQ_DEVICE_IS_CLOSED, CQ_NO_SESSION,
            CQ_DEVICE_IS_BUSY, CQ_SYSTEM_ERROR,     CQ_NOT_SUPPORTED};
        EXPECT_NE(std::find(kExpected.begin(), kExpected.end(), code), kExpected.end()) << code;
        answered_ += code == CQ_NO_ERROR ? 1 : 0;
        return code == CQ_NO_ERROR;
    }

    VirtualInstrument& instrument_;
    Open open_;
    std::array<Role, kThreads> roles_;
    std::chrono::microseconds longestStart_;
    std::mutex keysMutex_;
    std::array<CqMeasurementRecord, kStandards> stored_{};
    std::atomic<CqHandle> handle_{nullptr};
    std::atomic<int> answered_{0};
    std::atomic<int> heard_{0};
};

/// Time for some calls and callbacks before the closing. Wine passes every byte and every wait on to
/// another process.
#ifdef _WIN32
constexpr std::chrono::milliseconds kWiredRound{100};
#else
constexpr std::chrono::milliseconds kWiredRound{16};
#endif

TEST(Races, WiredHandleIsClosedWhileAllElseGoesOn) {
    VirtualInstrument instrument("--calibrated --standards 5");
    Race race(instrument, &cqOpen,
              {&Race::close, &Race::count, &Race::measure, &Race::listen, &Race::lookUp,
               &Race::upload, &Race::close, &Race::press},
              kWiredRound);
    race.run(roundsOr(100));
}

// Requests on a wireless handle must not overlap, so one thread alone makes them.
TEST(Races, WirelessHandleIsClosedWhileAllElseGoesOn) {
    Adapter adapter("--calibrated --standards 5");
    Race race(
        adapter, [](const char* port) { return openWireless(port); },
        {&Race::closeLate, &Race::ask, &Race::listen, &Race::lookUp, &Race::listen, &Race::lookUp,
         &Race::closeLate, &Race::listen},
        std::chrono::milliseconds(150));
    race.run(std::min(roundsOr(3), 100));
}

}  // namespace
}  // namespace cqtest
