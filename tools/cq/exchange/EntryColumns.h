#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "color/ColumnTitles.h"
#include "exchange/Exchange.h"

namespace cqtool {

/// Finds by their titles the columns of a table that has an entry in every row, of a CSV or a CGATS
/// file alike.
class EntryColumns {
  public:
    using Place = std::optional<std::size_t>;

    /// \param titles others than the known ones may be among them.
    /// \param where what messages begin with.
    /// Throws Failure when a spectrum or L*, a*, b* is incomplete, or no column says anything of a
    /// colour.
    EntryColumns(const std::vector<std::string>& titles, const ReadOptions& options,
                 const std::string& where);

    /// Takes from the cells of all rows how numbers are written: with decimal commas if one has a comma;
    /// in percent if titles or units say so, or most reflectances are larger than any can be.
    /// \return whether the first row holds units, and no entry.
    bool adjustTo(const std::vector<std::vector<std::string>>& rows);

    /// That neither title nor unit nor option says percent, and the numbers alone do.
    bool isPercentAssumed() const { return isPercentAssumed_; }

    /// The entry in a row. Empty cells and missing columns are unknown.
    /// \param count the number of entries before: the index of an entry without one.
    /// Throws Failure for a row of the wrong length or a cell with invalid content.
    RecordEntry entry(const std::vector<std::string>& cells, std::uint32_t count,
                      const std::string& where) const;

  private:
    struct Row;

    std::vector<std::size_t> numberColumns() const;

    std::vector<std::string> titles_;
    bool isPercent_;
    bool isPercentAssumed_ = false;
    char decimalMark_ = '.';
    Place index_;
    Place identifier_;  ///< a number like the index, or a name
    Place kind_;
    Place type_;  ///< like the kind, but may hold other words
    Place name_;
    Place standard_;  ///< the name of the trial's standard
    Place trial_;     ///< the trial's name, empty for a standard
    Place time_;
    Place record_;
    std::array<Place, 3> lab_;
    std::array<Place, kWavelengthCount> spectrum_;
};

}  // namespace cqtool
