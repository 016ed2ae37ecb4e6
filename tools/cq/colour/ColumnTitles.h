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
/// "LAB_L" and "CIE L*" are all the lightness.
class ColumnTitles {
  public:
    explicit ColumnTitles(const std::vector<std::string>& titles);

    /// The first column called one of these, in small letters and digits alone; nothing if there is
    /// none.
    std::optional<std::size_t> find(std::initializer_list<std::string_view> names) const;
    std::optional<std::size_t> name() const { return find({"name", "samplename", "patch"}); }
    /// \param isXyz X, Y and Z in place of L*, a* and b*.
    std::array<std::optional<std::size_t>, 3> triple(bool isXyz) const;
    /// The reflectance at a wavelength in nm: "400", "r400", "R_400 nm", "SPECTRAL_NM400".
    std::optional<std::size_t> spectrum(int nanometres) const;
    bool namesWavelengths() const;

    /// The titles as they were given, for a message, at most a dozen: "L, a, b".
    std::string list() const;

  private:
    std::vector<std::string> titles_;
    std::vector<std::string> plain_;
    std::vector<std::optional<int>> wavelengths_;
};

}  // namespace cqtool
