#include "exchange/EntryColumns.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

#include "color/ColorInput.h"
#include "exchange/Formats.h"
#include "Failure.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

using Place = EntryColumns::Place;

// Longer numbers are those of an article or a lot.
constexpr std::size_t kMostIndexDigits = 9;

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

/// What stands below a title for its unit.
bool isUnit(const std::string& cell) {
    static constexpr std::string_view kUnits[] = {"",   "%",    "[%]",  "(%)",  "-",    "[-]",
                                                  "nm", "[nm]", "(nm)", "unit", "units"};
    return std::find(std::begin(kUnits), std::end(kUnits), lowerCase(cell)) != std::end(kUnits);
}

}  // namespace

/// The cells of one row, with their names in messages.
struct EntryColumns::Row {
    const EntryColumns& columns;
    const std::vector<std::string>& cells;
    const std::string& where;

    /// Empty when the column is not there.
    std::string text(Place column) const { return column ? cells[*column] : std::string(); }

    std::string placeOf(std::size_t column) const { return where + ": " + columns.titles_[column]; }

    double number(std::size_t column) const {
        const auto value = parseNumber(cells[column], columns.decimalMark_);
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

    bool isStandard() const {
        if (const std::string kind = text(columns.kind_); !kind.empty()) {
            return isStandardOf(kind, where);
        }
        static constexpr std::string_view kTrialWords[] = {"trial", "batch", "sample"};
        const std::string type = lowerCase(text(columns.type_));
        return text(columns.trial_).empty() &&
               std::find(std::begin(kTrialWords), std::end(kTrialWords), type) ==
                   std::end(kTrialWords);
    }

    std::string name() const {
        for (const Place column : {columns.name_, columns.trial_, columns.standard_}) {
            if (std::string given = text(column); !given.empty()) {
                return given;
            }
        }
        return {};
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
    identifier_ = known.find({"sampleid", "id", "no", "nr"});
    kind_ = known.find({"kind", "samplekind"});
    type_ = known.find({"type", "sampletype"});
    name_ = known.name();
    standard_ = known.find({"standard", "standardname", "stdname"});
    trial_ = known.find({"batch", "batchname", "trial", "trialname"});
    time_ = known.find({"time", "datetime", "dateandtime", "timestamp", "date"});
    record_ = known.find({"record", "recordhex"});
    lab_ = known.triple(false);
    for (std::size_t i = 0; i < spectrum_.size(); ++i) {
        spectrum_[i] = known.spectrum(wavelength(i));
    }
    isPercent_ = isPercent_ || (spectrum_[0] && known.isPercent(*spectrum_[0]));
    requireWhole(lab_, "L*, a*, b*", where, known);
    requireWhole(spectrum_, "a spectrum from 400 to 700 nm in steps of 10 nm", where, known);
    if (!lab_[0] && !spectrum_[0] && !record_) {
        throw Failure(where + ": no column holds a spectrum, L*, a*, b* or a record; there are: " +
                          known.list(),
                      "call the columns L, a, b, or R400 to R700, as in a file that cq exports");
    }
}

std::vector<std::size_t> EntryColumns::numberColumns() const {
    std::vector<std::size_t> columns;
    for (const std::span<const Place> places :
         {std::span<const Place>(lab_), std::span<const Place>(spectrum_)}) {
        for (const Place place : places) {
            if (place) {
                columns.push_back(*place);
            }
        }
    }
    return columns;
}

bool EntryColumns::adjustTo(const std::vector<std::vector<std::string>>& rows) {
    const auto columns = numberColumns();
    const auto anyOf = [&](const std::vector<std::string>& cells, auto isWanted) {
        return std::any_of(columns.begin(), columns.end(), [&](std::size_t column) {
            return column < cells.size() && isWanted(cells[column]);
        });
    };
    const auto has = [](char sign) {
        return [sign](const std::string& cell) { return cell.find(sign) != std::string::npos; };
    };
    decimalMark_ = std::any_of(rows.begin(), rows.end(),
                               [&](const auto& cells) { return anyOf(cells, has(',')); })
                       ? ','
                       : '.';
    const bool hasUnits = !rows.empty() && std::all_of(rows[0].begin(), rows[0].end(), isUnit) &&
                          std::any_of(rows[0].begin(), rows[0].end(),
                                      [](const std::string& cell) { return !cell.empty(); });
    if (!spectrum_[0]) {
        return hasUnits;
    }
    std::size_t reflectances = 0;
    std::size_t large = 0;
    for (const auto& cells : rows) {
        for (const Place column : spectrum_) {
            const auto value =
                *column < cells.size() ? parseNumber(cells[*column], decimalMark_) : std::nullopt;
            reflectances += value ? 1 : 0;
            large += value && *value > static_cast<double>(kMostPlausible) ? 1 : 0;
        }
    }
    const bool saysPercent =
        hasUnits && *spectrum_[0] < rows[0].size() && has('%')(rows[0][*spectrum_[0]]);
    isPercentAssumed_ = !isPercent_ && !saysPercent && large > 0 && 2 * large >= reflectances;
    isPercent_ = isPercent_ || saysPercent || isPercentAssumed_;
    return hasUnits;
}

RecordEntry EntryColumns::entry(const std::vector<std::string>& cells, std::uint32_t count,
                                const std::string& where) const {
    if (cells.size() != titles_.size()) {
        throw Failure(where + ": " + counted(cells.size(), "fields") + ", expected " +
                      std::to_string(titles_.size()));
    }
    const Row row{*this, cells, where};
    RecordEntry entry;
    // Samples that are not numbered have names for identifiers.
    const std::string identifier = row.text(identifier_);
    const bool isNumbered = identifier.size() <= kMostIndexDigits &&
                            identifier.find_first_not_of("0123456789") == std::string::npos;
    entry.index = row.index(index_ || !isNumbered ? index_ : identifier_, count);
    entry.isStandard = row.isStandard();
    entry.name = row.name();
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
