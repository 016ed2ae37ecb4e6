#include "report/RecordReport.h"

#include <algorithm>

#include "Failure.h"
#include "report/AbPlotSvg.h"
#include "report/CurveSvg.h"
#include "report/Html.h"
#include "report/RecordStyle.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

/// An entry and a colour on the page.
Rgb rgbOf(const RecordEntry& entry, const Viewing& viewing) {
    return entry.spectrum ? rgbOfSpectrum(*entry.spectrum, viewing)
           : entry.lab    ? rgbOfLab(*entry.lab, viewing)
                          : Rgb{};
}

AbOffset placeOf(const ColorData& lab) {
    return {lab.values[1], lab.values[2]};
}

/// Those that the table has columns for: what decides, which a narrow page shows without being moved,
/// and the two that everybody knows.
std::vector<DifferenceFormula> shownFormulas(const Judgement& judgement) {
    std::vector<DifferenceFormula> formulas{judgement.formula};
    for (const DifferenceFormula& known :
         {DifferenceFormula{CqDeltaE76, {}}, DifferenceFormula{CqDeltaE2000, {}}}) {
        if (known != judgement.formula) {
            formulas.push_back(known);
        }
    }
    return formulas;
}

/// Writes the parts of a page about one set.
class Page {
  public:
    Page(const RecordSet& set, const Judgement& judgement)
        : viewing_(set.viewing), judgement_(judgement) {}

    /// A standard with its trials: curves, places and a table of differences.
    std::string group(const TrialGroup& group) const {
        const RecordEntry& standard = *group.standard;
        std::string rows;
        for (const RecordEntry& trial : group.trials) {
            rows += trialRow(standard, trial);
        }
        const std::string drawings =
            element("div", groupCurves(group) + groupPlane(group), "drawings");
        return element("section",
                       element("h2", heading(standard)) +
                           element("p", valuesOf(standard), "values") + drawings +
                           element("div", element("table", tableHead() + element("tbody", rows)),
                                   "wide"),
                       "group") +
               "\n";
    }

    /// An entry that is not compared with anything.
    std::string card(const RecordEntry& entry) const {
        std::string content = element("h2", heading(entry));
        if (entry.lab) {
            content += element("div", swatch(rgbOf(entry, viewing_)), "pair");
        }
        if (entry.spectrum) {
            content += curveSvg({{*entry.spectrum, entry.kind()}}, curvesOf(entry));
        }
        return element("article", content + element("p", valuesOf(entry), "values")) + "\n";
    }

    /// All entries at their places in the a*b* plane.
    std::string overview(const std::vector<TrialGroup>& groups) const {
        AbPlot plot{{}, {}, "a*", "b*"};
        for (const TrialGroup& group : groups) {
            if (group.standard && group.standard->lab && !group.trials.empty()) {
                addOutline(plot, *group.standard->lab, placeOf(*group.standard->lab));
            }
            for (const RecordEntry& trial : group.trials) {
                addMark(plot, trial, {}, markClass(group, trial));
            }
            if (group.standard) {
                addMark(plot, *group.standard, {}, "standard");
            }
        }
        return abPlotSvg(plot, "All colours in the a*b* plane");
    }

  private:
    static std::string heading(const RecordEntry& entry) {
        return element("span", std::to_string(entry.index)) + escaped(entry.name);
    }

    static std::string curvesOf(const RecordEntry& entry) {
        return "Reflectance from 400 to 700 nm of " + escaped(entry.name);
    }

    static std::string valuesOf(const RecordEntry& entry) {
        if (!entry.lab) {
            return "no plausible spectrum in this record";
        }
        return "L* " + fixed(entry.lab->values[0], 2) + "&ensp; a* " +
               fixed(entry.lab->values[1], 2) + "&ensp; b* " + fixed(entry.lab->values[2], 2);
    }

    std::string groupCurves(const TrialGroup& group) const {
        std::vector<SvgCurve> curves;
        for (const RecordEntry& trial : group.trials) {
            if (trial.spectrum) {
                curves.push_back({*trial.spectrum, "trial"});
            }
        }
        if (group.standard->spectrum) {
            curves.push_back({*group.standard->spectrum, "standard"});
        }
        return curves.empty() ? std::string() : curveSvg(curves, curvesOf(*group.standard));
    }

    /// The trials around their standard, which is in the centre.
    std::string groupPlane(const TrialGroup& group) const {
        if (!group.standard->lab) {
            return {};
        }
        const AbOffset middle = placeOf(*group.standard->lab);
        AbPlot plot{{}, {}, "Δa*", "Δb*"};
        addOutline(plot, *group.standard->lab, {0, 0});
        addMark(plot, *group.standard, middle, "standard");
        for (const RecordEntry& trial : group.trials) {
            addMark(plot, trial, middle, markClass(group, trial));
        }
        return abPlotSvg(plot, "Differences in a* and b* from " + escaped(group.standard->name));
    }

    void addMark(AbPlot& plot, const RecordEntry& entry, const AbOffset& middle,
                 const std::string& cssClass) const {
        if (entry.lab) {
            const AbOffset place = placeOf(*entry.lab);
            plot.marks.push_back({{place[0] - middle[0], place[1] - middle[1]},
                                  rgbOf(entry, viewing_),
                                  cssClass,
                                  entry.name});
        }
    }

    void addOutline(AbPlot& plot, const ColorData& standard, const AbOffset& middle) const {
        if (judgement_.tolerance) {
            auto outline = toleranceOutline(judgement_.formula, standard, *judgement_.tolerance);
            for (AbOffset& place : outline) {
                place = {place[0] + middle[0], place[1] + middle[1]};
            }
            plot.outlines.push_back(std::move(outline));
        }
    }

    bool isOut(const TrialGroup& group, const RecordEntry& trial) const {
        return judgement_.tolerance && group.standard && group.standard->lab && trial.lab &&
               !judgement_.isPassed(
                   difference(judgement_.formula, *group.standard->lab, *trial.lab));
    }

    std::string markClass(const TrialGroup& group, const RecordEntry& trial) const {
        return isOut(group, trial) ? "trial out" : "trial";
    }

    std::string tableHead() const {
        std::string cells = element("th", "") + element("th", "trial");
        cells += judgement_.tolerance ? element("th", "") : std::string();
        for (const DifferenceFormula& formula : shownFormulas(judgement_)) {
            cells += element("th", symbolInHtml(formula));
        }
        for (const char* title : {"ΔL*", "Δa*", "Δb*", "L*", "a*", "b*"}) {
            cells += element("th", title);
        }
        return element("thead", element("tr", cells));
    }

    std::string trialRow(const RecordEntry& standard, const RecordEntry& trial) const {
        const std::string name = element("th", escaped(trial.name));
        if (!standard.lab || !trial.lab) {
            const std::size_t columns =
                6 + shownFormulas(judgement_).size() + (judgement_.tolerance ? 1 : 0);
            return element("tr", element("td", "") + name + "<td colspan=\"" +
                                     std::to_string(columns) + "\">" +
                                     "no plausible spectrum</td>");
        }
        const std::string swatches =
            swatch(rgbOf(standard, viewing_)) + swatch(rgbOf(trial, viewing_));
        return element("tr", element("td", element("div", swatches, "pair")) + name +
                                 differenceCells(*standard.lab, *trial.lab));
    }

    std::string differenceCells(const ColorData& standard, const ColorData& trial) const {
        std::string cells;
        if (judgement_.tolerance) {
            const char* verdict =
                judgement_.isPassed(difference(judgement_.formula, standard, trial)) ? "pass"
                                                                                     : "fail";
            cells += element("td", verdict, verdict);
        }
        for (const DifferenceFormula& formula : shownFormulas(judgement_)) {
            const double value = difference(formula, standard, trial);
            cells += formula == judgement_.formula
                         ? element("td", judgement_.textOf(value), "difference")
                         : element("td", fixed(value, 2));
        }
        for (std::size_t i = 0; i < 3; ++i) {
            cells += element("td", withSign(double{trial.values[i]} - standard.values[i], 2));
        }
        for (const float value : trial.values) {
            cells += element("td", fixed(value, 2));
        }
        return cells;
    }

    Viewing viewing_;
    Judgement judgement_;
};

std::string figures(const std::vector<TrialGroup>& groups, const Judgement& judgement) {
    const auto standards = std::count_if(groups.begin(), groups.end(), [](const TrialGroup& group) {
        return group.standard.has_value();
    });
    std::size_t trials = 0;
    for (const TrialGroup& group : groups) {
        trials += group.trials.size();
    }
    std::string content =
        figure(std::to_string(standards), standards == 1 ? "standard" : "standards");
    content += trials == 0 ? std::string()
                           : figure(std::to_string(trials), trials == 1 ? "trial" : "trials");
    const TrialSummary summary = summaryOf(groups, judgement);
    if (summary.trials == 0) {
        return element("div", content, "figures");
    }
    const std::string title = symbolInHtml(judgement.formula);
    if (judgement.tolerance) {
        const std::size_t failed = summary.trials - summary.passed;
        content += element("div",
                           element("b", failed == 0 ? "pass" : "fail") +
                               element("span", std::to_string(summary.passed) + " of " +
                                                   std::to_string(summary.trials) + " within " +
                                                   title + " " + digitsOf(*judgement.tolerance)),
                           failed == 0 ? "figure pass" : "figure fail");
    }
    return element(
        "div",
        content + figure(fixed(summary.mean, 2), "mean " + title) +
            figure(judgement.textOf(summary.most), "largest (" + escaped(summary.mostName) + ")"),
        "figures");
}

bool hasSpectra(const RecordSet& set) {
    return std::any_of(set.entries.begin(), set.entries.end(),
                       [](const RecordEntry& entry) { return entry.spectrum.has_value(); });
}

std::string legend(const RecordSet& set, const Judgement& judgement) {
    const bool hasCurves = hasSpectra(set);
    std::string keys =
        markKey("standard", "standard", hasCurves) + markKey("trial", "trial", hasCurves);
    if (judgement.tolerance) {
        keys += markKey("trial out", "trial that fails", false) +
                legendKey("tolerance", symbolInHtml(judgement.formula) + " " +
                                           digitsOf(*judgement.tolerance) +
                                           " at the standard’s lightness: a trial that differs in "
                                           "L*, which the plane does not show, can fail inside");
    }
    return element("p", keys, "legend");
}

/// When the entries were measured, or else when they were exported.
std::string timeOf(const RecordSet& set) {
    std::string first;
    std::string last;
    for (const RecordEntry& entry : set.entries) {
        if (!entry.time.empty()) {
            first = first.empty() ? entry.time : std::min(first, entry.time);
            last = std::max(last, entry.time);
        }
    }
    return first.empty()   ? set.time
           : first == last ? "measured " + first
                           : "measured " + first + " to " + last;
}

std::string subtitleOf(const RecordSet& set) {
    std::vector<std::string> parts;
    for (const std::string& text : {set.instrument, set.serial, timeOf(set)}) {
        if (!text.empty()) {
            parts.push_back(escaped(text));
        }
    }
    parts.push_back("illuminant and observer " + viewingName(set.viewing));
    return joined(parts, ", ");
}

}  // namespace

std::string Judgement::textOf(double difference) const {
    constexpr int kMostDecimals = 5;  // where the resolution is
    int decimals = 2;
    const auto rounded = [&] { return *parseNumber(fixed(difference, decimals)); };
    while (tolerance && decimals < kMostDecimals && isPassed(rounded()) != isPassed(difference)) {
        ++decimals;
    }
    return fixed(difference, decimals);
}

std::vector<TrialGroup> groupsOf(const RecordSet& set) {
    std::vector<TrialGroup> groups;
    for (const RecordEntry& entry : set.entries) {
        if (entry.isStandard) {
            groups.push_back({entry, {}});
            continue;
        }
        if (groups.empty()) {
            groups.emplace_back();
        }
        groups.back().trials.push_back(entry);
    }
    return groups;
}

std::vector<TrialGroup> groupsAgainst(const std::vector<RecordEntry>& standards,
                                      const RecordSet& set, const std::string& source) {
    if (standards.size() == 1) {
        return {{standards.front(), set.entries}};
    }
    if (standards.size() != set.entries.size()) {
        throw Failure(source + " has " + counted(standards.size(), "standards") + " for " +
                          counted(set.entries.size(), "measurements"),
                      "give a file with one standard, or with as many as there are measurements");
    }
    std::vector<TrialGroup> groups;
    for (std::size_t i = 0; i < standards.size(); ++i) {
        groups.push_back({standards[i], {set.entries[i]}});
    }
    return groups;
}

TrialSummary summaryOf(const std::vector<TrialGroup>& groups, const Judgement& judgement) {
    TrialSummary summary;
    for (const TrialGroup& group : groups) {
        for (const RecordEntry& trial : group.trials) {
            if (!group.standard || !group.standard->lab || !trial.lab) {
                continue;
            }
            const double value = difference(judgement.formula, *group.standard->lab, *trial.lab);
            if (summary.trials == 0 || value > summary.most) {
                summary.most = value;
                summary.mostName = trial.name;
            }
            ++summary.trials;
            summary.mean += (value - summary.mean) / static_cast<double>(summary.trials);
            summary.passed += judgement.tolerance && judgement.isPassed(value) ? 1 : 0;
        }
    }
    return summary;
}

std::string recordReport(const RecordSet& set, const std::vector<TrialGroup>& groups,
                         const Judgement& judgement) {
    const Page page(set, judgement);
    std::string sections;
    std::string cards;
    for (const TrialGroup& group : groups) {
        if (group.standard && !group.trials.empty()) {
            sections += page.group(group);
            continue;
        }
        cards += group.standard ? page.card(*group.standard) : std::string();
        for (const RecordEntry& trial : group.trials) {
            cards += page.card(trial);
        }
    }
    const std::string title = set.title.empty() ? "Measurements" : set.title;
    std::string body = "<header>\n" + element("h1", escaped(title)) + "\n" +
                       element("p", subtitleOf(set)) + "\n" + figures(groups, judgement) +
                       "\n</header>\n" +
                       element("div",
                               // A single standard's own plane shows everything already.
                               (groups.size() == 1 && cards.empty() ? "" : page.overview(groups)) +
                                   (sections.empty() ? "" : legend(set, judgement)),
                               "overview") +
                       "\n" + sections;
    if (!cards.empty()) {
        body += element("main", "\n" + cards) + "\n";
    }
    return htmlPage(
        title, kRecordStyle,
        body + element("footer",
                       element("p",
                               "ΔE*<sub>ab</sub> is the CIE 1976 colour difference, "
                               "ΔE<sub>00</sub> is CIEDE2000 (ISO/CIE 11664-6) with all parametric "
                               "factors 1. A tolerance line in an a*b* plane is for colours of the "
                               "standard’s lightness; what decides is the number.")));
}

}  // namespace cqtool
