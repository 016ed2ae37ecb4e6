#pragma once

#include <string>
#include <vector>

namespace cqtool {

/// Lays out lines of cells in columns, for reading in a terminal. Cells are UTF-8 and may hold
/// colour escapes. Lines have no trailing spaces and no line feed.
class TextTable {
  public:
    enum class Align { left, right };
    using Row = std::vector<std::string>;

    struct Column {
        std::string title;
        Align align = Align::right;
        std::size_t width = 0;  ///< minimum width, for tables whose rows are not known in advance
    };

    explicit TextTable(std::vector<Column> columns);

    /// Widens the columns to fit the row.
    void fit(const Row& row);

    std::string titles() const;
    /// \param row one cell per column; a shorter row leaves the last columns empty.
    std::string line(const Row& row) const;

  private:
    std::vector<Column> columns_;
};

}  // namespace cqtool
