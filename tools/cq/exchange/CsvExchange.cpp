#include <sstream>

#include "colour/ColorJson.h"
#include "colour/ColorMath.h"
#include "exchange/EntryColumns.h"
#include "exchange/Formats.h"
#include "Failure.h"
#include "text/Csv.h"
#include "text/Numbers.h"

namespace cqtool {
namespace {

std::string digits(float value) {
    return digitsOf(shortest(value));
}

std::string header() {
    std::string line = "index,kind,name,time,instrument,serial,illuminant,observer,L,a,b,hex";
    for (std::size_t i = 0; i < kWavelengthCount; ++i) {
        line += ",R" + std::to_string(wavelength(i));
    }
    return line + ",record\n";
}

std::string row(const RecordEntry& entry, const RecordSet& set) {
    const Viewing& viewing = set.viewing;
    std::string line = std::to_string(entry.index) + ',' + entry.kind();
    for (const std::string& text : {entry.name, entry.time, set.instrument, set.serial}) {
        line += ',' + csvField(text);
    }
    line += std::string(",") + illuminantName(viewing.illuminant) + ',' +
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

std::string whereOf(const CsvRow& row, const std::string& source) {
    return source + " line " + std::to_string(row.line);
}

/// L*, a*, b* of all rows must be for one viewing: a set has one.
Viewing viewingOfTable(const CsvTable& table, const ColumnTitles& titles,
                       const std::string& source) {
    const auto illuminant = titles.find({"illuminant"});
    const auto observer = titles.find({"observer"});
    if (table.rows.size() < 2 || !illuminant || !observer) {
        return {};
    }
    const CsvRow& first = table.rows[1];
    for (std::size_t i = 1; i < table.rows.size(); ++i) {
        for (const std::size_t column : {*illuminant, *observer}) {
            if (table.rows[i].fields[column] != first.fields[column]) {
                throw Failure(whereOf(table.rows[i], source) + ": '" +
                                  table.rows[i].fields[column] + "' where line " +
                                  std::to_string(first.line) + " has '" + first.fields[column] +
                                  "'",
                              "give one file for each illuminant and observer");
            }
        }
    }
    return viewingOf(first.fields[*illuminant], first.fields[*observer], whereOf(first, source));
}

/// What all rows have in common: the cell of the first; empty when there is none.
std::string commonText(const CsvTable& table, std::optional<std::size_t> column) {
    return table.rows.size() < 2 || !column ? std::string() : table.rows[1].fields[*column];
}

}  // namespace

std::string csvOf(const RecordSet& set) {
    std::string content = header();
    for (const RecordEntry& entry : set.entries) {
        content += row(entry, set);
    }
    return content;
}

RecordSet recordsOfCsv(std::string_view content, const std::string& source,
                       const ReadOptions& options) {
    std::istringstream stream{std::string(content)};
    const CsvTable table = readCsv(stream, source);
    if (table.rows.empty()) {
        throw Failure(source + " is empty: a first line of column titles is expected");
    }
    const ColumnTitles titles(table.rows.front().fields);
    const EntryColumns columns(table.rows.front().fields, options,
                               whereOf(table.rows.front(), source));
    RecordSet set;
    for (std::size_t i = 1; i < table.rows.size(); ++i) {
        set.entries.push_back(columns.entry(table.rows[i].fields, static_cast<std::uint32_t>(i - 1),
                                            whereOf(table.rows[i], source),
                                            table.mayHaveDecimalComma() ? ',' : '.'));
    }
    set.instrument = commonText(table, titles.find({"instrument"}));
    set.serial = commonText(table, titles.find({"serial"}));
    set.viewing = viewingOfTable(table, titles, source);
    return set;
}

}  // namespace cqtool
