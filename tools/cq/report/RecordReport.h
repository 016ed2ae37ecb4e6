#pragma once

#include <optional>
#include <string>
#include <vector>

#include "exchange/Exchange.h"
#include "report/Tolerance.h"

namespace cqtool {

/// How trials are judged.
struct Judgement {
    DifferenceFormula formula;
    std::optional<double> tolerance;  ///< without one nothing passes or fails

    /// What the 32-bit floats of L*, a*, b* leave uncertain of a difference.
    static constexpr double kResolution = 2e-5;

    /// Only with a tolerance.
    bool isPassed(double difference) const { return difference <= *tolerance + kResolution; }
    /// A difference with two decimals, or with as many as show why it fails.
    std::string textOf(double difference) const;
};

/// A standard, if there is one, and the trials compared with it.
struct TrialGroup {
    std::optional<RecordEntry> standard;
    std::vector<RecordEntry> trials;
};

/// The entries in file order: every trial belongs to the preceding standard.
std::vector<TrialGroup> groupsOf(const RecordSet& set);

/// Every entry of the set, whatever its kind, as a trial of one of these standards: of the only
/// one, or one to one in order. Throws Failure if neither is possible.
/// \param source the standards' name in messages.
std::vector<TrialGroup> groupsAgainst(const std::vector<RecordEntry>& standards,
                                      const RecordSet& set, const std::string& source);

/// The differences, by a formula, of all trials that have a standard; both must have L*, a*, b*.
struct TrialSummary {
    std::size_t trials = 0;
    std::size_t passed = 0;  ///< with a tolerance only
    double mean = 0;
    double most = 0;
    std::string mostName;
};

TrialSummary summaryOf(const std::vector<TrialGroup>& groups, const Judgement& judgement);

/// A self-contained HTML page: swatches, curves, values, and for each standard its trials'
/// differences, their places around it in the a*b* plane, and whether they pass.
/// \param set the source of title, origin and viewing.
std::string recordReport(const RecordSet& set, const std::vector<TrialGroup>& groups,
                         const Judgement& judgement);

}  // namespace cqtool
