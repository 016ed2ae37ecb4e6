#include "commands/Judge.h"

#include <utility>

#include "Failure.h"
#include "system/Terminal.h"
#include "terminal/VerdictPanel.h"
#include "text/Text.h"

namespace cqtool {

void addOptions(CommandLine& line, JudgeOptions& options) {
    constexpr const char* kGroup = "Comparison";
    addAgainstOption(line, options.against);
    addNamed(line,
             {"--formula", "NAME",
              "Which difference counts: " + differenceFormulaNames() +
                  "; with factors 2000:2:1:1, cmc:2:1 (default 76, or the job's)",
              kGroup},
             options.formula, differenceFormulaNamed);
    addLimitOptions(line, options.limits);
    line.addFlag({"--check", "", "End with status 3 if a trial has failed", kGroup},
                 options.isChecked);
    addOptions(line, options.job);
    for (const char* option :
         {"--against", "--tolerance", "--warn", "--illuminant", "--observer"}) {
        line.exclude("--job", option);
    }
}

Judge::Judge(const JudgeOptions& options, const Viewing& viewing, const RecordLayout& layout,
             bool isNumbered, std::ostream& notes)
    : options_(options),
      judging_{options.formula.value_or(DifferenceFormula{}),
               {{viewing.illuminant}, viewing.observer},
               options.limits},
      against_(options.against, viewing, layout, notes) {
    const RecordingOptions& job = options.job;
    if (job.isGiven()) {
        job_.emplace(job, isNumbered, notes);
        judging_ = job_->judging(options.formula);
    } else if (!job.name.empty() || !job.standard.empty()) {
        throw UsageError(std::string(job.name.empty() ? "--standard" : "--name") +
                         " is for a job: give --job FILE");
    }
    checkLimits(judging_.limits, judging_.viewing);
    if (options.isChecked && judging_.limits.empty()) {
        throw UsageError(job_ ? job.file + " has no tolerance to check: cq job tolerance"
                              : "--check needs a --tolerance, or a --job that has one");
    }
}

void Judge::use(Connection& connection) {
    against_.read(connection);
    if (job_) {
        job_->use(connection);
    }
}

void Judge::requireStandard() const {
    if (job_) {
        job_->requireStandard();
    } else if (!judging_.limits.empty() && options_.against.empty()) {
        throw UsageError("--tolerance and --warn need what to compare with: --against STANDARD");
    }
    if (const RecordEntry* standard = job_ ? job_->nextStandard() : nullptr) {
        compare(*standard, *standard, judging_);
    } else if (against_.standard()) {
        compare(*against_.standard(), *against_.standard(), judging_);
    }
}

std::string Judge::standardText() const {
    return against_.name().empty() ? std::string() : ", against " + shown(against_.name());
}

std::string Judge::jobText() const {
    return job_ ? shown(options_.job.file) + ", " + job_->calibrationText() : std::string();
}

std::vector<std::string> Judge::inputs() const {
    return {against_.file(), options_.job.file};
}

const RecordEntry* Judge::standardFor(const Judged& judged, const JobMeasurement* inJob) const {
    if (against_.standard()) {
        return &*against_.standard();
    }
    if (judged.entry.isStandard) {
        return nullptr;
    }
    if (inJob != nullptr) {
        return job_->standardOf(*inJob);
    }
    return pressedStandard_ ? &*pressedStandard_ : nullptr;
}

Judged Judge::take(RecordEntry entry, std::uint32_t averaged, const std::optional<double>& spread) {
    Judged judged{std::move(entry), {}, {}, {}, {}};
    const JobMeasurement* inJob = nullptr;
    if (job_) {
        inJob = &job_->add(judged.entry, averaged, spread);
        judged.entry = inJob->entry;
        judged.job = jsonOf(*inJob, job_->job());
    } else if (judged.entry.isStandard && options_.against.empty()) {
        pressedStandard_ = judged.entry;
    }
    const RecordEntry* standard = standardFor(judged, inJob);
    if (standard == nullptr) {
        return judged;
    }
    judged.standard = against_.standard() ? against_.name() : standard->name;
    try {
        judged.comparison = compare(*standard, judged.entry, judging_);
    } catch (const Failure& failure) {
        judged.problem = failure.what();
    }
    const bool hasFailed = judged.comparison && judged.comparison->verdict &&
                           judged.comparison->verdict->grade == Grade::fail;
    // What cannot be judged has not passed.
    isOutOfTolerance_ |= options_.isChecked && (hasFailed || !judged.problem.empty());
    return judged;
}

void Judge::check() const {
    if (isOutOfTolerance_) {
        throw OutOfTolerance{};
    }
}

void addJudged(JsonObject& json, const Judged& judged) {
    if (judged.job) {
        json["name"] = judged.entry.name;
        json["job"] = *judged.job;
    }
    if (judged.comparison) {
        json["standard"] = judged.standard;
        addComparison(json, *judged.comparison);
    } else if (!judged.problem.empty()) {
        json["problem"] = judged.problem;
    }
}

std::vector<std::string> linesOf(const Judged& judged, const Palette& palette, bool hasTable) {
    if (!judged.comparison) {
        return {};
    }
    const Comparison& comparison = *judged.comparison;
    if (!palette.hasColors() && (!hasTable || comparison.rows.size() == 1)) {
        return {lineOf(comparison)};
    }
    std::vector<std::string> lines =
        verdictPanel(comparison.verdict ? std::optional(comparison.verdict->grade) : std::nullopt,
                     comparison.standard, comparison.trial, palette, terminalColumns());
    for (std::string& line : tableOf(comparison)) {
        lines.push_back(std::move(line));
    }
    if (comparison.verdict) {
        lines.push_back(palette.strong(verdictText(comparison)));
    }
    return lines;
}

}  // namespace cqtool
