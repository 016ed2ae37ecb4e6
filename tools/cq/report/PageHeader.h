#pragma once

#include <string>
#include <vector>

#include "report/ReportText.h"
#include "report/Statistics.h"

namespace cqtool {

/// A page's head: title; operator, times, instruments, calibration, viewing, limits and remarks; and
/// how the trials have done.
std::string pageHeader(const Job& job, const std::vector<ReportGroup>& groups,
                       const ReportView& view);

}  // namespace cqtool
