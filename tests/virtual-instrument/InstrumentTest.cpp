// The instrument behind the wire: its records, its measurements and its memory.

#include "instrument/Instrument.h"

#include <gmock/gmock.h>

#include <bit>
#include <cmath>

#include "Bench.h"

namespace vi::test {
namespace {

Instrument make(Instrument::Settings settings) {
    return Instrument(std::move(settings), [] { return 0x01020304U; });
}

Instrument::Settings calibrated(double noise) {
    Instrument::Settings settings;
    settings.isCalibrated = true;
    settings.measureTime = milliseconds(0);
    settings.noise = noise;
    return settings;
}

Spectrum spectrumOf(const Record& record) {
    Spectrum spectrum{};
    for (std::size_t band = 0; band < spectrum.size(); ++band) {
        spectrum[band] = std::bit_cast<float>(get32(record, 64 + 4 * band));
    }
    return spectrum;
}

TEST(Record, HasTheDocumentedBytes) {
    Measured measured{.kind = Kind::trial,
                      .patch = 19,
                      .number = 0x0A0B0C0D,
                      .time = 0x01020304,
                      .name = "white, with a name that is too long",
                      .standardNumber = 5,
                      .reflectance = {}};
    measured.reflectance.fill(0.5F);
    measured.reflectance.back() = 1.0F;
    const Record record = encode(measured);
    const auto part = [&](std::size_t from, std::size_t size) {
        return hexText(ByteView(record).subspan(from, size));
    };
    EXPECT_EQ(part(0, 16), "56 4D 52 31 01 00 01 13 0D 0C 0B 0A 04 03 02 01");
    EXPECT_STREQ(reinterpret_cast<const char*>(record.data() + 16), "white, with a name that");
    EXPECT_EQ(part(40, 8), "05 00 00 00 90 01 0A 1F");
    EXPECT_EQ(part(64, 4), "00 00 00 3F");
    EXPECT_EQ(part(184, 8), "00 00 80 3F 00 00 00 00");
    // Worked out with another program's CRC-32 of the first 252 bytes.
    EXPECT_EQ(part(252, 4), "FA D0 29 51");
}

/// A trial differs from its standard visibly, but little.
TEST(Measuring, GoesThroughTheChartAndMeasuresTrialsWhereItStands) {
    Instrument instrument = make(calibrated(0));
    EXPECT_EQ(instrument.measure(Kind::trial, kStart).record[7], 1);
    for (std::size_t i = 0; i < kPatchCount + 1; ++i) {
        const std::size_t patch = i % kPatchCount;
        const Record standard = instrument.measure(Kind::standard, kStart).record;
        const Spectrum exact = spectrumOf(standard);
        EXPECT_EQ(standard[7], patch + 1);
        EXPECT_EQ(exact, patches()[patch].reflectance);
        for (int round = 0; round < 4; ++round) {
            const Record trial = instrument.measure(Kind::trial, kStart).record;
            EXPECT_EQ(trial[7], patch + 1);
            EXPECT_EQ(get32(trial, 40), i + 1) << "the number of its standard";
            const Spectrum other = spectrumOf(trial);
            for (std::size_t band = 0; band < kBandCount; ++band) {
                const double relative = std::abs(other[band] / exact[band] - 1);
                EXPECT_GT(relative, 0.003);
                EXPECT_LT(relative, 0.06);
            }
        }
    }
    EXPECT_EQ(instrument.count(Kind::standard), 0U);
}

TEST(Measuring, DriftsUntilCalibratedWhereItIsPlaced) {
    using namespace std::chrono_literals;
    Instrument instrument = make(calibrated(0));
    const auto bandOf = [&](Kind kind, TimePoint now) {
        return spectrumOf(instrument.measure(kind, now).record)[10];
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
