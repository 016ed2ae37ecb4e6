#pragma once

#include <vector>

#include "report/Comparison.h"
#include "report/ReportText.h"
#include "text/JsonObject.h"

namespace cqtool {

/// The numbers of a report: for each trial that has a standard its differences and its verdict, then
/// statistics and counts.
JsonObject reportJson(const Job& job, const std::vector<ReportGroup>& groups,
                      const ReportView& view);

}  // namespace cqtool
