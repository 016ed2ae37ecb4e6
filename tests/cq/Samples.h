#pragma once

#include <gmock/gmock.h>

#include <bit>
#include <cstdint>
#include <string>

#include "color/Spectrum.h"
#include "cqapi/CQApi.h"
#include "Failure.h"

namespace cqtool {

/// What the action throws, as text; empty if it throws nothing of that kind.
template <typename Exception, typename Action>
std::string thrownBy(Action action) {
    try {
        action();
    } catch (const Exception& exception) {
        return exception.what();
    }
    return {};
}

/// A page that is kept or sent away must show without anything from elsewhere.
inline void expectNothingExternal(const std::string& page) {
    for (const char* external :
         {"http:", "https:", "url(", "@import", "<script", "src=", "<link"}) {
        EXPECT_THAT(page, testing::Not(testing::HasSubstr(external)));
    }
}

/// 0.1 at 400 nm, rising evenly to 0.7 at 700 nm.
inline Spectrum rampSpectrum() {
    Spectrum spectrum;
    for (std::size_t i = 0; i < spectrum.size(); ++i) {
        spectrum[i] = 0.1F + 0.02F * static_cast<float>(i);
    }
    return spectrum;
}

/// Puts a number into a record as an instrument would, least significant byte first.
template <typename Bits>
void store(CqMeasurementRecord& record, std::size_t offset, Bits bits) {
    for (std::size_t i = 0; i < sizeof(Bits); ++i) {
        record.bytes[offset + i] = static_cast<std::uint8_t>(bits >> (8 * i));
    }
}

/// A record in the layout of the virtual instrument.
inline CqMeasurementRecord recordOf(const Spectrum& spectrum) {
    CqMeasurementRecord record{};
    for (std::size_t i = 0; i < spectrum.size(); ++i) {
        store(record, 64 + 4 * i, std::bit_cast<std::uint32_t>(spectrum[i]));
    }
    return record;
}

}  // namespace cqtool
