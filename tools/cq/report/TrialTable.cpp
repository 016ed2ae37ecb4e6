#include "report/TrialTable.h"

#include <algorithm>

#include "color/DifferenceComponents.h"
#include "report/Html.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

/// A column of numbers.
struct Column {
    Quantity quantity;
    bool isMore = false;  ///< left out on narrow screens
};

bool areAlike(const Quantity& column, const Quantity& judged) {
    return column.kind == judged.kind &&
           (column.kind != Quantity::Kind::difference || column.formula == judged.formula) &&
           (column.kind != Quantity::Kind::component || column.component == judged.component);
}

/// What decides, the two differences that everybody knows, the components, and metamerism.
std::vector<Column> columnsOf(const Job& job, const ReportView& view) {
    std::vector<Column> columns;
    const auto formulas = judgedFormulas(job, view.formula);
    columns.reserve(formulas.size() + 2 + kDifferenceComponents.size() + 1);
    for (const DifferenceFormula& formula : formulas) {
        columns.push_back({{Quantity::Kind::difference, formula}});
    }
    for (const std::uint32_t known : {CqDeltaE76, CqDeltaE2000}) {
        if (std::find(formulas.begin(), formulas.end(), DifferenceFormula{known, {}}) ==
            formulas.end()) {
            columns.push_back({{Quantity::Kind::difference, {known, {}}}, true});
        }
    }
    for (std::size_t component = 0; component < kDifferenceComponents.size(); ++component) {
        columns.push_back({{Quantity::Kind::component, {}, component}});
    }
    if (job.viewing.illuminants.size() > 1) {
        columns.push_back({{Quantity::Kind::metamerism, {}, 0, false}, false});
    }
    return columns;
}

/// Writes the rows of one table.
class TrialRows {
  public:
    TrialRows(const Job& job, const ReportView& view) : job_(job), columns_(columnsOf(job, view)) {
        const bool hasSeveral = std::any_of(
            job.measurements.begin(), job.measurements.end(), [&](const JobMeasurement& one) {
                return one.instrument != job.measurements.front().instrument;
            });
        namesInstruments_ = hasSeveral;
    }

    std::string head() const {
        std::string cells = element("th", "trial", "who");
        cells += isJudged() ? element("th", "verdict", "verdict") : std::string();
        cells += element("th", job_.viewing.illuminants.size() > 1 ? "under" : "", "under");
        for (const Column& column : columns_) {
            cells += element("th", symbolInHtml(column.quantity), column.isMore ? "more" : "");
        }
        for (const char* title : {"L*", "a*", "b*"}) {
            cells += element("th", title, "more");
        }
        return element("thead", element("tr", cells));
    }

    std::string body(const ReportTrial& trial) const {
        const std::size_t lines = std::max<std::size_t>(trial.pairs.size(), 1);
        std::string first = "<th class=\"who\"" + spanning(lines) + ">" + who(trial) + "</th>";
        if (isJudged()) {
            first += "<td class=\"verdict " + verdictClass(trial) + "\"" + spanning(lines) + ">" +
                     verdict(trial) + "</td>";
        }
        std::string rows;
        for (const ColorPair& pair : trial.pairs) {
            rows += element("tr", (rows.empty() ? first : std::string()) + numbers(trial, pair));
        }
        if (rows.empty()) {
            rows = element("tr", first + "<td class=\"none\" colspan=\"" +
                                     std::to_string(columns_.size() + 4) + "\">" +
                                     escaped(trial.problem) + "</td>");
        }
        return element("tbody", rows, trial.isCounted ? "" : "struck");
    }

    /// How many columns a narrow screen shows.
    std::size_t narrowColumns() const {
        return 1 + static_cast<std::size_t>(
                       std::count_if(columns_.begin(), columns_.end(),
                                     [](const Column& column) { return !column.isMore; }));
    }

  private:
    bool isJudged() const { return !job_.limits.empty(); }

    static std::string spanning(std::size_t lines) {
        return lines > 1 ? " rowspan=\"" + std::to_string(lines) + "\"" : std::string();
    }

    std::string who(const ReportTrial& trial) const {
        const JobMeasurement& measurement = *trial.measurement;
        const std::string name = escaped(measurement.entry.name);
        std::vector<std::string> details;
        if (!measurement.entry.time.empty() || !measurement.time.empty()) {
            details.push_back(escaped(timeForPeople(
                measurement.entry.time.empty() ? measurement.time : measurement.entry.time)));
        }
        if (measurement.averaged > 1) {
            details.push_back(
                "average of " + std::to_string(measurement.averaged) +
                (measurement.spread ? ", spread " + fixed(*measurement.spread, 2) : std::string()));
        }
        if (namesInstruments_ && measurement.instrument != InstrumentIdentity{}) {
            details.push_back(
                escaped(measurement.instrument.model + " " + measurement.instrument.serial));
        }
        std::string text = measurement.struckOutBy ? element("del", name) : name;
        if (!details.empty()) {
            text += element("small", joined(details, " · "));
        }
        for (const std::string& remark : measurement.remarks) {
            text += element("small", "“" + escaped(remark) + "”", "remark");
        }
        return text;
    }

    static std::string verdictClass(const ReportTrial& trial) {
        return trial.verdict ? nameOf(trial.verdict->grade) : "open";
    }

    static std::string verdict(const ReportTrial& trial) {
        if (trial.measurement->struckOutBy) {
            return element("b", "struck out");
        }
        if (!trial.verdict) {
            return trial.pairs.empty() || trial.problem.empty()
                       ? element("b", "not judged")
                       : element("b", "not judged") + element("small", escaped(trial.problem));
        }
        const Finding* deciding = trial.verdict->deciding();
        return element("b", std::string(signOf(trial.verdict->grade)) + " " +
                                nameOf(trial.verdict->grade)) +
               (deciding == nullptr ? std::string() : element("small", findingInHtml(*deciding)));
    }

    std::string numbers(const ReportTrial& trial, const ColorPair& pair) const {
        const Viewing viewing{pair.illuminant, job_.viewing.observer};
        const JobMeasurement& standard = *job_.find(*trial.measurement->standard);
        const auto swatchOf = [&](const RecordEntry& entry, const ColorData& lab) {
            return swatch(entry.spectrum ? rgbOfSpectrum(*entry.spectrum, viewing)
                                         : rgbOfLab(lab, viewing));
        };
        std::string under = element("div",
                                    swatchOf(standard.entry, pair.standard) +
                                        swatchOf(trial.measurement->entry, pair.trial),
                                    "pair");
        if (job_.viewing.illuminants.size() > 1) {
            under += element("span", illuminantName(pair.illuminant));
        }
        std::string cells = element("td", under, "under");
        for (const Column& column : columns_) {
            cells += number(trial, pair, column);
        }
        for (const float value : pair.trial.values) {
            cells += element("td", fixed(value, 2), "more");
        }
        return cells;
    }

    std::string number(const ReportTrial& trial, const ColorPair& pair,
                       const Column& column) const {
        const auto value = valueOf(column.quantity, trial, pair.illuminant);
        if (!value) {
            return element("td", "–", column.isMore ? "more" : "");
        }
        const Finding* finding = findingOn(trial, pair.illuminant, column.quantity);
        if (finding == nullptr) {
            return element("td", valueText(column.quantity, *value), column.isMore ? "more" : "");
        }
        // With as many decimals as show the side of the limit.
        const std::size_t point = finding->text.find('.');
        const int decimals =
            point == std::string::npos ? 0 : static_cast<int>(finding->text.size() - point - 1);
        const char* cssClass = finding->isMet             ? "judged"
                               : finding->limit.isWarning ? "judged warn"
                                                          : "judged fail";
        return element("td", valueText(column.quantity, *value, decimals), cssClass);
    }

    /// The finding on a column's quantity that says most: one that fails, one that warns, any.
    static const Finding* findingOn(const ReportTrial& trial, std::int32_t illuminant,
                                    const Quantity& quantity) {
        const Finding* best = nullptr;
        const auto rank = [](const Finding* finding) {
            return finding == nullptr ? 0 : finding->isMet ? 1 : finding->limit.isWarning ? 2 : 3;
        };
        if (trial.verdict) {
            for (const Finding& finding : trial.verdict->findings) {
                if (finding.illuminant == illuminant &&
                    areAlike(quantity, finding.limit.quantity) && rank(&finding) > rank(best)) {
                    best = &finding;
                }
            }
        }
        return best;
    }

    const Job& job_;
    std::vector<Column> columns_;
    bool namesInstruments_ = false;
};

}  // namespace

std::string trialTable(const Job& job, const ReportGroup& group, const ReportView& view) {
    const TrialRows rows(job, view);
    std::string bodies;
    for (const ReportTrial& trial : group.trials) {
        bodies += rows.body(trial);
    }
    return "<div class=\"wide\"><table class=\"trials\" style=\"--columns:" +
           std::to_string(rows.narrowColumns()) + "\">" + rows.head() + bodies + "</table></div>";
}

}  // namespace cqtool
