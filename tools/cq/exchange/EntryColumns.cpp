#include "exchange/EntryColumns.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

#include "exchange/Formats.h"
#include "Failure.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr std::size_t kNone = static_cast<std::size_t>(-1);

std::size_t placeOf(const std::vector<std::string>& titles, std::string_view title) {
    const auto found = std::find(titles.begin(), titles.end(), title);
    return found == titles.end() ? kNone : static_cast<std::size_t>(found - titles.begin());
}

/// Columns that make up one thing: all of them are there, or none.
void requireWhole(std::span<const std::size_t> places, const std::string& what,
                  const std::string& where) {
    const auto missing = std::count(places.begin(), places.end(), kNone);
    if (missing != 0 && missing != static_cast<std::ptrdiff_t>(places.size())) {
        throw Failure(where + ": " + std::to_string(missing) + " of the " +
                          std::to_string(places.size()) + " columns of " + what + " are missing",
                      "give all of them or none");
    }
}

}  // namespace

/// The cells of one row, with their names in messages.
struct EntryColumns::Row {
    const EntryColumns& columns;
    const std::vector<std::string>& cells;
    const std::string& where;
    char decimalMark;

    /// Empty when the column is not there.
    std::string text(std::size_t column) const {
        return column == kNone ? std::string() : cells[column];
    }

    std::string placeOf(std::size_t column) const { return where + ": " + columns.titles_[column]; }

    double number(std::size_t column) const {
        const auto value = parseNumber(cells[column], decimalMark);
        if (!value || std::abs(*value) > std::numeric_limits<float>::max()) {
            throw Failure(placeOf(column) + " must be a number, not '" + cells[column] + "'");
        }
        return *value;
    }

    /// Several cells that belong together; nothing if all are empty.
    template <std::size_t count>
    std::optional<std::array<float, count>> numbers(
        const std::array<std::size_t, count>& places) const {
        std::array<float, count> values;
        if (std::all_of(places.begin(), places.end(),
                        [this](std::size_t column) { return text(column).empty(); })) {
            return std::nullopt;
        }
        std::transform(places.begin(), places.end(), values.begin(),
                       [this](std::size_t column) { return static_cast<float>(number(column)); });
        return values;
    }

    std::uint32_t index(std::uint32_t count) const {
        if (text(columns.index_).empty()) {
            return count;
        }
        const double value = number(columns.index_);
        if (value < 0 || value > std::numeric_limits<std::uint32_t>::max() ||
            value != std::floor(value)) {
            throw Failure(placeOf(columns.index_) + " must be a whole number from 0, not '" +
                          cells[columns.index_] + "'");
        }
        return static_cast<std::uint32_t>(value);
    }
};

EntryColumns::EntryColumns(const std::vector<std::string>& titles, const ColumnTitles& known,
                           const std::string& where)
    : width_(titles.size()), titles_(titles) {
    std::vector<std::string> lower(titles.size());
    std::transform(titles.begin(), titles.end(), lower.begin(), lowerCase);
    index_ = placeOf(lower, known.index);
    kind_ = placeOf(lower, known.kind);
    name_ = placeOf(lower, known.name);
    record_ = placeOf(lower, known.record);
    for (std::size_t i = 0; i < lab_.size(); ++i) {
        lab_[i] = placeOf(lower, known.lab[i]);
    }
    for (std::size_t i = 0; i < spectrum_.size(); ++i) {
        spectrum_[i] = kNone;
        for (const std::string_view prefix : known.spectrum) {
            const std::string title = std::string(prefix) + std::to_string(wavelength(i));
            spectrum_[i] = std::min(spectrum_[i], placeOf(lower, title));
        }
    }
    requireWhole(lab_, "L*, a*, b*", where);
    requireWhole(spectrum_, "a spectrum from 400 to 700 nm in steps of 10 nm", where);
    if (lab_[0] == kNone && spectrum_[0] == kNone && record_ == kNone) {
        throw Failure(where + ": no column holds a spectrum, L*, a*, b* or a record",
                      "the columns must have titles, as in a file that cq exports");
    }
}

RecordEntry EntryColumns::entry(const std::vector<std::string>& cells, std::uint32_t count,
                                const std::string& where, char decimalMark) const {
    if (cells.size() != width_) {
        throw Failure(where + ": " + std::to_string(cells.size()) + " fields, expected " +
                      std::to_string(width_));
    }
    const Row row{*this, cells, where, decimalMark};
    RecordEntry entry;
    entry.index = row.index(count);
    const std::string kind = row.text(kind_);
    entry.isStandard = kind.empty() || isStandardOf(kind, where);
    entry.name = row.text(name_);
    if (entry.name.empty()) {
        entry.name = defaultName(entry.index, entry.isStandard);
    }
    entry.spectrum = row.numbers(spectrum_);
    if (entry.spectrum) {
        for (std::size_t i = 0; i < entry.spectrum->size(); ++i) {
            checkReflectance((*entry.spectrum)[i],
                             row.placeOf(spectrum_[i]) + " with " + cells[spectrum_[i]]);
        }
    }
    if (const auto lab = row.numbers(lab_)) {
        entry.lab = ColorData{{(*lab)[0], (*lab)[1], (*lab)[2]}};
    }
    if (const std::string record = row.text(record_); !record.empty()) {
        entry.record = recordOfHex(record, where);
    }
    return entry;
}

}  // namespace cqtool
