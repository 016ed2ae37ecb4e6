#include "report/ChartReport.h"

#include <algorithm>

#include "report/CurveSvg.h"
#include "report/Html.h"
#include "text/Numbers.h"

namespace cqtool {
namespace {

std::string swatchPair(const PatchResult& patch) {
    return element("div", swatch(patch.standardRgb) + swatch(patch.referenceRgb), "pair");
}

std::string swatchCaption(const PatchResult& patch) {
    return element("div",
                   element("span", "measured " + hexColor(patch.standardRgb)) +
                       element("span", "chart " + hexColor(patch.referenceRgb)),
                   "caption");
}

std::string labRow(const char* title, const ColorData& lab, const std::string& difference) {
    std::string cells = element("th", title);
    for (const float value : lab.values) {
        cells += element("td", fixed(value, 2));
    }
    return element("tr", cells + element("td", difference, "difference"));
}

std::string labTable(const PatchResult& patch) {
    std::string head = element("th", "");
    for (const char* title : {"L*", "a*", "b*", "ΔE*<sub>ab</sub>"}) {
        head += element("th", title);
    }
    return element(
        "table",
        element("thead", element("tr", head)) +
            element("tbody",
                    labRow("chart", patch.referenceLab, "") +
                        labRow("measured", patch.standardLab, fixed(patch.deltaFromChart, 2)) +
                        labRow("trial", patch.trialLab, fixed(patch.deltaFromStandard, 2))));
}

std::string overview(const std::vector<PatchResult>& results) {
    std::string patches;
    for (const PatchResult& patch : results) {
        patches += swatchPair(patch);
    }
    return element("div", patches, "chart");
}

std::string card(const PatchResult& patch, std::size_t number) {
    const std::string name = escaped(patch.name);
    const std::string drawing = curveSvg(
        {{patch.reference, "reference"}, {patch.trial, "trial"}, {patch.standard, "standard"}},
        "Reflectance from 400 to 700 nm of " + name);
    return element("article", element("h2", element("span", std::to_string(number)) + name) +
                                  swatchPair(patch) + swatchCaption(patch) + drawing +
                                  labTable(patch));
}

std::string summary(const std::vector<PatchResult>& results) {
    const Differences chart = differencesOf(results, &PatchResult::deltaFromChart);
    const Differences trial = differencesOf(results, &PatchResult::deltaFromStandard);
    return element(
        "div",
        figure(std::to_string(results.size()), "patches") +
            figure(fixed(chart.mean, 2), "mean ΔE*<sub>ab</sub> from the chart") +
            figure(fixed(chart.most, 2),
                   "largest from the chart (" + escaped(chart.mostName) + ")") +
            figure(fixed(trial.mean, 2), "mean ΔE*<sub>ab</sub> of the trials") +
            figure(fixed(trial.most, 2), "largest of the trials (" + escaped(trial.mostName) + ")"),
        "figures");
}

std::string legend() {
    return element("p",
                   legendKey("standard", "measured as a standard") +
                       legendKey("trial", "measured as a trial") +
                       legendKey("reference", "the chart’s published reflectance"),
                   "legend");
}

}  // namespace

PatchResult::PatchResult(const ChartPatch& patch, const Spectrum& standardSpectrum,
                         const Spectrum& trialSpectrum, const Viewing& viewing)
    : name(patch.name),
      reference(patch.reflectance),
      standard(standardSpectrum),
      trial(trialSpectrum),
      referenceLab(colorOfSpectrum(reference, ColorSpaceLab, viewing)),
      standardLab(colorOfSpectrum(standard, ColorSpaceLab, viewing)),
      trialLab(colorOfSpectrum(trial, ColorSpaceLab, viewing)),
      referenceRgb(rgbOfSpectrum(reference, viewing)),
      standardRgb(rgbOfSpectrum(standard, viewing)),
      trialRgb(rgbOfSpectrum(trial, viewing)),
      deltaFromChart(deltaEab(referenceLab, standardLab)),
      deltaFromStandard(deltaEab(standardLab, trialLab)) {}

Differences differencesOf(const std::vector<PatchResult>& results,
                          double PatchResult::*difference) {
    Differences differences;
    for (const PatchResult& patch : results) {
        differences.mean += patch.*difference / static_cast<double>(results.size());
        if (differences.mostName.empty() || patch.*difference > differences.most) {
            differences.most = patch.*difference;
            differences.mostName = patch.name;
        }
    }
    return differences;
}

std::string chartReport(const std::vector<PatchResult>& results, const ReportOrigin& origin) {
    std::string cards;
    for (std::size_t i = 0; i < results.size(); ++i) {
        cards += card(results[i], i + 1) + "\n";
    }
    const std::string viewing = viewingName(origin.viewing);
    const std::string subtitle = escaped(origin.instrument) + " on " + escaped(origin.port) + ", " +
                                 escaped(origin.time) + ", illuminant and observer " + viewing;
    const std::string header = "<header>\n" + element("h1", "Colour chart, measured") + "\n" +
                               element("p", subtitle) + "\n" + summary(results) + "\n</header>\n";
    const std::string explanation =
        element("p",
                "Every patch twice: on the left as measured, on the right from the chart’s "
                "published reflectance, both for " +
                    viewing + ". Where no edge is visible, the two agree.");
    const std::string footer =
        element("p",
                "ΔE*<sub>ab</sub> is the CIE 1976 colour difference: of “measured” from the "
                "chart’s values, of “trial” from the measured standard. About 1 is the smallest "
                "visible difference between patches side by side.");
    return htmlPage("Colour chart, measured", "",
                    header + explanation + "\n" + overview(results) + "\n" + legend() +
                        "\n<main>\n" + cards + "</main>\n" + element("footer", footer));
}

}  // namespace cqtool
