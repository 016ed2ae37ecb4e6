#pragma once

#include <cstddef>
#include <functional>
#include <istream>
#include <string>
#include <string_view>
#include <vector>

namespace cqtool {

struct CsvRow {
    std::size_t line = 0;  ///< where it begins in its file, from 1
    std::vector<std::string> fields;
};

/// Rows of fields as spreadsheets and measuring programs write them.
struct CsvTable {
    /// ';', a tab, ',' or a space: the first of these that the first row contains.
    char delimiter = ',';
    std::vector<CsvRow> rows;

    /// Only if fields are separated by ';' or tabs may numbers have a decimal comma.
    bool mayHaveDecimalComma() const { return delimiter == ';' || delimiter == '\t'; }
};

/// Reads a table. Fields in "..." may hold delimiters, line feeds and "" for a quotation mark; a
/// byte-order mark, empty lines and lines that begin with '#' are left out.
/// \param source the input's name in messages.
/// Throws Failure, with the line, for a quotation that does not end or is followed by more text.
CsvTable readCsv(std::istream& input, const std::string& source);

/// Whether these fields are the titles of a table's columns.
using IsCsvHeader = std::function<bool(const std::vector<std::string>& fields)>;

/// The same from a text. What stands above the first row with titles, as far as it is among the first
/// 64 rows, is left out. Without isHeader nothing is.
CsvTable readCsv(std::string_view text, const std::string& source, const IsCsvHeader& isHeader);

/// The text as one field, quoted where it must be. Before what a spreadsheet would take for a formula
/// stands an apostrophe, which readCsv() takes away again.
std::string csvField(const std::string& text);

}  // namespace cqtool
