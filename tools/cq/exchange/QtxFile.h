#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cqtool {

/// A section of a QTX file that holds a standard or a batch.
struct QtxSection {
    std::size_t line = 0;  ///< of its head, from 1
    bool isStandard = true;
    std::optional<std::uint32_t> number;        ///< that the head ends in
    std::map<std::string, std::string> values;  ///< by their keys in capitals

    /// The value of a key; empty if it is missing.
    std::string value(const std::string& key) const;
};

/// The sections of standards and batches, in order. Others are passed over, and so are lines that
/// begin with ';' or '#'. A comma at the end of a value is left out.
/// Throws Failure, naming the line, for one that is neither a head nor KEY=value, and when there is
/// no such section.
std::vector<QtxSection> readQtx(std::string_view content, const std::string& source);

/// The text as a value, in one line, from which readQtx() gives it back.
std::string qtxText(std::string_view text);

}  // namespace cqtool
