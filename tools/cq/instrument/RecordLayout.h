#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "colour/Spectrum.h"
#include "cqapi/CQApi.h"

namespace cqtool {

/// Where a measurement record holds its spectrum. The library passes records through without
/// knowing; the default is the layout of the virtual instrument.
struct RecordLayout {
    enum class Format { float32, float64, uint16 };

    std::size_t offset = 64;
    Format format = Format::float32;  ///< all little-endian
    double scale = 1.0;               ///< what a stored number is multiplied by to give a fraction

    static constexpr std::size_t kCount = kWavelengthCount;
};

/// Reads a layout from its JSON description:
///
///     {"offset": 64, "count": 31, "format": "float32", "scale": 1.0, "start": 400, "step": 10}
///
/// `offset` and `format` ("float32", "float64" or "uint16") must be there, the others have the
/// values above unless given. Throws Failure, with the source's name, for anything that cannot be
/// carried out.
RecordLayout parseRecordLayout(std::string_view json, const std::string& source);

/// The layout in the file; the default one for an empty path.
RecordLayout loadRecordLayout(const std::filesystem::path& file);

/// A spectrum read from a record, or why the record's bytes cannot be one.
struct ReadSpectrum {
    std::optional<Spectrum> spectrum;
    std::string problem;
};

ReadSpectrum readSpectrum(const CqMeasurementRecord& record, const RecordLayout& layout);

}  // namespace cqtool
