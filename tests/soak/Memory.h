#pragma once

#include <array>
#include <cstdint>
#include <random>
#include <vector>

#include "cqapi/CQApi.h"

namespace cqtest::soak {

inline constexpr std::size_t kCapacity = 64;
inline constexpr std::size_t kStoredAtStart = 20;

/// What an instrument holds, as far as the host knows: each operation is checked against it, and
/// changes it.
struct Memory {
    Memory() {
        standards.reserve(kCapacity);
        samples.reserve(kCapacity);
    }

    std::vector<CqMeasurementRecord> standards;
    std::vector<CqMeasurementRecord> samples;
    std::array<std::uint8_t, 256> parameters{};
    CqWhiteBoardParameter whiteBoard{};
    /// Running numbers of the last measurements.
    std::uint32_t standardNumber = kStoredAtStart;
    std::uint32_t trialNumber = kStoredAtStart;
};

}  // namespace cqtest::soak
