#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "color/Difference.h"
#include "job/Job.h"

namespace cqtool {

/// What a report is about, as on a command line.
struct ReportInput {
    std::string file;
    std::string format;
    std::string standard;
    std::string title;
    std::string recordLayout;
    bool isPercent = false;
    std::vector<std::int32_t> illuminants;  ///< empty: the file's
    std::optional<std::int32_t> observer;
    std::vector<std::string> tolerances;  ///< numbers for the formula, or limits as limitOf() takes
    std::vector<std::string> warnings;
    DifferenceFormula formula;

    /// Whether --standard names a file.
    bool hasStandardFile() const;
};

/// A job's file, or an exported file as a job, with the limits and the viewing that the options give.
/// Throws Failure for a file that holds nothing to report, UsageError for options that do not fit.
/// \param notes for what the user should know of the file.
Job jobFor(const ReportInput& input, std::ostream& notes);

}  // namespace cqtool
