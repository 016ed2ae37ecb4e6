#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace cqtool {

/// The first table of a text file in the form of ANSI CGATS.17 (and of its kin ISO 12642 and
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

    /// The value of a keyword; empty when it is not there.
    std::string value(const std::string& keyword) const;
};

/// Throws Failure, with the line, for what is no such table; so for one that is cut off.
CgatsTable readCgats(std::string_view content, const std::string& source);

/// The text in quotes. What a quoted text cannot hold is replaced: quotation marks by apostrophes,
/// line ends by spaces.
std::string cgatsText(std::string_view text);

}  // namespace cqtool
