#pragma once

#include <string>
#include <vector>

#include "colour/ChartPatches.h"
#include "colour/ColorMath.h"

namespace cqtool {

/// A patch as it is published and as it was measured.
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

/// The mean and the largest of the patches' differences, and the patch that has it.
struct Differences {
    double mean = 0;
    double most = 0;
    std::string mostName;
};

/// \param results at least one.
Differences differencesOf(const std::vector<PatchResult>& results, double PatchResult::*difference);

/// What a report says about where its measurements come from.
struct ReportOrigin {
    std::string instrument;  ///< as the instrument names itself
    std::string port;
    std::string time;
    Viewing viewing;
};

/// A page of HTML that needs nothing else: swatches, curves, values and differences of every patch.
std::string chartReport(const std::vector<PatchResult>& results, const ReportOrigin& origin);

}  // namespace cqtool
