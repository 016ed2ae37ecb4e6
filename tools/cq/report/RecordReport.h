#pragma once

#include <optional>
#include <string>
#include <vector>

#include "exchange/Exchange.h"
#include "report/Tolerance.h"

namespace cqtool {

/// How trials are judged.
struct Judgement {
    DifferenceFormula formula = DifferenceFormula::ab;
    std::optional<double> tolerance;  ///< without one nothing passes or fails

    /// What the 32-bit floats of L*, a*, b* leave uncertain of a difference.
    static constexpr double kResolution = 2e-5;

    /// Only with a tolerance.
    bool isPassed(double difference) const { return difference <= *tolerance + kResolution; }
    /// A difference with two decimals, or with as many as show why it fails.
    std::string textOf(double difference) const;
};

/// A standard, if there is one, and the trials that are compared with it.
struct TrialGroup {
    std::optional<RecordEntry> standard;
    std::vector<RecordEntry> trials;
};

/// The entries as they stand: every trial belongs to the standard before it.
std::vector<TrialGroup> groupsOf(const RecordSet& set);

/// Every entry of the set, whatever its kind, as a trial of one of these standards: of the only one,
/// or one to one in order. Throws Failure when neither fits. \param source what messages call the
/// standards.
std::vector<TrialGroup> groupsAgainst(const std::vector<RecordEntry>& standards,
                                      const RecordSet& set, const std::string& source);

/// The differences of all trials that have a standard, by a formula; both must have L*, a*, b*.
struct TrialSummary {
    std::size_t trials = 0;
    std::size_t passed = 0;  ///< with a tolerance only
    double mean = 0;
    double most = 0;
    std::string mostName;
};

TrialSummary summaryOf(const std::vector<TrialGroup>& groups, const Judgement& judgement);

/// A page of HTML that needs nothing else: swatches, curves, values, and for each standard its
/// trials' differences, their places around it in a* and b*, and whether they pass.
/// \param set what title, origin and viewing are taken from.
std::string recordReport(const RecordSet& set, const std::vector<TrialGroup>& groups,
                         const Judgement& judgement);

}  // namespace cqtool
