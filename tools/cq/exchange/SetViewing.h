#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "color/ColorNames.h"

namespace cqtool {

/// The parts of a viewing that a text has words for: "D65/10", "A 2 deg".
struct NamedViewing {
    std::optional<std::int32_t> illuminant;
    std::optional<std::int32_t> observer;
};
NamedViewing namedViewing(const std::string& text);

/// Finds the viewing of a set while its entries are read from a file that names one for each. Colours
/// without a spectrum decide, and must agree; spectra can be taken for any.
class SetViewing {
  public:
    /// \param viewing what the entry's values are for; nothing if the file does not say.
    void addSpectrum(const std::optional<Viewing>& viewing);

    /// Returns what the colour is for: without a word in the file D65/10°.
    /// Throws Failure, beginning with `where`, if it is for another viewing than those before.
    Viewing addColor(const std::optional<Viewing>& viewing, const std::string& where);

    Viewing viewing() const { return viewing_.value_or(Viewing{}); }

  private:
    std::optional<Viewing> viewing_;
    bool isFixed_ = false;
};

}  // namespace cqtool
