#include "colour/ColumnTitles.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "text/Text.h"

namespace cqtool {
namespace {

// What a number in a title must be to count as a wavelength, in nm.
constexpr int kLeastWavelength = 300;
constexpr int kMostWavelength = 1100;
constexpr std::size_t kMostListed = 12;

bool isDecimal(char c) {
    return c >= '0' && c <= '9';
}

std::string plainTitle(std::string_view title) {
    std::string plain = lowerCase(title);
    std::erase_if(plain, [](char c) { return !isDecimal(c) && !(c >= 'a' && c <= 'z'); });
    return plain;
}

std::optional<int> wavelengthOf(const std::string& plain) {
    const auto first = std::find_if(plain.begin(), plain.end(), isDecimal);
    const auto end = std::find_if_not(first, plain.end(), isDecimal);
    int value = 0;
    std::from_chars(plain.data() + (first - plain.begin()), plain.data() + (end - plain.begin()),
                    value);
    std::string letters(plain.begin(), first);
    letters.append(end, plain.end());
    if (const std::size_t unit = letters.find("nm"); unit != std::string::npos) {
        letters.erase(unit, 2);
    }
    static constexpr std::string_view kKnown[] = {"", "r", "refl", "reflectance", "spectral"};
    const bool isKnown =
        std::find(std::begin(kKnown), std::end(kKnown), letters) != std::end(kKnown);
    return isKnown && value >= kLeastWavelength && value <= kMostWavelength ? std::optional(value)
                                                                            : std::nullopt;
}

template <typename Items, typename IsWanted>
std::optional<std::size_t> placeIn(const Items& items, IsWanted isWanted) {
    const auto found = std::find_if(items.begin(), items.end(), isWanted);
    return found == items.end() ? std::nullopt
                                : std::optional(static_cast<std::size_t>(found - items.begin()));
}

}  // namespace

ColumnTitles::ColumnTitles(const std::vector<std::string>& titles) : titles_(titles) {
    for (const std::string& title : titles) {
        plain_.push_back(plainTitle(title));
        wavelengths_.push_back(wavelengthOf(plain_.back()));
    }
}

std::optional<std::size_t> ColumnTitles::find(std::initializer_list<std::string_view> names) const {
    return placeIn(plain_, [names](const std::string& title) {
        return std::find(names.begin(), names.end(), title) != names.end();
    });
}

std::array<std::optional<std::size_t>, 3> ColumnTitles::triple(bool isXyz) const {
    if (isXyz) {
        return {find({"x", "xyzx", "ciex"}), find({"y", "xyzy", "ciey"}),
                find({"z", "xyzz", "ciez"})};
    }
    return {find({"l", "labl", "ciel", "cielabl"}), find({"a", "laba", "ciea", "cielaba"}),
            find({"b", "labb", "cieb", "cielabb"})};
}

std::optional<std::size_t> ColumnTitles::spectrum(int nanometres) const {
    return placeIn(wavelengths_, [nanometres](const auto& known) { return known == nanometres; });
}

bool ColumnTitles::namesWavelengths() const {
    return placeIn(wavelengths_, [](const auto& known) { return known.has_value(); }).has_value();
}

std::string ColumnTitles::list() const {
    const auto end =
        titles_.begin() + static_cast<std::ptrdiff_t>(std::min(titles_.size(), kMostListed));
    return joined({titles_.begin(), end}, ", ") + (end == titles_.end() ? "" : ", ...");
}

}  // namespace cqtool
