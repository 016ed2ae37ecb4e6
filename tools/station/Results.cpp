#include "Results.h"

#include <algorithm>

#include "color/ColorJson.h"
#include "color/ColorMath.h"
#include "color/DifferenceComponents.h"
#include "Failure.h"
#include "report/AbPlotSvg.h"
#include "report/CurveSvg.h"
#include "report/Tolerance.h"
#include "report/TrendSvg.h"
#include "text/Json.h"
#include "text/Numbers.h"

namespace station {

using namespace cqtool;

namespace {

constexpr std::size_t kMostShownTrials = 60;
constexpr const char* kNeutral = "#808080";

std::string colorOf(const Job& job, const RecordEntry& entry) {
    const Viewing viewing = job.viewing.primary();
    if (entry.spectrum) {
        return hexColor(rgbOfSpectrum(*entry.spectrum, viewing));
    }
    return entry.lab ? hexColor(rgbOfLab(*entry.lab, viewing)) : kNeutral;
}

/// The formula that decides: of the first limit on a difference, else CIEDE2000.
DifferenceFormula formulaOf(const Job& job) {
    const auto first = std::find_if(job.limits.begin(), job.limits.end(), [](const Limit& limit) {
        return limit.quantity.kind == Quantity::Kind::difference;
    });
    return first == job.limits.end() ? DifferenceFormula{CqDeltaE2000, {}}
                                     : first->quantity.formula;
}

/// The upper limits on the difference by that formula.
std::vector<TrendLine> limitsOf(const Job& job) {
    std::vector<TrendLine> lines;
    for (const Limit& limit : job.limits) {
        const bool isLeading = limit.quantity.kind == Quantity::Kind::difference &&
                               limit.quantity.formula == formulaOf(job);
        if (isLeading && limit.most) {
            lines.push_back({*limit.most, limit.isWarning});
        }
    }
    return lines;
}

Json differencesJson(const Job& job, const ColorData& standard, const ColorData& trial) {
    const DifferenceFormula formula = formulaOf(job);
    const CqColorDifference parts = compare({}, standard, trial);
    Json json{{"formula", symbolOf(formula)},
              {"deltaE", difference(formula, standard, trial)},
              {"deltaEab", parts.deltaE}};
    for (const DifferenceComponent& component : kDifferenceComponents) {
        json[component.name] = parts.*component.value;
    }
    return json;
}

Json verdictOn(const Job& job, const JobMeasurement& trial) {
    const auto verdict = job.verdictOn(trial);
    if (!verdict) {
        return nullptr;
    }
    Json json{{"grade", nameOf(verdict->grade)}, {"sign", signOf(verdict->grade)}};
    const Finding* const deciding = verdict->deciding();
    json["deciding"] = deciding == nullptr ? Json() : Json(textOf(deciding->limit));
    Json findings = Json::array();
    for (const Finding& finding : verdict->findings) {
        findings.push_back({{"limit", textOf(finding.limit)},
                            {"quantity", symbolOf(finding.limit.quantity)},
                            {"illuminant", illuminantName(finding.illuminant)},
                            {"value", finding.text},
                            {"isWarning", finding.limit.isWarning},
                            {"isMet", finding.isMet}});
    }
    json["findings"] = std::move(findings);
    return json;
}

void addComparison(Json& json, const Job& job, const JobMeasurement& trial) {
    const JobMeasurement* const standard = job.standardOf(trial);
    if (standard == nullptr) {
        return;
    }
    json["standard"] = {{"number", standard->number},
                        {"name", standard->entry.name},
                        {"color", colorOf(job, standard->entry)}};
    if (standard->entry.lab && trial.entry.lab) {
        json["difference"] = differencesJson(job, *standard->entry.lab, *trial.entry.lab);
    }
    try {
        json["verdict"] = verdictOn(job, trial);
    } catch (const Failure& failure) {
        json["problem"] = failure.what();
    }
}

const JobMeasurement* standardFor(const Job& job, const JobMeasurement& shown) {
    return shown.entry.isStandard ? &shown : job.standardOf(shown);
}

/// The latest trials of this standard that count, and the shown one.
std::vector<const JobMeasurement*> trialsOf(const Job& job, const JobMeasurement& standard,
                                            const JobMeasurement& shown) {
    std::vector<const JobMeasurement*> trials;
    for (const JobMeasurement& each : job.measurements) {
        const bool isOf = each.standard == standard.number && each.entry.lab;
        if (isOf && (!each.struckOutBy || &each == &shown)) {
            trials.push_back(&each);
        }
    }
    const auto surplus =
        static_cast<std::ptrdiff_t>(trials.size() - std::min(trials.size(), kMostShownTrials));
    trials.erase(trials.begin(), trials.begin() + surplus);
    return trials;
}

std::optional<Grade> gradeOf(const Job& job, const JobMeasurement& trial) {
    try {
        const auto verdict = job.verdictOn(trial);
        return verdict ? std::optional(verdict->grade) : std::nullopt;
    } catch (const Failure&) {
        return std::nullopt;
    }
}

}  // namespace

Json textOrNull(const std::string& text) {
    return text.empty() ? Json() : Json(text);
}

Json resultJson(const Job& job, const JobMeasurement& measurement) {
    const RecordEntry& entry = measurement.entry;
    Json json{{"number", measurement.number},
              {"time", measurement.time},
              {"kind", entry.kind()},
              {"name", entry.name},
              {"serial", textOrNull(measurement.instrument.serial)},
              {"color", colorOf(job, entry)},
              {"struckOut", measurement.struckOutBy.has_value()},
              {"remarks", measurement.remarks}};
    if (measurement.calibrationAge) {
        json["calibrationAge"] = *measurement.calibrationAge;
    }
    if (entry.lab) {
        json["lab"] = readable(colorJson(*entry.lab, colorSpace(ColorSpaceLab)));
    } else {
        json["problem"] = "the instrument's record holds no spectrum that can be read";
    }
    if (!entry.isStandard) {
        addComparison(json, job, measurement);
    }
    return json;
}

Json jobJson(const std::string& name, const Job& job, std::size_t most) {
    Json limits = Json::array();
    for (const Limit& limit : job.limits) {
        limits.push_back({{"limit", textOf(limit)}, {"isWarning", limit.isWarning}});
    }
    Json illuminants = Json::array();
    for (const std::int32_t illuminant : job.viewing.illuminants) {
        illuminants.push_back(illuminantName(illuminant));
    }
    Json standards = Json::array();
    for (const JobMeasurement& each : job.measurements) {
        if (each.entry.isStandard && !each.struckOutBy) {
            standards.push_back({{"number", each.number}, {"name", each.entry.name}});
        }
    }
    Json measurements = Json::array();
    const std::size_t count = job.measurements.size();
    for (std::size_t i = count - std::min(count, most); i < count; ++i) {
        measurements.push_back(resultJson(job, job.measurements[i]));
    }
    Json remarks = Json::array();
    for (const JobRemark& remark : job.remarks) {
        remarks.push_back(
            {{"number", remark.number}, {"time", remark.time}, {"text", remark.text}});
    }
    return {{"name", name},
            {"title", job.title},
            {"operator", job.operatorName},
            {"created", job.created},
            {"illuminants", std::move(illuminants)},
            {"observer", observerDegrees(job.viewing.observer)},
            {"limits", std::move(limits)},
            {"standards", std::move(standards)},
            {"measurementCount", count},
            {"measurements", std::move(measurements)},
            {"remarks", std::move(remarks)},
            {"lastNumber", job.lastNumber}};
}

std::optional<std::string> spectrumSvg(const Job& job, const JobMeasurement& shown) {
    if (!shown.entry.spectrum) {
        return std::nullopt;
    }
    std::vector<SvgCurve> curves;
    const JobMeasurement* const standard = standardFor(job, shown);
    if (standard != nullptr && standard->entry.spectrum) {
        curves.push_back({*standard->entry.spectrum, "standard"});
    }
    if (!shown.entry.isStandard) {
        curves.push_back({*shown.entry.spectrum, "trial"});
    }
    return curveSvg(curves, "Reflectance of the standard and of the trial");
}

std::optional<std::string> planeSvg(const Job& job, const JobMeasurement& shown) {
    const JobMeasurement* const standard = standardFor(job, shown);
    if (standard == nullptr || !standard->entry.lab) {
        return std::nullopt;
    }
    const Viewing viewing = job.viewing.primary();
    const ColorData& lab = *standard->entry.lab;
    AbPlot plot{{}, {}, "Δa*", "Δb*"};
    for (const TrendLine& limit : limitsOf(job)) {
        if (!limit.isWarning) {
            plot.outlines.push_back(toleranceOutline(formulaOf(job), lab, limit.value));
        }
    }
    plot.marks.push_back({{0, 0}, rgbOfLab(lab, viewing), "standard", standard->entry.name});
    for (const JobMeasurement* const trial : trialsOf(job, *standard, shown)) {
        const CqColorDifference parts = compare({}, lab, *trial->entry.lab);
        std::string cssClass = gradeOf(job, *trial) == Grade::fail ? "trial out" : "trial";
        if (trial == &shown) {
            cssClass += " shown";
        }
        plot.marks.push_back({{parts.deltaA, parts.deltaB},
                              rgbOfLab(*trial->entry.lab, viewing),
                              cssClass,
                              trial->entry.name});
    }
    return abPlotSvg(plot, "Trials around their standard in the a*b* plane");
}

std::optional<std::string> trendSvg(const Job& job, const JobMeasurement& shown) {
    const JobMeasurement* const standard = standardFor(job, shown);
    if (standard == nullptr || !standard->entry.lab) {
        return std::nullopt;
    }
    const DifferenceFormula formula = formulaOf(job);
    std::vector<TrendPoint> points;
    for (const JobMeasurement* const trial : trialsOf(job, *standard, shown)) {
        points.push_back({difference(formula, *standard->entry.lab, *trial->entry.lab),
                          gradeOf(job, *trial), trial->entry.name});
    }
    return points.size() < 2 ? std::nullopt
                             : std::optional(cqtool::trendSvg(
                                   points, limitsOf(job), symbolOf(formula) + " trial by trial"));
}

}  // namespace station
