#pragma once

#include <cstdint>
#include <string_view>

#include "Bytes.h"
#include "instrument/Patches.h"

namespace vi {

enum class Kind : std::uint8_t { standard = 0, trial = 1 };

/// The content of a measurement record. docs/virtual-instrument.md gives its bytes.
struct Measured {
    Kind kind = Kind::standard;
    std::uint8_t patch = 1;            ///< 1..24
    std::uint32_t number = 0;          ///< counts the instrument's measurements of this kind from 1
    std::uint32_t time = 0;            ///< seconds since 1970, UTC
    std::string_view name;             ///< cut after 23 bytes
    std::uint32_t standardNumber = 0;  ///< of the standard that a trial belongs to; 0 for none
    Spectrum reflectance{};
};

/// A measurement as it is stored and sent. The instrument keeps the records that a host writes as
/// they are, without looking inside.
using Record = std::array<std::uint8_t, 256>;

Record encode(const Measured& measured);

}  // namespace vi
