#pragma once

#include <cstdint>
#include <string>

#include "job/Limit.h"

namespace cqtool {

/// What a page is made with besides the job.
struct ReportView {
    DifferenceFormula formula;  ///< that is shown first where no limit names one
    bool hasSpectra = false;    ///< also as tables
};

/// The quantity's symbol for HTML: "ΔE<sub>00</sub>".
std::string symbolInHtml(const Quantity& quantity);

/// A limit for HTML: "ΔE<sub>00</sub> ≤ 1", "-0.5 ≤ Δa* ≤ 0.3 (A)".
std::string limitInHtml(const Limit& limit);

/// What decided, for HTML: "ΔE<sub>00</sub> 1.32 &gt; 1 (D65)".
std::string findingInHtml(const Finding& finding);

/// A value of this quantity with so many decimals; with its sign if it may be below 0.
std::string valueText(const Quantity& quantity, double value, int decimals = 2);

/// "2024-05-01 10:00:00" of a time as nowText() writes it; another text as it is.
std::string timeForPeople(const std::string& time);

/// How long something is ago: "40 s", "12 min", "3 h 5 min".
std::string ageText(double seconds);

}  // namespace cqtool
