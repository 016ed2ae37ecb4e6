#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "instrument/Instrument.h"

namespace vi::adapter {

/// An instrument within reach of the adapter.
struct Slave {
    std::string name;     ///< the advertised name
    std::string address;  ///< hexadecimal digits
    int rssi = -60;       ///< strength of its signal in dBm
    Instrument::Settings instrument;
};

/// Three instruments that differ in name, address, signal and serial number.
/// \param settings of each, except the serial number.
std::vector<Slave> defaultSlaves(const Instrument::Settings& settings);

/// Reads a list of instruments; docs/virtual-instrument.md gives its form.
/// \param settings the defaults of an entry.
/// \throw std::invalid_argument with what is wrong and where.
std::vector<Slave> parseSlaves(std::string_view json, const Instrument::Settings& settings);

/// The same from a file.
std::vector<Slave> readSlaves(const std::string& path, const Instrument::Settings& settings);

}  // namespace vi::adapter
