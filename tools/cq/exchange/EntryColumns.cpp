#include "exchange/EntryColumns.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

#include "colour/ColorInput.h"
#include "exchange/Formats.h"
#include "Failure.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

using Place = EntryColumns::Place;

/// Columns that make up one thing: all of them are there, or none.
void requireWhole(std::span<const Place> places, const std::string& what, const std::string& where,
                  const ColumnTitles& titles) {
    const auto missing = std::count(places.begin(), places.end(), std::nullopt);
    if (missing != 0 && missing != static_cast<std::ptrdiff_t>(places.size())) {
        throw Failure(where + ": " + std::to_string(missing) + " of the " +
                          std::to_string(places.size()) + " columns of " + what +
                          " are missing; there are: " + titles.list(),
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
    std::string text(Place column) const { return column ? cells[*column] : std::string(); }

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
    std::optional<std::array<double, count>> numbers(const std::array<Place, count>& places) const {
        if (std::all_of(places.begin(), places.end(),
                        [this](Place column) { return text(column).empty(); })) {
            return std::nullopt;
        }
        std::array<double, count> values;
        std::transform(places.begin(), places.end(), values.begin(),
                       [this](Place column) { return number(*column); });
        return values;
    }

    std::uint32_t index(Place column, std::uint32_t count) const {
        if (text(column).empty()) {
            return count;
        }
        const double value = number(*column);
        if (value < 0 || value > std::numeric_limits<std::uint32_t>::max() ||
            value != std::floor(value)) {
            throw Failure(placeOf(*column) + " must be a whole number from 0, not '" +
                          cells[*column] + "'");
        }
        return static_cast<std::uint32_t>(value);
    }

    std::optional<Spectrum> spectrum() const {
        const auto values = numbers(columns.spectrum_);
        if (!values) {
            return std::nullopt;
        }
        Spectrum spectrum;
        for (std::size_t i = 0; i < spectrum.size(); ++i) {
            const double value = columns.isPercent_ ? (*values)[i] / 100 : (*values)[i];
            const std::size_t column = *columns.spectrum_[i];
            checkReflectance(value, placeOf(column) + " with " + cells[column]);
            spectrum[i] = static_cast<float>(value);
        }
        return spectrum;
    }

    std::optional<ColorData> lab() const {
        const auto values = numbers(columns.lab_);
        if (!values) {
            return std::nullopt;
        }
        return ColorData{{static_cast<float>((*values)[0]), static_cast<float>((*values)[1]),
                          static_cast<float>((*values)[2])}};
    }
};

EntryColumns::EntryColumns(const std::vector<std::string>& titles, const ReadOptions& options,
                           const std::string& where)
    : titles_(titles), isPercent_(options.isPercent) {
    const ColumnTitles known(titles);
    index_ = known.find({"index"});
    identifier_ = known.find({"sampleid"});
    kind_ = known.find({"kind", "samplekind"});
    name_ = known.name();
    time_ = known.find({"time"});
    record_ = known.find({"record", "recordhex"});
    lab_ = known.triple(false);
    for (std::size_t i = 0; i < spectrum_.size(); ++i) {
        spectrum_[i] = known.spectrum(wavelength(i));
    }
    requireWhole(lab_, "L*, a*, b*", where, known);
    requireWhole(spectrum_, "a spectrum from 400 to 700 nm in steps of 10 nm", where, known);
    if (!lab_[0] && !spectrum_[0] && !record_) {
        throw Failure(where + ": no column holds a spectrum, L*, a*, b* or a record; there are: " +
                          known.list(),
                      "call the columns L, a, b, or R400 to R700, as in a file that cq exports");
    }
}

RecordEntry EntryColumns::entry(const std::vector<std::string>& cells, std::uint32_t count,
                                const std::string& where, char decimalMark) const {
    if (cells.size() != titles_.size()) {
        throw Failure(where + ": " + counted(cells.size(), "fields") + ", expected " +
                      std::to_string(titles_.size()));
    }
    const Row row{*this, cells, where, decimalMark};
    RecordEntry entry;
    // Samples that are not numbered have names for identifiers.
    const std::string identifier = row.text(identifier_);
    const bool isNumbered = identifier.find_first_not_of("0123456789") == std::string::npos;
    entry.index = row.index(index_ || !isNumbered ? index_ : identifier_, count);
    const std::string kind = row.text(kind_);
    entry.isStandard = kind.empty() || isStandardOf(kind, where);
    entry.name = row.text(name_);
    if (entry.name.empty()) {
        entry.name = isNumbered ? defaultName(entry.index, entry.isStandard) : identifier;
    }
    entry.time = row.text(time_);
    entry.spectrum = row.spectrum();
    entry.lab = row.lab();
    if (entry.lab && !entry.spectrum) {
        checkLab(*entry.lab, where);
    }
    if (const std::string record = row.text(record_); !record.empty()) {
        entry.record = recordOfHex(record, where);
    }
    return entry;
}

}  // namespace cqtool
