#pragma once

#include <string>
#include <vector>

#include "report/Comparison.h"
#include "report/ReportText.h"

namespace cqtool {

/// A self-contained HTML page: for each standard its trials' colours and differences under every
/// illuminant, their places around it, their course, statistics, and whether they pass.
/// \param groups the job's own.
std::string jobPage(const Job& job, const std::vector<ReportGroup>& groups, const ReportView& view);

}  // namespace cqtool
