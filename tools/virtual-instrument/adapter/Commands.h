#pragma once

#include <cstdint>

#include "Bytes.h"
#include "instrument/Instrument.h"

namespace vi::adapter {

// Commands that affect more than their own reply.
inline constexpr std::uint8_t kHello = 1;
inline constexpr std::uint8_t kGoodbye = 2;

// Notifications of measurements.
inline constexpr std::uint8_t kStandardMeasured = 4;
inline constexpr std::uint8_t kTrialMeasured = 5;

/// The payload of a reply, and when the instrument has finished.
struct Answer {
    Bytes payload;
    TimePoint ready{};
};

/// "OK", "FAIL" or "INVAL" as a payload.
Bytes word(const char* text);

/// Carries out a command. Answers "FAIL" if the instrument cannot do it, "INVAL" for an invalid
/// payload or index.
Answer execute(Instrument& instrument, std::uint8_t type, std::uint8_t cmd, ByteView payload,
               TimePoint now);

/// For the log: "read standard"; "unknown" for an unknown command.
const char* commandName(std::uint8_t type, std::uint8_t cmd);

}  // namespace vi::adapter
