#include <algorithm>
#include <sstream>

#include "colour/ColorJson.h"
#include "colour/ColorMath.h"
#include "exchange/EntryColumns.h"
#include "exchange/Formats.h"
#include "Failure.h"
#include "text/Csv.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr std::string_view kIlluminant = "illuminant";
constexpr std::string_view kObserver = "observer";

const ColumnTitles& knownTitles() {
    static const ColumnTitles kTitles{"index",         "kind",   "name",
                                      {"l", "a", "b"}, "record", {"r", "nm", "r_", "nm_", ""}};
    return kTitles;
}

std::string digits(float value) {
    return digitsOf(shortest(value));
}

std::string header() {
    std::string line = "index,kind,name,illuminant,observer,L,a,b,hex";
    for (std::size_t i = 0; i < kWavelengthCount; ++i) {
        line += ",R" + std::to_string(wavelength(i));
    }
    return line + ",record\n";
}

std::string row(const RecordEntry& entry, const Viewing& viewing) {
    std::string line = std::to_string(entry.index) + ',' + entry.kind() + ',' +
                       csvField(entry.name) + ',' + illuminantName(viewing.illuminant) + ',' +
                       std::to_string(observerDegrees(viewing.observer));
    for (std::size_t i = 0; i < 3; ++i) {
        line += ',' + (entry.lab ? digits(entry.lab->values[i]) : std::string());
    }
    line += ',' + (entry.lab ? hexColor(rgbOfLab(*entry.lab, viewing)) : std::string());
    for (std::size_t i = 0; i < kWavelengthCount; ++i) {
        line += ',' + (entry.spectrum ? digits((*entry.spectrum)[i]) : std::string());
    }
    line += ',' + (entry.record ? hexText(entry.record->bytes, sizeof entry.record->bytes)
                                : std::string());
    return line + '\n';
}

/// The place of a title, or the number of titles when it is not among them.
std::size_t columnOf(const CsvRow& titles, std::string_view title) {
    const auto found =
        std::find_if(titles.fields.begin(), titles.fields.end(),
                     [title](const std::string& field) { return lowerCase(field) == title; });
    return static_cast<std::size_t>(found - titles.fields.begin());
}

std::string whereOf(const CsvRow& row, const std::string& source) {
    return source + " line " + std::to_string(row.line);
}

/// L*, a*, b* of all rows must be for one viewing: a set has one.
Viewing viewingOfTable(const CsvTable& table, const std::string& source) {
    const CsvRow& titles = table.rows.front();
    const std::size_t illuminant = columnOf(titles, kIlluminant);
    const std::size_t observer = columnOf(titles, kObserver);
    if (table.rows.size() < 2 || illuminant == titles.fields.size() ||
        observer == titles.fields.size()) {
        return {};
    }
    const CsvRow& first = table.rows[1];
    for (std::size_t i = 1; i < table.rows.size(); ++i) {
        for (const std::size_t column : {illuminant, observer}) {
            if (table.rows[i].fields[column] != first.fields[column]) {
                throw Failure(whereOf(table.rows[i], source) + ": '" +
                                  table.rows[i].fields[column] + "' where line " +
                                  std::to_string(first.line) + " has '" + first.fields[column] +
                                  "'",
                              "give one file for each illuminant and observer");
            }
        }
    }
    return viewingOf(first.fields[illuminant], first.fields[observer], whereOf(first, source));
}

}  // namespace

std::string csvOf(const RecordSet& set) {
    std::string content = header();
    for (const RecordEntry& entry : set.entries) {
        content += row(entry, set.viewing);
    }
    return content;
}

RecordSet recordsOfCsv(std::string_view content, const std::string& source) {
    std::istringstream stream{std::string(content)};
    const CsvTable table = readCsv(stream, source);
    if (table.rows.empty()) {
        throw Failure(source + " is empty: a first line of column titles is expected");
    }
    const EntryColumns columns(table.rows.front().fields, knownTitles(),
                               whereOf(table.rows.front(), source));
    RecordSet set;
    for (std::size_t i = 1; i < table.rows.size(); ++i) {
        set.entries.push_back(columns.entry(table.rows[i].fields, static_cast<std::uint32_t>(i - 1),
                                            whereOf(table.rows[i], source),
                                            table.mayHaveDecimalComma() ? ',' : '.'));
    }
    set.viewing = viewingOfTable(table, source);
    return set;
}

}  // namespace cqtool
