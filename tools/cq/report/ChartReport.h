#pragma once

#include <string>
#include <vector>

#include "color/ChartPatches.h"
#include "color/ColorMath.h"

namespace cqtool {

/// A patch as published and as measured.
struct PatchResult {
    PatchResult(const ChartPatch& patch, const Spectrum& standard, const Spectrum& trial,
                const Viewing& viewing);

    std::string name;
    Spectrum reference;
    Spectrum standard;
    Spectrum trial;
    ColorData referenceLab;
    ColorData standardLab;
    ColorData trialLab;
    Rgb referenceRgb;
    Rgb standardRgb;
    Rgb trialRgb;
    double deltaFromChart;     ///< ΔE*ab of the standard from the chart's values
    double deltaFromStandard;  ///< ΔE*ab of the trial from the standard
};

/// The mean and the largest of the patches' differences, and the patch with the largest.
struct Differences {
    double mean = 0;
    double most = 0;
    std::string mostName;
};

/// \param results at least one.
Differences differencesOf(const std::vector<PatchResult>& results, double PatchResult::*difference);

/// The origin of a report's measurements.
struct ReportOrigin {
    std::string instrument;  ///< the instrument's own name
    std::string port;
    std::string time;
    Viewing viewing;
};

/// A self-contained HTML page: swatches, curves, values and differences of every patch.
std::string chartReport(const std::vector<PatchResult>& results, const ReportOrigin& origin);

}  // namespace cqtool
