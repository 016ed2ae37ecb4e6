#include "color/ColumnTitles.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "text/Text.h"

namespace cqtool {
namespace {

// What a number in a title must be to count as a wavelength, in nm.
constexpr int kLeastWavelength = 300;
constexpr int kMostWavelength = 1100;
// What a table of spectra has columns for.
constexpr int kLeastNamed = 400;
constexpr int kMostNamed = 700;
constexpr std::size_t kMostListed = 12;

bool isDecimal(char c) {
    return c >= '0' && c <= '9';
}

bool isLetter(char c) {
    return c >= 'a' && c <= 'z';
}

/// Letters and digits of a title by themselves, in small letters. A delta is a 'd': a difference is
/// no colour.
std::vector<std::string> wordsOf(std::string_view title) {
    std::string text = lowerCase(title);
    for (const std::string_view delta : {"\xCE\x94", "\xCE\xB4", "\xE2\x88\x86"}) {
        for (std::size_t at = 0; (at = text.find(delta, at)) != std::string::npos;) {
            text.replace(at, delta.size(), "d");
        }
    }
    std::vector<std::string> words(1);
    for (const char c : text) {
        if (isDecimal(c) || isLetter(c)) {
            words.back() += c;
        } else if (!words.back().empty()) {
            words.emplace_back();
        }
    }
    if (words.back().empty()) {
        words.pop_back();
    }
    return words;
}

/// Words on illuminant and observer, which are no part of a name: "d65", "f11", "10", "2deg".
bool isOnViewing(const std::string& word) {
    const std::string digits = word.substr(std::min(word.find_first_of("0123456789"), word.size()));
    const bool isNumber = digits.find_first_not_of("0123456789") == std::string::npos;
    return word == "10" || word == "2" || word == "10deg" || word == "2deg" ||
           ((word.starts_with('d') || word.starts_with('f')) && digits.size() + 1 == word.size() &&
            !digits.empty() && digits.size() <= 2 && isNumber);
}

/// What a title names, without spaces and signs; and what it says besides, in brackets or of the
/// viewing.
struct TitleParts {
    std::string plain;
    std::string remark;
};

TitleParts titlePartsOf(std::string_view title) {
    TitleParts parts;
    const std::size_t bracket = title.find_first_of("([");
    std::vector<std::string> words = wordsOf(title.substr(0, bracket));
    if (bracket != std::string_view::npos && bracket > 0) {
        const auto inside = wordsOf(title.substr(bracket));
        const bool isWavelength =
            inside.size() == 1 && inside[0].size() >= 3 && isDecimal(inside[0][0]);
        if (isWavelength) {
            words.push_back(inside[0]);
        } else {
            parts.remark = joined(inside, " ");
        }
    }
    const bool isOnlyViewing = std::all_of(words.begin(), words.end(), isOnViewing);
    for (std::size_t i = 0; i < words.size(); ++i) {
        // "400,0"
        const bool isFraction = i > 0 && words[i].find_first_not_of('0') == std::string::npos &&
                                isDecimal(words[i - 1].back());
        if (!isOnlyViewing && isOnViewing(words[i])) {
            parts.remark += (parts.remark.empty() ? "" : " ") + words[i];
        } else if (!isFraction) {
            parts.plain += words[i];
        }
    }
    return parts;
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
    static constexpr std::string_view kKnown[] = {
        "", "r", "refl", "reflectance", "spectral", "spec", "wl", "wavelength", "sci", "sce"};
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
        TitleParts parts = titlePartsOf(title);
        plain_.push_back(std::move(parts.plain));
        remarks_.push_back(std::move(parts.remark));
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
    return {find({"l", "labl", "ciel", "cielabl", "lstar"}),
            find({"a", "laba", "ciea", "cielaba", "astar"}),
            find({"b", "labb", "cieb", "cielabb", "bstar"})};
}

std::optional<std::size_t> ColumnTitles::name() const {
    return find({"name", "samplename", "dataname", "colorname", "colourname", "patch", "sample",
                 "title", "description"});
}

bool ColumnTitles::namesColor() const {
    const auto lab = triple(false);
    return (lab[0] && lab[1] && lab[2]) || find({"record", "recordhex"}) ||
           (spectrum(kLeastNamed) && spectrum(kMostNamed));
}

bool ColumnTitles::isPercent(std::size_t column) const {
    return titles_[column].find('%') != std::string::npos;
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
