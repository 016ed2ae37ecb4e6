#include <algorithm>
#include <map>
#include <memory>
#include <ostream>

#include "color/ColorJson.h"
#include "color/DifferenceComponents.h"
#include "commands/JobCommands.h"
#include "Failure.h"
#include "job/JobEvents.h"
#include "text/Numbers.h"
#include "text/Text.h"
#include "text/TextTable.h"

namespace cqtool {
namespace {

struct JudgedTrial {
    const JobMeasurement* trial = nullptr;
    std::optional<CqColorDifference> difference;  ///< under the primary viewing
    double deltaE = 0;                            ///< by the job's formula
    std::optional<Verdict> verdict;
    std::string problem;  ///< why there is none
};

/// What differences are shown by: the formula of the first tolerance on one.
DifferenceFormula formulaOf(const Job& job) {
    const auto first = std::find_if(job.limits.begin(), job.limits.end(), [](const Limit& limit) {
        return limit.quantity.kind == Quantity::Kind::difference;
    });
    return first == job.limits.end() ? DifferenceFormula{} : first->quantity.formula;
}

JudgedTrial judgedTrial(const Job& job, const JobMeasurement& trial) {
    JudgedTrial result{&trial, {}, 0, {}, {}};
    const JobMeasurement* standard = job.standardOf(trial);
    if (standard == nullptr) {
        result.problem = "no standard";
    } else if (!standard->entry.lab || !trial.entry.lab) {
        result.problem = "no spectrum";
    } else {
        result.difference = compare({}, *standard->entry.lab, *trial.entry.lab);
        result.deltaE = difference(formulaOf(job), *standard->entry.lab, *trial.entry.lab);
    }
    try {
        result.verdict = job.verdictOn(trial);
    } catch (const Failure& failure) {
        result.problem = failure.what();
    }
    return result;
}

std::string verdictText(const JudgedTrial& judged) {
    if (judged.trial->struckOutBy) {
        return "struck out";
    }
    if (!judged.verdict) {
        return judged.problem;
    }
    const Verdict& verdict = *judged.verdict;
    std::string text = std::string(signOf(verdict.grade)) + ' ' + nameOf(verdict.grade);
    if (const Finding* deciding = verdict.deciding()) {
        text += ": " + findingText(*deciding);
    }
    return text;
}

TextTable::Row rowOf(const Job& job, const JudgedTrial& judged) {
    TextTable::Row row{std::to_string(judged.trial->number), shown(judged.trial->entry.name)};
    if (judged.difference) {
        const Verdict verdict = judged.verdict.value_or(Verdict{});
        const std::int32_t illuminant = job.viewing.illuminants.front();
        const CqColorDifference& parts = *judged.difference;
        for (std::size_t i = 0; i < kDifferenceComponents.size(); ++i) {
            const Quantity quantity{Quantity::Kind::component, {}, i, false};
            row.push_back(withSign(parts.*kDifferenceComponents[i].value,
                                   verdict.decimalsOf(quantity, illuminant)));
        }
        const Quantity quantity{Quantity::Kind::difference, formulaOf(job), 0, false};
        row.push_back(fixed(judged.deltaE, verdict.decimalsOf(quantity, illuminant)));
    } else {
        row.resize(8);
    }
    row.push_back(shown(verdictText(judged)));
    return row;
}

std::string viewingText(const JudgedViewing& viewing) {
    std::vector<std::string> names;
    for (const std::int32_t illuminant : viewing.illuminants) {
        names.emplace_back(illuminantName(illuminant));
    }
    return joined(names, ", ") + " / " + std::to_string(observerDegrees(viewing.observer)) + "°";
}

std::string standardLine(const JobMeasurement& standard) {
    std::string text =
        "standard '" + shown(standard.entry.name) + "', number " + std::to_string(standard.number);
    if (standard.entry.lab) {
        const auto& values = standard.entry.lab->values;
        text += ": L* " + fixed(values[0], 2) + "  a* " + fixed(values[1], 2) + "  b* " +
                fixed(values[2], 2);
    }
    return text + (standard.struckOutBy ? "  struck out" : "");
}

/// A table of the trials of a standard; of no standard: those without one.
class JobText {
  public:
    JobText(const Job& job, const Palette& palette)
        : job_(job),
          palette_(palette),
          table_({{"#"},
                  {"trial", TextTable::Align::left},
                  {"ΔL*"},
                  {"Δa*"},
                  {"Δb*"},
                  {"ΔC*"},
                  {"ΔH*"},
                  {symbolOf(formulaOf(job))},
                  {"verdict", TextTable::Align::left}}) {
        for (const JobMeasurement& measurement : job.measurements) {
            if (!measurement.entry.isStandard) {
                rows_.emplace_back(measurement.standard, rowOf(job, judgedTrial(job, measurement)));
                table_.fit(rows_.back().second);
            }
        }
    }

    std::string text() const {
        std::string text = head() + trialsOf(std::nullopt);
        for (const JobMeasurement& measurement : job_.measurements) {
            if (measurement.entry.isStandard) {
                text += '\n' + palette_.strong(standardLine(measurement)) + '\n' +
                        trialsOf(measurement.number);
            }
        }
        return text + remarks();
    }

  private:
    std::string head() const {
        return palette_.strong(shown(job_.title)) + "  " +
               (job_.operatorName.empty() ? "" : shown(job_.operatorName) + "  ") +
               viewingText(job_.viewing) + "  " + job_.created + '\n' + limitLines(job_) +
               calibrations();
    }

    /// When each instrument was last calibrated.
    std::string calibrations() const {
        std::map<std::string, std::string> times;
        for (const JobCalibration& calibration : job_.calibrations) {
            times[calibration.instrument.model + ' ' + calibration.instrument.serial] =
                calibration.time;
        }
        std::string lines;
        for (const auto& [instrument, time] : times) {
            lines += "calibrated  " + shown(instrument) + ", " + time + '\n';
        }
        return lines;
    }

    std::string trialsOf(std::optional<std::uint64_t> standard) const {
        std::string lines;
        for (const auto& [number, row] : rows_) {
            lines += number == standard ? table_.line(row) + '\n' : std::string();
        }
        return lines.empty() ? lines : table_.titles() + '\n' + lines;
    }

    std::string remarks() const {
        std::string lines;
        for (const JobRemark& remark : job_.remarks) {
            lines += remark.time + "  " + shown(remark.text) + '\n';
        }
        for (const JobMeasurement& measurement : job_.measurements) {
            for (const std::string& remark : measurement.remarks) {
                lines += "'" + shown(measurement.entry.name) + "', number " +
                         std::to_string(measurement.number) + ": " + shown(remark) + '\n';
            }
        }
        return lines.empty() ? lines : '\n' + palette_.strong("remarks") + '\n' + lines;
    }

    const Job& job_;
    const Palette& palette_;
    TextTable table_;
    std::vector<std::pair<std::optional<std::uint64_t>, TextTable::Row>> rows_;
};

JsonObject measurementJson(const Job& job, const JobMeasurement& measurement) {
    JsonObject json{{"number", measurement.number}, {"time", measurement.time}};
    json.update(measurementEvent(measurement));
    json.erase("event");
    if (measurement.entry.lab) {
        json["lab"] = colorJson(*measurement.entry.lab, colorSpace(ColorSpaceLab));
    }
    if (!measurement.remarks.empty()) {
        json["remarks"] = measurement.remarks;
    }
    if (measurement.struckOutBy) {
        json["struckOutBy"] = *measurement.struckOutBy;
    }
    if (measurement.entry.isStandard) {
        return json;
    }
    const JudgedTrial trial = judgedTrial(job, measurement);
    if (trial.difference) {
        JsonObject difference;
        for (const DifferenceComponent& component : kDifferenceComponents) {
            difference[component.key] = shortest((*trial.difference).*component.value);
        }
        difference["formula"] = nameOf(formulaOf(job));
        difference["deltaE"] = trial.deltaE;
        json["difference"] = std::move(difference);
    }
    json["verdict"] = trial.verdict ? JsonValue(verdictJson(*trial.verdict)) : JsonValue();
    if (!trial.problem.empty()) {
        json["problem"] = trial.problem;
    }
    return json;
}

JsonObject jobJson(const JobFile& file) {
    const Job& job = file.job();
    JsonObject json{{"job", file.path().string()}, {"created", job.created}};
    json.update(createdEvent(job));
    for (const char* name : {"event", "format", "version", "program"}) {
        json.erase(name);
    }
    JsonList standards;
    JsonList trials;
    for (const JobMeasurement& measurement : job.measurements) {
        (measurement.entry.isStandard ? standards : trials)
            .push_back(measurementJson(job, measurement));
    }
    json["standards"] = std::move(standards);
    json["trials"] = std::move(trials);
    JsonList remarks;
    for (const JobRemark& remark : job.remarks) {
        remarks.push_back(
            {{"number", remark.number}, {"time", remark.time}, {"text", remark.text}});
    }
    json["remarks"] = std::move(remarks);
    return json;
}

void runJobShow(const JobCommandOptions& options, const Environment& environment) {
    const JobFile file(options.file);
    if (options.output.json) {
        environment.out << pageOfJson(jobJson(file));
    } else {
        const Palette palette = options.output.palette();
        environment.out << JobText(file.job(), palette).text();
    }
}

}  // namespace

void addJobShow(CommandLine& group, const Environment& environment) {
    CommandLine line =
        group.addCommand("show", "Show standards, trials with their verdicts, and remarks");
    const auto options = std::make_shared<JobCommandOptions>();
    addOptions(line, *options);
    line.setExamples("Example:\n  cq job show lot12.cqjob");
    line.setAction([options, environment] { runJobShow(*options, environment); });
}

}  // namespace cqtool
