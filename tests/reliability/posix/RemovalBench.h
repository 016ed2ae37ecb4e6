#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "endtoend/Wired.h"

namespace cqtest {

/// An operation of the library. Its code tells how it went.
struct Operation {
    const char* name;
    std::uint32_t (*run)(CqHandle handle);
    /// How long it may wait for an instrument that is no longer there.
    std::chrono::milliseconds patience;
};

/// How many records the operations below transfer.
inline constexpr std::uint32_t kRecords = 3;

// Operations that wired and wireless instruments have alike.
std::uint32_t deviceInfo(CqHandle handle);
std::uint32_t status(CqHandle handle);
std::uint32_t measureTrial(CqHandle handle);
std::uint32_t countSamples(CqHandle handle);
std::uint32_t uploadStandards(CqHandle handle);
std::uint32_t downloadStandards(CqHandle handle);
std::uint32_t readWhiteBoard(CqHandle handle);

/// How an instrument is reached.
struct Reach {
    std::string options;  ///< of the virtual instrument
    CqHandle (*open)(const char* portName);
    std::string packetMark;  ///< what a line of the log has that tells a packet of the host
    int packetsOfOpening;
    std::vector<std::uint32_t> codesOfRemoval;
};

/// Pulls an instrument at every packet of every operation, all cases side by side, and checks that
/// calls end in their time, that waiting costs no processor, and that the instrument is opened again
/// and works once it is back.
void pullAtEveryPacket(const Reach& reach, const std::vector<Operation>& operations);

/// Waits until the port is there again and opens it, once.
CqHandle openOnReturn(const Reach& reach, VirtualInstrument& instrument);

}  // namespace cqtest
