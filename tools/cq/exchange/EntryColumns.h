#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "exchange/Exchange.h"

namespace cqtool {

/// What a table calls its columns, in lower case.
struct ColumnTitles {
    std::string_view index;
    std::string_view kind;
    std::string_view name;
    std::array<std::string_view, 3> lab;
    std::string_view record;
    std::vector<std::string_view> spectrum;  ///< what stands before the wavelength
};

/// Finds by their titles the columns of a table that has an entry in every row.
class EntryColumns {
  public:
    /// \param titles in any case of letters; others than the known ones may be among them.
    /// \param where what messages begin with.
    /// Throws Failure when a spectrum or L*, a*, b* is incomplete, or no column says anything of a
    /// colour.
    EntryColumns(const std::vector<std::string>& titles, const ColumnTitles& known,
                 const std::string& where);

    /// The entry in a row. Empty cells and missing columns are unknown.
    /// \param count the number of entries before: the index of an entry without one.
    /// Throws Failure for a row of the wrong length or a cell with invalid content.
    RecordEntry entry(const std::vector<std::string>& cells, std::uint32_t count,
                      const std::string& where, char decimalMark = '.') const;

  private:
    struct Row;

    std::size_t width_;
    std::size_t index_;
    std::size_t kind_;
    std::size_t name_;
    std::size_t record_;
    std::array<std::size_t, 3> lab_;
    std::array<std::size_t, kWavelengthCount> spectrum_;
    std::vector<std::string> titles_;
};

}  // namespace cqtool
