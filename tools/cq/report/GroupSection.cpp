#include "report/GroupSection.h"

#include <algorithm>

#include "report/AbPlotSvg.h"
#include "report/CurveSvg.h"
#include "report/Html.h"
#include "report/TrendSvg.h"
#include "report/TrialTable.h"
#include "report/ValueTables.h"
#include "text/Numbers.h"

namespace cqtool {
namespace {

std::string headingOf(const JobMeasurement& measurement) {
    const std::string name = escaped(measurement.entry.name);
    return element("span", std::to_string(measurement.entry.index)) +
           (measurement.struckOutBy ? element("del", name) + " (struck out)" : name);
}

std::string curvesTitle(const RecordEntry& entry) {
    return "Reflectance from 400 to 700 nm of " + escaped(entry.name);
}

/// Draws the a*b* plane under the first illuminant.
class Plane {
  public:
    Plane(const Job& job, std::string horizontal, std::string vertical)
        : job_(job), plot_{{}, {}, std::move(horizontal), std::move(vertical)} {}

    std::optional<ColorData> labOfEntry(const RecordEntry& entry) const {
        return labOf(entry, job_.viewing.primary(), job_.viewing.primary());
    }

    void addOutline(const ColorData& standard, const AbOffset& middle) {
        const Limit* limit = outlinedLimit(job_);
        if (limit == nullptr) {
            return;
        }
        auto outline = toleranceOutline(limit->quantity.formula, standard, *limit->most);
        for (AbOffset& place : outline) {
            place = {place[0] + middle[0], place[1] + middle[1]};
        }
        plot_.outlines.push_back(std::move(outline));
    }

    void add(const RecordEntry& entry, const AbOffset& middle, const std::string& cssClass) {
        if (const auto lab = labOfEntry(entry)) {
            const Viewing viewing = job_.viewing.primary();
            plot_.marks.push_back(
                {{lab->values[1] - middle[0], lab->values[2] - middle[1]},
                 entry.spectrum ? rgbOfSpectrum(*entry.spectrum, viewing) : rgbOfLab(*lab, viewing),
                 cssClass,
                 entry.name});
        }
    }

    void add(const std::vector<ReportTrial>& trials, const AbOffset& middle) {
        for (const ReportTrial& trial : trials) {
            if (!trial.measurement->struckOutBy) {
                const bool isOut = trial.verdict && trial.verdict->grade == Grade::fail;
                add(trial.measurement->entry, middle, isOut ? "trial out" : "trial");
            }
        }
    }

    std::string svg(const std::string& description) const { return abPlotSvg(plot_, description); }

  private:
    const Job& job_;
    AbPlot plot_;
};

std::string groupCurves(const ReportGroup& group) {
    std::vector<SvgCurve> curves;
    for (const ReportTrial& trial : group.trials) {
        if (trial.measurement->entry.spectrum && !trial.measurement->struckOutBy) {
            curves.push_back({*trial.measurement->entry.spectrum, "trial"});
        }
    }
    const RecordEntry& standard = group.standard->entry;
    if (standard.spectrum) {
        curves.push_back({*standard.spectrum, "standard"});
    }
    return curves.empty() ? std::string()
                          : element("figure", element("figcaption", "Reflectance") +
                                                  curveSvg(curves, curvesTitle(standard)));
}

/// The trials around their standard, which is in the centre.
std::string groupPlane(const Job& job, const ReportGroup& group) {
    Plane plane(job, "Δa*", "Δb*");
    const RecordEntry& standard = group.standard->entry;
    const auto lab = plane.labOfEntry(standard);
    if (!lab) {
        return {};
    }
    const AbOffset middle{lab->values[1], lab->values[2]};
    plane.addOutline(*lab, {0, 0});
    plane.add(standard, middle, "standard");
    plane.add(group.trials, middle);
    return element(
        "figure", element("figcaption", "Δa* and Δb* under " + viewingName(job.viewing.primary())) +
                      plane.svg("Differences in a* and b* from " + escaped(standard.name)));
}

std::string groupTrend(const Job& job, const ReportGroup& group, const ReportView& view) {
    const LeadingQuantity leading = leadingQuantity(job, view.formula);
    std::vector<TrendPoint> points;
    for (const ReportTrial& trial : group.trials) {
        const auto value =
            trial.isCounted ? valueOf(leading.quantity, trial, leading.illuminant) : std::nullopt;
        if (value) {
            points.push_back({*value,
                              trial.verdict ? std::optional(trial.verdict->grade) : std::nullopt,
                              trial.measurement->entry.name});
        }
    }
    if (points.size() < 2) {
        return {};
    }
    std::vector<TrendLine> lines;
    for (const Limit& limit : job.limits) {
        if (limit.quantity == leading.quantity &&
            limit.illuminant.value_or(leading.illuminant) == leading.illuminant) {
            for (const auto& bound : {limit.least, limit.most}) {
                if (bound) {
                    lines.push_back({*bound, limit.isWarning});
                }
            }
        }
    }
    const std::string title =
        symbolInHtml(leading.quantity) + " under " + illuminantName(leading.illuminant);
    return element("figure",
                   element("figcaption", title + " by trial") +
                       trendSvg(points, lines, symbolOf(leading.quantity) + " trial by trial"));
}

std::vector<const RecordEntry*> entriesOf(const ReportGroup& group) {
    std::vector<const RecordEntry*> entries{&group.standard->entry};
    for (const ReportTrial& trial : group.trials) {
        if (!trial.measurement->struckOutBy) {
            entries.push_back(&trial.measurement->entry);
        }
    }
    return entries;
}

/// "3 trials: 2 pass, 1 fails".
std::string countsText(const TrialCounts& counts) {
    std::string text =
        std::to_string(counts.counted) + (counts.counted == 1 ? " trial" : " trials");
    const auto add = [&text](std::size_t count, const std::string& what) {
        text += count == 0 ? "" : ", " + std::to_string(count) + " " + what;
    };
    add(counts.passed, "passed");
    add(counts.warned, "passed with a warning");
    add(counts.failed, "failed");
    add(counts.notJudged, "not judged");
    add(counts.struckOut, "struck out");
    return text;
}

}  // namespace

std::string groupSection(const Job& job, const ReportGroup& group, const ReportView& view) {
    const JobMeasurement& standard = *group.standard;
    const std::string drawings =
        groupCurves(group) + groupPlane(job, group) + groupTrend(job, group, view);
    std::string content = element("h2", headingOf(standard)) +
                          element("p", countsText(countsOf(job, group.trials)), "counts") +
                          element("div", drawings, "drawings");
    content += element("div",
                       element("div", colorTable(job, standard.entry)) +
                           element("div", statisticsTable(job, group.trials, view)),
                       "tables");
    content += trialTable(job, group, view);
    content += view.hasSpectra ? spectraTables(entriesOf(group)) : std::string();
    return element("section", content, "group") + "\n";
}

std::string measurementCard(const Job& job, const JobMeasurement& measurement,
                            const ReportView& view) {
    const RecordEntry& entry = measurement.entry;
    std::string content = element("h2", headingOf(measurement));
    const Viewing viewing = job.viewing.primary();
    if (const auto lab = labOf(entry, viewing, viewing)) {
        content += element("div",
                           swatch(entry.spectrum ? rgbOfSpectrum(*entry.spectrum, viewing)
                                                 : rgbOfLab(*lab, viewing)),
                           "pair");
    }
    if (entry.spectrum) {
        content += curveSvg({{*entry.spectrum, entry.kind()}}, curvesTitle(entry));
    }
    content += colorTable(job, entry);
    content += view.hasSpectra ? spectraTables({&entry}) : std::string();
    return element("article", content) + "\n";
}

std::string overviewPlane(const Job& job, const std::vector<ReportGroup>& groups) {
    Plane plane(job, "a*", "b*");
    for (const ReportGroup& group : groups) {
        const auto lab = group.standard && !group.standard->struckOutBy
                             ? plane.labOfEntry(group.standard->entry)
                             : std::nullopt;
        if (lab && !group.trials.empty()) {
            plane.addOutline(*lab, {lab->values[1], lab->values[2]});
        }
        plane.add(group.trials, {0, 0});
        if (lab) {
            plane.add(group.standard->entry, {0, 0}, "standard");
        }
    }
    return plane.svg("All colours in the a*b* plane");
}

std::string drawingLegend(const Job& job) {
    const bool hasCurves =
        std::any_of(job.measurements.begin(), job.measurements.end(),
                    [](const JobMeasurement& one) { return one.entry.spectrum.has_value(); });
    std::string keys =
        markKey("standard", "standard", hasCurves) + markKey("trial", "trial", hasCurves);
    if (!job.limits.empty()) {
        keys += markKey("trial out", "trial that fails", false);
    }
    if (const Limit* limit = outlinedLimit(job)) {
        keys += legendKey("tolerance", limitInHtml(*limit) +
                                           " at the standard’s lightness: a trial that differs in "
                                           "L*, which the plane does not show, can fail inside");
    }
    return element("p", keys, "legend");
}

const Limit* outlinedLimit(const Job& job) {
    const auto found = std::find_if(job.limits.begin(), job.limits.end(), [&](const Limit& limit) {
        return limit.quantity.kind == Quantity::Kind::difference && limit.most && *limit.most > 0 &&
               !limit.isWarning &&
               limit.illuminant.value_or(job.viewing.illuminants.front()) ==
                   job.viewing.illuminants.front();
    });
    return found == job.limits.end() ? nullptr : &*found;
}

}  // namespace cqtool
