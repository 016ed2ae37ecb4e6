#pragma once

#include <iosfwd>
#include <optional>
#include <string>

#include "commands/Program.h"
#include "exchange/Exchange.h"
#include "instrument/Connection.h"

namespace cqtool {

/// What --against names as the standard of trials: one measurement in a file, three numbers L*, a*, b*,
/// or the index of a standard that the instrument stores.
class Against {
  public:
    /// Reads what needs no instrument. Throws Failure or UsageError.
    /// \param text as given; empty: there is none. \param notes for what is assumed of a file.
    Against(const std::string& text, const Viewing& viewing, const RecordLayout& layout,
            std::ostream& notes);

    /// Reads a stored one, once; throws Failure if there is none.
    void read(Connection& connection);

    /// What it is called, for people.
    const std::string& name() const { return name_; }
    /// The file in the text, so that nothing is written to it; empty for others.
    const std::string& file() const { return file_; }
    /// With a spectrum or L*, a*, b* for the viewing; nothing without --against, or before read().
    const std::optional<RecordEntry>& standard() const { return standard_; }

  private:
    Viewing viewing_;
    RecordLayout layout_;
    std::optional<std::uint32_t> index_;
    std::string name_;
    std::string file_;
    std::optional<RecordEntry> standard_;
};

void addAgainstOption(CommandLine& line, std::string& against);

}  // namespace cqtool
