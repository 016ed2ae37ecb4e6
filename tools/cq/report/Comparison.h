#pragma once

#include <optional>
#include <string>
#include <vector>

#include "job/Job.h"

namespace cqtool {

/// A trial beside its standard under one illuminant.
struct ColorPair {
    std::int32_t illuminant = 0;
    ColorData standard;  ///< L*, a*, b*
    ColorData trial;
    std::optional<double> metamerism;  ///< from the first illuminant; nothing for that one
};

/// A trial as a report shows it.
struct ReportTrial {
    const JobMeasurement* measurement = nullptr;
    std::vector<ColorPair> pairs;    ///< of the illuminants under which both colours are known
    std::optional<Verdict> verdict;  ///< nothing without limits
    std::string problem;             ///< why there is no verdict, or no pair
    bool isCounted = true;           ///< neither it nor its standard is struck out

    /// Null if the colours are not known under this illuminant.
    const ColorPair* under(std::int32_t illuminant) const;
};

/// A standard, if there is one, and the trials that are compared with it.
struct ReportGroup {
    const JobMeasurement* standard = nullptr;
    std::vector<ReportTrial> trials;
};

/// The job's standards in order, each with its trials; first those without a standard. The groups
/// refer to the job.
std::vector<ReportGroup> reportGroups(const Job& job);

/// The value of a quantity; nothing if it is not known under this illuminant.
std::optional<double> valueOf(const Quantity& quantity, const ReportTrial& trial,
                              std::int32_t illuminant);

/// Whether a quantity may be below 0.
bool isSigned(const Quantity& quantity);

/// The formulas of the limits' differences, each once; without one this formula.
std::vector<DifferenceFormula> judgedFormulas(const Job& job, const DifferenceFormula& otherwise);

/// What the first limit is about and the illuminant it is looked at under; without limits this formula.
struct LeadingQuantity {
    Quantity quantity;
    std::int32_t illuminant = 0;
};
LeadingQuantity leadingQuantity(const Job& job, const DifferenceFormula& otherwise);

}  // namespace cqtool
