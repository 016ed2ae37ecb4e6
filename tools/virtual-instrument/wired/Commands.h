#pragma once

#include <cstdint>

#include "Bytes.h"
#include "instrument/Instrument.h"

namespace vi::wired {

inline constexpr std::uint8_t kMeasureStandard = 0x23;
inline constexpr std::uint8_t kMeasureTrial = 0x24;

/// The outcome of a host's transfer.
struct Answer {
    /// A request is acknowledged and then answered; a plain command is acknowledged when it is
    /// done.
    bool isRequest = false;
    Error error = Error::none;
    Bytes reply;        ///< of a request, without the operation code
    TimePoint ready{};  ///< when the instrument has finished
};

/// Carries out a command.
/// \param payload the transfer's data without the operation code.
Answer execute(Instrument& instrument, std::uint8_t operation, ByteView payload, TimePoint now);

/// For the log: "measure standard"; "unknown" for an unknown code.
const char* operationName(std::uint8_t operation);

}  // namespace vi::wired
