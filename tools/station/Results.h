#pragma once

#include <optional>
#include <string>

#include "job/Job.h"
#include "text/JsonForward.h"

namespace station {

using cqtool::Json;

/// The text; null for an empty one.
Json textOrNull(const std::string& text);

/// A measurement as it is shown: its colour, its standard, the differences, the verdict. All texts
/// are as the job has them, so that whoever shows them must escape them.
Json resultJson(const cqtool::Job& job, const cqtool::JobMeasurement& measurement);

/// A job as it is shown: title, limits, standards and its last measurements.
/// \param most how many measurements at most.
Json jobJson(const std::string& name, const cqtool::Job& job, std::size_t most);

// Drawings, as a report has them; nothing if there is nothing to draw.

/// The spectrum of a measurement and of its standard.
std::optional<std::string> spectrumSvg(const cqtool::Job& job, const cqtool::JobMeasurement& shown);
/// The trials of the same standard around it in the a*b* plane, with the tolerance.
std::optional<std::string> planeSvg(const cqtool::Job& job, const cqtool::JobMeasurement& shown);
/// The colour differences of the trials of the same standard, in order, with the limit.
std::optional<std::string> trendSvg(const cqtool::Job& job, const cqtool::JobMeasurement& shown);

}  // namespace station
