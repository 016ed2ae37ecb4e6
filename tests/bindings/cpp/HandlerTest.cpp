// What receives measurements made with the instrument's button: how long it lives, and what may
// happen inside it.

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "cqapi/CQApi.hpp"
#include "peer/VirtualInstrument.h"

namespace {

using cqapi::Instrument;
using cqapi::MeasurementRecord;
using cqtest::VirtualInstrument;

/// Counts and waits.
class Counter {
  public:
    void add() {
        const std::lock_guard lock(mutex_);
        ++count_;
        changed_.notify_all();
    }
    /// The count, once it has come to so many or after 10 s.
    int waitFor(int count) {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, std::chrono::seconds(10), [&] { return count_ >= count; });
        return count_;
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int count_ = 0;
};

/// Waits until the instrument has stored so many pressed standards, as it does once they are
/// acknowledged. It may be busy with that.
void waitUntilStored(const Instrument& instrument, std::uint32_t count) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    std::uint32_t stored = 0;
    while (stored < count) {
        const std::uint32_t code = cqGetTotalStandards(instrument.handle(), &stored);
        ASSERT_TRUE(code == CQ_NO_ERROR || code == CQ_DEVICE_IS_BUSY) << code;
        ASSERT_LT(std::chrono::steady_clock::now(), deadline);
    }
}

TEST(CppHandler, ReceivesUntilItIsRemoved) {
    VirtualInstrument peer("--calibrated");
    Instrument opened = Instrument::open(peer.portName());
    Counter counter;
    std::vector<bool> kinds;
    std::vector<MeasurementRecord> records;
    const auto token = std::make_shared<int>(0);
    opened.setMeasurementHandler([&, token](bool isStandard, const MeasurementRecord& record) {
        kinds.push_back(isStandard);
        records.push_back(record);
        counter.add();
    });
    Instrument instrument = std::move(opened);  // the handler must not notice
    peer.pressStandard();
    peer.pressTrial();
    ASSERT_EQ(counter.waitFor(2), 2);
    EXPECT_EQ(kinds, (std::vector{true, false}));
    EXPECT_EQ(records.at(0).bytes[6], 0);
    EXPECT_EQ(records.at(1).bytes[6], 1);

    EXPECT_EQ(token.use_count(), 2);
    instrument.setMeasurementHandler({});
    EXPECT_EQ(token.use_count(), 1) << "what it owned is let go";
    peer.pressStandard();
    waitUntilStored(instrument, 2);
    EXPECT_EQ(kinds.size(), 2U);
}

TEST(CppHandler, MayReplaceItself) {
    VirtualInstrument peer("--calibrated");
    Instrument instrument = Instrument::open(peer.portName());
    Counter first;
    Counter second;
    auto token = std::make_shared<int>(7);
    instrument.setMeasurementHandler([&, owned = std::move(token)](bool, const MeasurementRecord&) {
        instrument.setMeasurementHandler([&](bool, const MeasurementRecord&) { second.add(); });
        EXPECT_EQ(*owned, 7) << "what runs outlives its replacement";
        first.add();
    });
    peer.pressStandard();
    peer.pressStandard();
    EXPECT_EQ(first.waitFor(1), 1);
    EXPECT_EQ(second.waitFor(1), 1);
}

TEST(CppHandler, ExceptionsStayOnThisSide) {
    VirtualInstrument peer("--calibrated");
    Instrument instrument = Instrument::open(peer.portName());
    Counter counter;
    instrument.setMeasurementHandler([&](bool, const MeasurementRecord&) {
        counter.add();
        throw std::domain_error("thrown inside");
    });
    EXPECT_NO_THROW(instrument.rethrowHandlerException());
    peer.pressStandard();
    peer.pressStandard();
    EXPECT_EQ(counter.waitFor(2), 2) << "the second measurement arrives all the same";
    waitUntilStored(instrument, 2);
    EXPECT_THROW(instrument.rethrowHandlerException(), std::domain_error);
    EXPECT_NO_THROW(instrument.rethrowHandlerException());
}

TEST(CppHandler, DestroyingTheInstrumentWaitsForARunningHandler) {
    VirtualInstrument peer("--calibrated");
    Counter began;
    std::atomic<bool> isEnded{false};
    {
        Instrument instrument = Instrument::open(peer.portName());
        instrument.setMeasurementHandler([&](bool, const MeasurementRecord&) {
            began.add();
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            isEnded = true;
        });
        peer.pressStandard();
        ASSERT_EQ(began.waitFor(1), 1);
    }
    EXPECT_TRUE(isEnded);
}

}  // namespace
