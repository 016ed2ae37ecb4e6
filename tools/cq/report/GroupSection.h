#pragma once

#include <string>
#include <vector>

#include "report/Comparison.h"
#include "report/ReportText.h"

namespace cqtool {

/// A standard with its trials: colours, drawings, statistics, the table of differences, and the
/// spectra if the view has them.
std::string groupSection(const Job& job, const ReportGroup& group, const ReportView& view);

/// A measurement that is not compared with anything.
std::string measurementCard(const Job& job, const JobMeasurement& measurement,
                            const ReportView& view);

/// All measurements that count at their places in the a*b* plane, under the first illuminant.
std::string overviewPlane(const Job& job, const std::vector<ReportGroup>& groups);

/// The keys of marks and lines in the drawings.
std::string drawingLegend(const Job& job);

/// The most of the first limit on a difference that is not one for warnings, which the planes show.
const Limit* outlinedLimit(const Job& job);

}  // namespace cqtool
