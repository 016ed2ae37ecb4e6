#pragma once

#include <string>
#include <vector>

#include "report/ReportText.h"
#include "report/Statistics.h"

namespace cqtool {

/// A colour under each illuminant of the job: L*, a*, b*, C*ab, hab.
std::string colorTable(const Job& job, const RecordEntry& entry);

/// Mean, standard deviation, 95th percentile and largest of each quantity; empty for fewer than two
/// trials.
std::string statisticsTable(const Job& job, const std::vector<ReportTrial>& trials,
                            const ReportView& view);

/// The reflectance at each wavelength, a column an entry; empty if none has a spectrum.
std::string spectraTables(const std::vector<const RecordEntry*>& entries);

}  // namespace cqtool
