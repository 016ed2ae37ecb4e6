#pragma once

#include <array>
#include <cstddef>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cqtool {

/// Finds the columns of a table by their titles, whatever their case, spaces and signs: "L*",
/// "LAB_L", "CIE L*" and "L*(D65/10)" are all the lightness; "ΔL*" is not.
class ColumnTitles {
  public:
    explicit ColumnTitles(const std::vector<std::string>& titles);

    /// The first column called one of these, in small letters and digits alone; nothing if there is
    /// none.
    std::optional<std::size_t> find(std::initializer_list<std::string_view> names) const;
    std::optional<std::size_t> name() const;
    /// \param isXyz X, Y and Z in place of L*, a* and b*.
    std::array<std::optional<std::size_t>, 3> triple(bool isXyz) const;
    /// The reflectance at a wavelength in nm: "400", "r400", "R_400 nm", "SPECTRAL_NM400".
    std::optional<std::size_t> spectrum(int nanometres) const;
    bool namesWavelengths() const;
    /// Whether there are columns of L*, a* and b*, of a spectrum, or of an instrument's records.
    bool namesColor() const;
    /// Whether the title has a percent sign.
    bool isPercent(std::size_t column) const;
    /// What a title says in brackets or of a viewing: "d65 10" of "L*(D65/10)".
    const std::string& remark(std::size_t column) const { return remarks_[column]; }

    /// The titles as they were given, for a message, at most a dozen: "L, a, b".
    std::string list() const;

  private:
    std::vector<std::string> titles_;
    std::vector<std::string> plain_;
    std::vector<std::string> remarks_;
    std::vector<std::optional<int>> wavelengths_;
};

}  // namespace cqtool
