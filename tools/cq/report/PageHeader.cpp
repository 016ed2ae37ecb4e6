#include "report/PageHeader.h"

#include <algorithm>

#include "report/Html.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

/// Beyond this age of a calibration a page points it out: a working shift.
constexpr double kOldCalibration = 8.0 * 60 * 60;

/// Terms and what is said of them.
class Particulars {
  public:
    /// \param html nothing is said if it is empty.
    void add(const char* term, const std::string& html) {
        if (!html.empty()) {
            rows_ += element("div", element("dt", term) + element("dd", html));
        }
    }

    std::string html() const { return element("dl", rows_, "particulars"); }

  private:
    std::string rows_;
};

/// A range of times, or one.
class Span {
  public:
    void add(const std::string& time) {
        if (!time.empty()) {
            first_ = first_.empty() ? time : std::min(first_, time);
            last_ = std::max(last_, time);
        }
    }

    std::string html() const {
        if (first_.empty()) {
            return first_;
        }
        const std::string first = escaped(timeForPeople(first_));
        return (first_ == last_ ? first : first + " to " + escaped(timeForPeople(last_))) + " UTC";
    }

  private:
    std::string first_;
    std::string last_;
};

std::string instrumentsHtml(const Job& job) {
    std::vector<std::string> names;
    for (const JobMeasurement& one : job.measurements) {
        std::vector<std::string> parts;
        for (const std::string& text : {one.instrument.model, one.instrument.serial}) {
            if (!text.empty()) {
                parts.push_back(escaped(text));
            }
        }
        if (!one.instrument.firmware.empty()) {
            parts.push_back("firmware " + escaped(one.instrument.firmware));
        }
        const std::string name = joined(parts, ", ");
        if (!name.empty() && std::find(names.begin(), names.end(), name) == names.end()) {
            names.push_back(name);
        }
    }
    return joined(names, "<br>");
}

/// How old the calibrations were, and which measurements had an old one.
std::string calibrationHtml(const Job& job) {
    std::optional<double> least;
    std::optional<double> most;
    std::size_t unknown = 0;
    std::size_t old = 0;
    for (const JobMeasurement& one : job.measurements) {
        if (one.struckOutBy) {
            continue;
        }
        if (!one.calibrationAge) {
            ++unknown;
            continue;
        }
        least = std::min(least.value_or(*one.calibrationAge), *one.calibrationAge);
        most = std::max(most.value_or(*one.calibrationAge), *one.calibrationAge);
        old += *one.calibrationAge > kOldCalibration ? 1 : 0;
    }
    if (!most) {
        return {};
    }
    const std::string low = ageText(*least);
    const std::string high = ageText(*most);
    std::string text = (low == high ? low : low + " to " + high) + " before the measurement";
    if (old > 0) {
        text += element("b", " ! longer than 8 h before " + counted(old, "measurements"), "warn");
    }
    return text +
           (unknown == 0 ? std::string() : "; unknown of " + counted(unknown, "measurements"));
}

std::string viewingHtml(const Job& job) {
    std::vector<std::string> names;
    for (const std::int32_t illuminant : job.viewing.illuminants) {
        names.emplace_back(illuminantName(illuminant));
    }
    return joined(names, ", ") + " · observer " +
           std::to_string(observerDegrees(job.viewing.observer)) + "°";
}

std::string limitsHtml(const Job& job, bool areWarnings) {
    std::vector<std::string> texts;
    for (const Limit& limit : job.limits) {
        if (limit.isWarning == areWarnings) {
            texts.push_back(limitInHtml(limit));
        }
    }
    return joined(texts, ", ");
}

std::string remarksHtml(const Job& job) {
    std::vector<std::string> texts;
    for (const JobRemark& remark : job.remarks) {
        texts.push_back(escaped(remark.text) +
                        element("small", " " + escaped(timeForPeople(remark.time))));
    }
    return joined(texts, "<br>");
}

std::string particularsOf(const Job& job) {
    Span measured;
    for (const JobMeasurement& one : job.measurements) {
        measured.add(one.entry.time.empty() ? one.time : one.entry.time);
    }
    const std::string times = measured.html();
    Particulars particulars;
    particulars.add("Operator", escaped(job.operatorName));
    particulars.add("Measured", times);
    if (times.empty() && !job.created.empty()) {
        particulars.add("Exported", escaped(timeForPeople(job.created)));
    }
    particulars.add("Instrument", instrumentsHtml(job));
    particulars.add("Calibrated", calibrationHtml(job));
    particulars.add("Illuminants", viewingHtml(job));
    particulars.add("Tolerances", limitsHtml(job, false));
    particulars.add("Warnings", limitsHtml(job, true));
    particulars.add("Remarks", remarksHtml(job));
    return particulars.html();
}

/// The outcome in a word: a single failure is one of the whole.
std::string verdictFigure(const Job& job, const TrialCounts& counts) {
    const Grade grade = counts.failed > 0   ? Grade::fail
                        : counts.warned > 0 ? Grade::warn
                                            : Grade::pass;
    const std::string within =
        job.limits.size() == 1 ? limitInHtml(job.limits.front()) : "the tolerances";
    const std::string caption = std::to_string(counts.passed + counts.warned) + " of " +
                                std::to_string(counts.counted) + " within " + within;
    return element(
        "div",
        element("b", std::string(signOf(grade)) + " " + nameOf(grade)) + element("span", caption),
        grade == Grade::pass   ? "figure pass"
        : grade == Grade::warn ? "figure warn"
                               : "figure fail");
}

std::string figuresOf(const Job& job, const std::vector<ReportGroup>& groups,
                      const ReportView& view) {
    const auto trials = allTrials(groups);
    const TrialCounts counts = countsOf(job, trials);
    const auto standards =
        std::count_if(groups.begin(), groups.end(), [](const ReportGroup& group) {
            return group.standard != nullptr && !group.standard->struckOutBy;
        });
    std::string content;
    if (!job.limits.empty() && counts.counted > counts.notJudged) {
        content += verdictFigure(job, counts);
    }
    content += figure(std::to_string(standards), standards == 1 ? "standard" : "standards");
    const std::size_t measured = trials.size() - counts.struckOut;
    if (!trials.empty()) {
        content += figure(std::to_string(measured), measured == 1 ? "trial" : "trials");
    }
    if (counts.warned > 0) {
        content += figure(std::to_string(counts.warned), "passed with a warning");
    }
    if (counts.notJudged > 0) {
        content += figure(std::to_string(counts.notJudged), "not judged");
    }
    if (counts.struckOut > 0) {
        content += figure(std::to_string(counts.struckOut), "struck out, not counted");
    }
    const LeadingQuantity leading = leadingQuantity(job, view.formula);
    const QuantityStatistics all = statisticsOf(leading.quantity, leading.illuminant, trials);
    if (all.values.count > 0) {
        const std::string title = symbolInHtml(leading.quantity);
        content +=
            figure(valueText(leading.quantity, all.values.mean), "mean " + title) +
            figure(all.largestText, "largest " + title + " (" + escaped(all.largestName) + ")");
    }
    return element("div", content, "figures");
}

}  // namespace

std::string pageHeader(const Job& job, const std::vector<ReportGroup>& groups,
                       const ReportView& view) {
    return element("header", element("h1", escaped(job.title)) + "\n" + particularsOf(job) + "\n" +
                                 figuresOf(job, groups, view)) +
           "\n";
}

}  // namespace cqtool
