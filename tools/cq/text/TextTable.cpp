#include "text/TextTable.h"

#include <algorithm>
#include <utility>

#include "text/Text.h"

namespace cqtool {

TextTable::TextTable(std::vector<Column> columns) : columns_(std::move(columns)) {
    for (Column& column : columns_) {
        column.width = std::max(column.width, displayWidth(column.title));
    }
}

void TextTable::fit(const Row& row) {
    for (std::size_t i = 0; i < std::min(row.size(), columns_.size()); ++i) {
        columns_[i].width = std::max(columns_[i].width, displayWidth(row[i]));
    }
}

std::string TextTable::titles() const {
    Row row;
    for (const Column& column : columns_) {
        row.push_back(column.title);
    }
    return line(row);
}

std::string TextTable::line(const Row& row) const {
    std::string result;
    for (std::size_t i = 0; i < std::min(row.size(), columns_.size()); ++i) {
        const std::size_t width = displayWidth(row[i]);
        const std::string padding(std::max(columns_[i].width, width) - width, ' ');
        if (i != 0) {
            result += "  ";
        }
        result += columns_[i].align == Align::left ? row[i] + padding : padding + row[i];
    }
    result.erase(result.find_last_not_of(' ') + 1);
    return result;
}

}  // namespace cqtool
