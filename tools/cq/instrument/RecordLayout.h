#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "color/Spectrum.h"
#include "cqapi/CQApi.h"

namespace cqtool {

/// Where a measurement record holds its spectrum, and what else is known of it. The library passes
/// records through without knowing; the default is the layout of the virtual instrument.
struct RecordLayout {
    enum class Format { float32, float64, uint16 };
    struct Name {
        std::size_t offset;
        std::size_t size;  ///< UTF-8, shorter ones end with a NUL
    };
    struct Kind {
        std::size_t offset;
        std::uint8_t standard;
        std::uint8_t trial;
    };

    std::size_t offset = 64;
    Format format = Format::float32;  ///< all little-endian
    double scale = 1.0;               ///< what a stored number is multiplied by to give a fraction
    std::optional<Name> name = Name{16, 24};
    std::optional<Kind> kind = Kind{6, 0, 1};
    std::optional<std::size_t> time = 12;  ///< where: 32 bits, seconds since 1970, UTC
    /// What a record begins with whose name, kind and time can be believed; empty: any.
    std::string_view signature = "VMR1";

    static constexpr std::size_t kCount = kWavelengthCount;
};

/// Reads a layout from its JSON description:
///
///     {"offset": 64, "count": 31, "format": "float32", "scale": 1.0, "start": 400, "step": 10,
///      "name": {"offset": 16, "size": 24}, "kind": {"offset": 6, "standard": 0, "trial": 1},
///      "time": {"offset": 12}}
///
/// `offset` and `format` ("float32", "float64" or "uint16") must be there; name, kind and time are
/// not known unless given, the others have the values above. Members that are the business of
/// loadLabels() may be there too. Throws Failure, with the source's name, for anything that cannot be
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

/// What a record says beside its spectrum, as far as the layout tells.
struct RecordDetails {
    std::string name;  ///< safe to print; empty: not known
    std::optional<bool> isStandard;
    std::optional<std::uint32_t> time;  ///< seconds since 1970, UTC
};

RecordDetails readDetails(const CqMeasurementRecord& record, const RecordLayout& layout);

}  // namespace cqtool
