#pragma once

#include <string>

#include "report/Comparison.h"
#include "report/ReportText.h"

namespace cqtool {

/// A standard's trials: for each its name, its verdict and what decided, and a line for each
/// illuminant with the two colours, the differences and the index of metamerism.
std::string trialTable(const Job& job, const ReportGroup& group, const ReportView& view);

}  // namespace cqtool
