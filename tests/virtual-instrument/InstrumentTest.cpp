// What the sensor does that no host can see at the wire in a test's time.

#include "instrument/Instrument.h"

#include <gmock/gmock.h>

#include <bit>

#include "Bench.h"

namespace vi::test {
namespace {

TEST(Measuring, DriftsUntilCalibratedWhereItIsPlaced) {
    using namespace std::chrono_literals;
    Instrument::Settings settings;
    settings.isCalibrated = true;
    settings.measureTime = 0ms;
    settings.noise = 0;
    Instrument instrument(settings, [] { return 0U; });
    const auto bandOf = [&](Kind kind, TimePoint now) {
        return std::bit_cast<float>(get32(instrument.measure(kind, now).record, 64 + 4 * 10));
    };
    const float exact = patches()[4].reflectance[10];
    instrument.setDrift(0.5, kStart);
    instrument.placeOn(4);
    EXPECT_FLOAT_EQ(bandOf(Kind::standard, kStart), exact);
    instrument.placeOn(4);
    EXPECT_FLOAT_EQ(bandOf(Kind::standard, kStart + 30min), exact * 1.25F);
    ASSERT_EQ(instrument.calibrateWhite(kStart + 1h).error, Error::none);
    instrument.placeOn(4);
    EXPECT_FLOAT_EQ(bandOf(Kind::standard, kStart + 1h), exact);
    EXPECT_EQ(instrument.measure(Kind::standard, kStart + 1h).record[7], 6) << "the next patch";
    instrument.placeOn(23);
    EXPECT_EQ(instrument.measure(Kind::trial, kStart + 1h).record[7], 24);
}

}  // namespace
}  // namespace vi::test
