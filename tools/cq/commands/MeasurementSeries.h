#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "commands/MeasurementView.h"
#include "exchange/Exchange.h"

namespace cqtool {

/// The average of several measurements, and how far they are from it.
struct Average {
    Measurement measurement;
    double meanDeltaEab = 0;
    double mostDeltaEab = 0;
};

/// \param measurements at least one.
/// Throws Failure if one has no spectrum.
Average averageOf(const std::vector<Measurement>& measurements, const MeasurementView& view);

/// An average as it is saved.
RecordEntry entryOf(const Measurement& average, std::uint32_t index);

/// The file for one of several numbered measurements: "red-03.record" for "red.record", with as
/// many digits as the last number.
std::string numberedFile(const std::filesystem::path& file, std::uint32_t number,
                         std::uint32_t last);

}  // namespace cqtool
