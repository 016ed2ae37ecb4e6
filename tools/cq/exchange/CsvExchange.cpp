#include <algorithm>
#include <ostream>
#include <utility>

#include "color/ColorMath.h"
#include "exchange/EntryColumns.h"
#include "exchange/Formats.h"
#include "exchange/SetViewing.h"
#include "Failure.h"
#include "text/Csv.h"
#include "text/Encoding.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

/// Writes lines of fields.
class CsvLine {
  public:
    explicit CsvLine(const WriteOptions& options) : hasComma_(options.hasDecimalComma) {}

    void add(const std::string& field) {
        text_ += isFirst_ ? std::string() : std::string(1, hasComma_ ? ';' : ',');
        text_ += field;
        isFirst_ = false;
    }

    void add(float value) {
        std::string digits = digitsOf(shortest(value));
        if (hasComma_) {
            std::replace(digits.begin(), digits.end(), '.', ',');
        }
        add(digits);
    }

    /// The line; the next one begins.
    std::string taken() {
        isFirst_ = true;
        return std::exchange(text_, {}) + '\n';
    }

  private:
    bool hasComma_;
    bool isFirst_ = true;
    std::string text_;
};

std::string csvHeader(CsvLine& line) {
    for (const char* title : {"index", "kind", "name", "time", "instrument", "serial", "illuminant",
                              "observer", "L", "a", "b", "hex"}) {
        line.add(title);
    }
    for (std::size_t i = 0; i < kWavelengthCount; ++i) {
        line.add("R" + std::to_string(wavelength(i)));
    }
    line.add("record");
    return line.taken();
}

std::string csvRow(const RecordEntry& entry, const RecordSet& set, CsvLine& line) {
    line.add(std::to_string(entry.index));
    line.add(entry.kind());
    for (const std::string& text : {entry.name, entry.time, set.instrument, set.serial}) {
        line.add(csvField(text));
    }
    line.add(illuminantName(set.viewing.illuminant));
    line.add(std::to_string(observerDegrees(set.viewing.observer)));
    for (std::size_t i = 0; i < 3; ++i) {
        entry.lab ? line.add(entry.lab->values[i]) : line.add("");
    }
    line.add(entry.lab ? hexColor(rgbOfLab(*entry.lab, set.viewing)) : std::string());
    for (std::size_t i = 0; i < kWavelengthCount; ++i) {
        entry.spectrum ? line.add((*entry.spectrum)[i]) : line.add("");
    }
    line.add(entry.record ? hexText(entry.record->bytes, sizeof entry.record->bytes)
                          : std::string());
    return line.taken();
}

std::string whereOf(const CsvRow& row, const std::string& source) {
    return source + " line " + std::to_string(row.line);
}

/// What the titles say of the viewing: "L*(D65/10)".
NamedViewing namedInTitles(const ColumnTitles& titles) {
    const auto lightness = titles.triple(false)[0];
    return namedViewing(lightness ? titles.remark(*lightness) : std::string());
}

/// The viewing where no columns say it.
Viewing viewingOfTitles(const ColumnTitles& titles) {
    const NamedViewing named = namedInTitles(titles);
    const Viewing usual;
    return {named.illuminant.value_or(usual.illuminant), named.observer.value_or(usual.observer)};
}

/// L*, a*, b* of all rows must be for one viewing: a set has one.
Viewing viewingOfTable(const CsvTable& table, const ColumnTitles& titles,
                       const std::string& source) {
    const auto illuminant = titles.find({"illuminant"});
    const auto observer = titles.find({"observer"});
    if (table.rows.size() < 2 || !illuminant || !observer) {
        return viewingOfTitles(titles);
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
    const std::string& degrees = first.fields[*observer];  // "10", "10°"
    const std::size_t digits = degrees.find_first_not_of("0123456789");
    return viewingOf(first.fields[*illuminant], digits > 0 ? degrees.substr(0, digits) : degrees,
                     whereOf(first, source));
}

/// A trial belongs to the standard before it; if it names one it must be that.
void checkStandard(const RecordSet& set, const std::string& name, const std::string& where) {
    const auto last = std::find_if(set.entries.rbegin(), set.entries.rend(),
                                   [](const RecordEntry& entry) { return entry.isStandard; });
    if (!name.empty() && last != set.entries.rend() && last->name != name) {
        throw Failure(where + ": the standard of this trial is '" + shown(name) +
                          "', but the one before it in the file is '" + shown(last->name) + "'",
                      "put each standard before its trials");
    }
}

/// What the file does not say itself.
std::string assumptionsOf(const RecordSet& set, const EntryColumns& columns,
                          const ColumnTitles& titles) {
    std::vector<std::string> assumptions;
    if (columns.isPercentAssumed()) {
        assumptions.emplace_back("its reflectances, most of them above 2, are in percent");
    }
    const bool decidesViewing =
        std::any_of(set.entries.begin(), set.entries.end(),
                    [](const RecordEntry& entry) { return entry.lab && !entry.spectrum; });
    const NamedViewing named = namedInTitles(titles);
    const bool hasColumns = titles.find({"illuminant"}) && titles.find({"observer"});
    if (decidesViewing && !hasColumns && !(named.illuminant && named.observer)) {
        assumptions.push_back("its L*, a*, b* are for " + viewingName(set.viewing));
    }
    return joined(assumptions, " and ");
}

/// What all rows have in common: the cell of the first; empty when there is none.
std::string commonText(const CsvTable& table, std::optional<std::size_t> column) {
    return table.rows.size() < 2 || !column ? std::string() : table.rows[1].fields[*column];
}

}  // namespace

std::string csvOf(const RecordSet& set, const WriteOptions& options) {
    CsvLine line(options);
    std::string content = csvHeader(line);
    for (const RecordEntry& entry : set.entries) {
        content += csvRow(entry, set, line);
    }
    return content;
}

RecordSet recordsOfCsv(std::string_view content, const std::string& source,
                       const ReadOptions& options) {
    CsvTable table = readCsv(utf8Of(content), source,
                             [](const auto& fields) { return ColumnTitles(fields).namesColor(); });
    if (table.rows.empty()) {
        throw Failure(source + " is empty: a first line of column titles is expected");
    }
    const std::vector<std::string> header = table.rows.front().fields;
    const ColumnTitles titles(header);
    EntryColumns columns(header, options, whereOf(table.rows.front(), source));
    std::vector<std::vector<std::string>> cells;
    for (auto row = table.rows.begin() + 1; row != table.rows.end(); ++row) {
        cells.push_back(row->fields);
    }
    if (columns.adjustTo(cells)) {
        table.rows.erase(table.rows.begin() + 1);
    }
    RecordSet set;
    const auto standard = titles.find({"standard", "standardname", "stdname"});
    for (std::size_t i = 1; i < table.rows.size(); ++i) {
        const std::string where = whereOf(table.rows[i], source);
        RecordEntry entry =
            columns.entry(table.rows[i].fields, static_cast<std::uint32_t>(i - 1), where);
        if (standard && !entry.isStandard) {
            checkStandard(set, table.rows[i].fields[*standard], where);
        }
        set.entries.push_back(std::move(entry));
    }
    set.instrument = commonText(table, titles.find({"instrument"}));
    set.serial = commonText(table, titles.find({"serial"}));
    set.viewing = viewingOfTable(table, titles, source);
    const std::string assumptions = assumptionsOf(set, columns, titles);
    if (options.notes != nullptr && !assumptions.empty()) {
        *options.notes << "cq: " << shown(source) << " does not say it: assumed that "
                       << assumptions << '\n';
    }
    return set;
}

}  // namespace cqtool
