#pragma once

#include <chrono>
#include <cstdint>

/// \file
/// The operations of a wired instrument: one line a command. docs/wired-protocol.md has their
/// payloads and replies.

namespace ovk::cq {

struct Command {
    std::uint8_t operation;
    /// How long the whole exchange may take.
    std::chrono::milliseconds timeout;
};

namespace command {

using namespace std::chrono_literals;

// Requests: the instrument answers with a transfer of the same operation.
inline constexpr Command kDeviceInfo{0x21, 5000ms};
inline constexpr Command kInstrumentStatus{0x22, 5000ms};
inline constexpr Command kMeasureStandard{0x23, 15000ms};
inline constexpr Command kMeasureTrial{0x24, 15000ms};
inline constexpr Command kGetWhiteBoard{0x26, 5000ms};
inline constexpr Command kTotalStandards{0x2A, 5000ms};
inline constexpr Command kTotalSamples{0x2B, 5000ms};
inline constexpr Command kUploadStandards{0x2C, 5000ms};  // and 50 ms for each record
inline constexpr Command kUploadSamples{0x2D, 5000ms};
inline constexpr Command kGetMeasurementParameter{0xB3, 5000ms};

// Sends: the instrument acknowledges and does not answer.
inline constexpr Command kCalibrate{0x25, 15000ms};
inline constexpr Command kSetWhiteBoard{0x27, 5000ms};
inline constexpr Command kDownloadStandards{0x2E, 5000ms};
inline constexpr Command kDeleteStandard{0x35, 5000ms};
inline constexpr Command kDeleteAllRecords{0x35, 30000ms};
inline constexpr Command kDeleteSample{0x36, 5000ms};
inline constexpr Command kSetMeasurementParameter{0xB4, 5000ms};

inline constexpr auto kUploadTimePerRecord = 50ms;

}  // namespace command
}  // namespace ovk::cq
