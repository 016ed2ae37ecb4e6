#pragma once

#include <optional>
#include <ostream>
#include <string>

#include "color/ColorMath.h"
#include "instrument/RecordLayout.h"
#include "terminal/Palette.h"
#include "text/JsonObject.h"

namespace cqtool {

/// A measurement, or the average of several, and its colour.
struct Measurement {
    bool isStandard = false;
    std::optional<CqMeasurementRecord> record;  ///< an average has none
    std::string name;                           ///< that the record holds; empty: not known
    std::string time;                           ///< of the measurement; as above
    std::optional<Spectrum> spectrum;
    std::string problem;  ///< why there is no spectrum
    ColorData lab{};      ///< only with a spectrum, like the members below
    ColorData color{};    ///< in the requested space
    Rgb rgb;

    const char* kind() const { return isStandard ? "standard" : "trial"; }
};

/// Turns records into the form that commands show.
class MeasurementView {
  public:
    MeasurementView(const Viewing& viewing, const SpaceInfo& space, const RecordLayout& layout)
        : viewing_(viewing), space_(space), layout_(layout) {}

    const Viewing& viewing() const { return viewing_; }

    Measurement of(const CqMeasurementRecord& record, bool isStandard) const;
    Measurement of(const Spectrum& spectrum, bool isStandard) const;

    /// {"kind", "name" and "time" if known, "illuminant", "observer", "lab", the requested space,
    /// "hex", "spectrum", "record"}; "problem" in place of the colours when there is no spectrum,
    /// no "record" for an average.
    JsonObject json(const Measurement& measurement) const;

    /// The values with their names: "L* 37.54  a* 14.37  b* 14.92".
    std::string values(const Measurement& measurement) const;

    /// The values, preceded by a swatch or the hexadecimal colour.
    std::string line(const Measurement& measurement, const Palette& palette) const;

  private:
    void setColors(Measurement& measurement) const;

    Viewing viewing_;
    const SpaceInfo& space_;
    RecordLayout layout_;
};

}  // namespace cqtool
