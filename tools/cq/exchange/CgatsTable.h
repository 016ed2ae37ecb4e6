#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace cqtool {

/// The first table of a text file in the form of ANSI CGATS.17 (or the related ISO 12642 and
/// IT8.7): keywords with values, a data format, and rows of data.
struct CgatsTable {
    struct Row {
        std::size_t line = 0;  ///< where it begins, from 1
        std::vector<std::string> cells;
    };

    std::map<std::string, std::string> keywords;  ///< the first value of each, without quotes
    std::size_t formatLine = 0;                   ///< of BEGIN_DATA_FORMAT
    std::vector<std::string> fields;
    std::vector<Row> rows;

    /// The value of a keyword; empty if it is missing.
    std::string value(const std::string& keyword) const;
};

/// Throws Failure, naming the line, if the table is malformed or truncated.
CgatsTable readCgats(std::string_view content, const std::string& source);

/// The text in quotes. Characters that a quoted text cannot hold are replaced: quotation marks by
/// apostrophes, line ends by spaces.
std::string cgatsText(std::string_view text);

}  // namespace cqtool
