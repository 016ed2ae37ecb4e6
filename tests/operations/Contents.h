#pragma once

#include <cstdint>
#include <cstring>
#include <string>

#include "cqapi/CQApi.h"
#include "operations/Session.h"

/// \file
/// What a virtual instrument that starts calibrated, with the records of its model and without noise,
/// answers (docs/virtual-instrument.md, "Records byte by byte").

namespace cqtest {

/// The texts, in the order in which a wireless instrument is asked for them.
struct Texts {
    std::string serial = "VI-000001";
    std::string model = "VIRTUAL-31";
    std::string firmware = "FW 1.0";
    std::string description = "Virtual spectrophotometer";
    std::string hardware = "HW 1.0";
    std::string tile = "WT-0001";
};

/// As the session's fault leaves them.
Texts expectedTexts(const Session& session);

CqDeviceInfo expectedInfo(const Session& session);
/// \param background what bytes hold that a wireless instrument says nothing about.
CqInstrumentStatus expectedStatus(const Session& session, std::uint8_t background);
CqWhiteBoardParameter expectedWhiteBoard(const Session& session, std::uint8_t background);
/// As instruments have it from the start.
CqWhiteBoardParameter firstWhiteBoard();

template <class T>
bool isSame(const T& left, const T& right) {
    return std::memcmp(&left, &right, sizeof(T)) == 0;
}

}  // namespace cqtest
