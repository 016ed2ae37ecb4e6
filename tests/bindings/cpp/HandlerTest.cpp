// What receives measurements made with the instrument's button: how long it lives, and what may
// happen inside it.

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>

#include "cqapi/CQApi.hpp"
#include "peer/VirtualInstrument.h"
#include "peer/WaitUntil.h"

namespace {

using cqapi::Instrument;
using cqapi::MeasurementRecord;
using cqtest::waitUntil;

class CppHandler : public testing::Test {
  protected:
    /// Whether the instrument has stored so many pressed standards, as it does once they are
    /// acknowledged. It may be busy with that.
    static bool hasStored(const Instrument& instrument, std::uint32_t count) {
        return waitUntil([&] {
            std::uint32_t stored = 0;
            const std::uint32_t code = cqGetTotalStandards(instrument.handle(), &stored);
            EXPECT_TRUE(code == CQ_NO_ERROR || code == CQ_DEVICE_IS_BUSY) << code;
            return stored >= count;
        });
    }

    cqtest::VirtualInstrument peer_{"--calibrated"};
    Instrument instrument_ = Instrument::open(peer_.portName());
    std::atomic<int> calls_ = 0;
};

TEST_F(CppHandler, ReceivesUntilItIsRemoved) {
    std::vector<std::pair<bool, int>> received;
    const auto token = std::make_shared<int>(0);
    instrument_.setMeasurementHandler([&, token](bool isStandard, const MeasurementRecord& record) {
        received.emplace_back(isStandard, record.bytes[6]);
        ++calls_;
    });
    Instrument moved = std::move(instrument_);  // the handler must not notice
    peer_.pressStandard();
    peer_.pressTrial();
    ASSERT_TRUE(waitUntil([&] { return calls_ == 2; }));
    const std::vector<std::pair<bool, int>> pressed{{true, 0}, {false, 1}};
    EXPECT_EQ(received, pressed);

    EXPECT_EQ(token.use_count(), 2);
    moved.setMeasurementHandler({});
    EXPECT_EQ(token.use_count(), 1) << "what it owned is let go";
    peer_.pressStandard();
    ASSERT_TRUE(hasStored(moved, 2));
    EXPECT_EQ(calls_, 2);
}

TEST_F(CppHandler, MayReplaceItself) {
    std::atomic<int> callsOfSecond = 0;
    auto token = std::make_shared<int>(7);
    instrument_.setMeasurementHandler([&, owned = std::move(token)](bool, const auto&) {
        instrument_.setMeasurementHandler([&](bool, const auto&) { ++callsOfSecond; });
        EXPECT_EQ(*owned, 7) << "what runs outlives its replacement";
        ++calls_;
    });
    peer_.pressStandard();
    peer_.pressStandard();
    EXPECT_TRUE(waitUntil([&] { return callsOfSecond == 1; }));
    EXPECT_EQ(calls_, 1);
}

TEST_F(CppHandler, ExceptionsStayOnThisSide) {
    instrument_.setMeasurementHandler([&](bool, const auto&) {
        ++calls_;
        throw std::domain_error("thrown inside");
    });
    EXPECT_NO_THROW(instrument_.rethrowHandlerException());
    peer_.pressStandard();
    peer_.pressStandard();
    EXPECT_TRUE(waitUntil([&] { return calls_ == 2; })) << "the second arrives all the same";
    ASSERT_TRUE(hasStored(instrument_, 2));
    EXPECT_THROW(instrument_.rethrowHandlerException(), std::domain_error);
    EXPECT_NO_THROW(instrument_.rethrowHandlerException());
}

TEST_F(CppHandler, DestroyingTheInstrumentWaitsForARunningHandler) {
    std::atomic<bool> isEnded = false;
    instrument_.setMeasurementHandler([&](bool, const auto&) {
        ++calls_;
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        isEnded = true;
    });
    {
        const Instrument destroyed = std::move(instrument_);
        peer_.pressStandard();
        ASSERT_TRUE(waitUntil([&] { return calls_ == 1; }));
    }
    EXPECT_TRUE(isEnded);
}

}  // namespace
