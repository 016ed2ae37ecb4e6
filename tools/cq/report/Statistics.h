#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "report/Comparison.h"

namespace cqtool {

/// What the values of a quantity are like. Those of signed quantities count by their magnitude for
/// the percentile and the largest.
struct Statistics {
    std::size_t count = 0;
    double mean = 0;
    double deviation = 0;     ///< of a sample: divided by n - 1; 0 for a single value
    double percentile95 = 0;  ///< between two values in proportion
    double largest = 0;       ///< with its sign
    std::size_t largestAt = 0;
};

/// All zeros for no values.
Statistics statisticsOf(const std::vector<double>& values);

/// A quantity under one illuminant over the counted trials that have it.
struct QuantityStatistics {
    Quantity quantity;
    std::int32_t illuminant = 0;
    Statistics values;
    std::string largestName;  ///< of the trial
    std::string largestText;  ///< with as many decimals as show on which side of a limit it is
};

QuantityStatistics statisticsOf(const Quantity& quantity, std::int32_t illuminant,
                                const std::vector<ReportTrial>& trials);

/// Of the limits' quantities under their illuminants, or else of this formula; then of the five
/// components under the first illuminant. Only those that some trial has.
std::vector<QuantityStatistics> statisticsOf(const Job& job, const std::vector<ReportTrial>& trials,
                                             const DifferenceFormula& otherwise);

/// How many trials there are of each kind.
struct TrialCounts {
    std::size_t counted = 0;  ///< compared with a standard, not struck out
    std::size_t passed = 0;
    std::size_t warned = 0;
    std::size_t failed = 0;
    std::size_t notJudged = 0;  ///< although there are limits
    std::size_t struckOut = 0;  ///< themselves
};

TrialCounts countsOf(const Job& job, const std::vector<ReportTrial>& trials);

/// The trials of all groups.
std::vector<ReportTrial> allTrials(const std::vector<ReportGroup>& groups);

}  // namespace cqtool
