#include <algorithm>
#include <memory>
#include <ostream>

#include "commands/GivenMeasurement.h"
#include "commands/JobCommands.h"
#include "Failure.h"
#include "job/JobEvents.h"
#include "text/Text.h"

namespace cqtool {
namespace {

struct JobNewOptions : JobCommandOptions {
    std::string title;
    std::string operatorName;
    std::vector<std::string> tolerances;
    std::vector<std::string> warnings;
    std::vector<std::string> illuminants{"D65"};
    std::int32_t observer = Observer10Degree;
};

std::vector<std::int32_t> illuminantsIn(const std::vector<std::string>& names) {
    std::vector<std::int32_t> illuminants;
    for (const std::string& name : names) {
        const std::int32_t illuminant = illuminantNamed(name);
        if (std::find(illuminants.begin(), illuminants.end(), illuminant) != illuminants.end()) {
            throw UsageError("--illuminants names " + name + " twice");
        }
        illuminants.push_back(illuminant);
    }
    return illuminants;
}

void runJobNew(const JobNewOptions& options, const Environment& environment) {
    Job job;
    job.title =
        options.title.empty() ? std::filesystem::path(options.file).stem().string() : options.title;
    job.operatorName = options.operatorName;
    job.viewing = {illuminantsIn(options.illuminants), options.observer};
    job.limits = limitsOf(options.tolerances, options.warnings);
    checkLimits(job.limits, job.viewing);
    const JobFile file = JobFile::create(options.file, job);
    if (options.output.json) {
        environment.out << pageOfJson({{"job", options.file}, {"number", 1}});
    } else {
        environment.out << "job '" << shown(job.title) << "' begun: " << shown(options.file) << '\n'
                        << limitLines(file.job());
    }
}

struct JobStandardOptions : JobCommandOptions {
    std::string measurement;
    std::string name;
    std::string recordLayout;
    bool isPercent = false;
};

void runJobStandard(const JobStandardOptions& options, const Environment& environment) {
    JobFile file(options.file);
    JobMeasurement standard;
    standard.entry = measurementIn(
        options.measurement, file.job().viewing.primary(),
        {options.isPercent, loadRecordLayout(options.recordLayout), &environment.notes});
    standard.entry.isStandard = true;
    if (!options.name.empty()) {
        standard.entry.name = options.name;
    }
    checkCanBeJudged(file.job(), standard.entry);
    appendAndTell(
        file, [&](const Job&) { return measurementEvent(standard); },
        [&](std::uint64_t number) {
            return "standard '" + standard.entry.name + "' is number " + std::to_string(number) +
                   ": trials are compared with it from now on";
        },
        options.output, environment);
}

}  // namespace

void addOptions(CommandLine& line, JobCommandOptions& options) {
    line.addOption(
        {.name = "job", .valueName = "JOB", .description = "The job's file", .isRequired = true},
        options.file);
    addOptions(line, options.output);
}

const JobMeasurement& measurementCalled(const Job& job, const std::string& text) {
    const auto& all = job.measurements;
    auto found = std::find_if(all.rbegin(), all.rend(), [&](const JobMeasurement& one) {
        return one.entry.name == text && !one.struckOutBy;
    });
    if (found == all.rend()) {
        found = std::find_if(all.rbegin(), all.rend(), [&](const JobMeasurement& one) {
            return std::to_string(one.number) == text;
        });
    }
    if (found == all.rend()) {
        throw Failure("the job has no measurement called '" + text + "', nor with this number",
                      "see both with cq job show");
    }
    return *found;
}

void checkCanBeJudged(const Job& job, const RecordEntry& entry) {
    verdictOf(job.limits, job.viewing, entry, entry);
}

void appendAndTell(JobFile& file, const std::function<JsonObject(const Job&)>& eventFor,
                   const std::function<std::string(std::uint64_t)>& sentence,
                   const OutputOptions& output, const Environment& environment) {
    const std::uint64_t number = file.append(eventFor);
    if (!file.repair().empty()) {
        environment.notes << "cq: " << shown(file.repair()) << '\n';
    }
    if (output.json) {
        environment.out << pageOfJson({{"job", file.path().string()}, {"number", number}});
    } else {
        environment.out << shown(sentence(number)) << '\n';
    }
}

std::string limitLines(const Job& job) {
    std::string text;
    for (const bool isWarning : {false, true}) {
        std::vector<std::string> limits;
        for (const Limit& limit : job.limits) {
            if (limit.isWarning == isWarning) {
                limits.push_back(symbolsOf(limit));
            }
        }
        if (!limits.empty()) {
            text += (isWarning ? "warnings    " : "tolerances  ") + joined(limits, ", ") + '\n';
        }
    }
    return text.empty() ? "no tolerances: nothing is judged\n" : text;
}

void addJobNew(CommandLine& group, const Environment& environment) {
    CommandLine line = group.addCommand("new", "Begin a job: make its file");
    const auto options = std::make_shared<JobNewOptions>();
    line.addOption({"--title", "TEXT", "What the job is called (default: the file's name)"},
                   options->title);
    line.addOption({"--operator", "TEXT", "Who measures"}, options->operatorName);
    line.addList({"--tolerance", "LIMIT", "A trial passes within it: dE00<=1, |dL|<=0.6@A"},
                 [options](const auto& texts) { options->tolerances = texts; });
    line.addList({"--warn", "LIMIT", "A trial passes beyond it, but with a warning"},
                 [options](const auto& texts) { options->warnings = texts; });
    line.addList({"--illuminants", "NAMES",
                  "What to compare under, the first one is the reference (default D65)", "Colour"},
                 [options](const auto& texts) { options->illuminants = texts; });
    addNamed(line, {"--observer", "2|10", "Observer in degrees (default 10)", "Colour"},
             options->observer, observerNamed);
    addOptions(line, *options);
    line.setExamples(
        "A limit is on a difference by a formula, dEab dE94 dE94t dECMC dE00 dE99 dE99o, with its\n"
        "factors if they are not the usual ones: dECMC(2:1)<=1.2; on a component, dL da db dC dH,\n"
        "on one or both sides: -0.5<=da<=0.3, |dH|<=0.4; or on the metamerism index: MI<=0.5.\n"
        "It holds under each illuminant of the job, or under one: dE00<=1@A.\n\n"
        "Examples:\n"
        "  cq job new lot12.cqjob --title \"Lot 12\" --tolerance \"dE00<=1\" --warn \"dE00<=0.8\"\n"
        "  cq job new lot13.cqjob --illuminants D65,A --tolerance \"|dL|<=0.6\" --tolerance "
        "\"MI<=0.5\"");
    line.setAction([options, environment] { runJobNew(*options, environment); });
}

void addJobStandard(CommandLine& group, const Environment& environment) {
    CommandLine line = group.addCommand(
        "standard", "Take a measurement of another file as the standard of the trials to come");
    const auto options = std::make_shared<JobStandardOptions>();
    addOptions(line, *options);
    line.addOption({.name = "measurement",
                    .valueName = "FILE[:NAME]",
                    .description = "A file with one measurement, or one of several by its name or "
                                   "index",
                    .isRequired = true},
                   options->measurement);
    line.addOption({"--name", "TEXT", "What the standard is called (default: as in the file)"},
                   options->name);
    line.addFlag({"--percent", "", "The file's spectra are in percent"}, options->isPercent);
    addRecordLayoutOption(line, options->recordLayout);
    line.setExamples(
        "Examples:\n"
        "  cq job standard lot12.cqjob master.csv\n"
        "  cq job standard lot12.cqjob masters.json:\"Master 7\"\n"
        "  cq job standard lot12.cqjob lot11.cqjob:\"Master 7\"");
    line.setAction([options, environment] { runJobStandard(*options, environment); });
}

void addJob(Program& program, const Environment& environment) {
    CommandLine group =
        program.add("job", "Keep standards, trials, tolerances and remarks of a job in one file");
    addJobNew(group, environment);
    addJobShow(group, environment);
    addJobStandard(group, environment);
    addJobTolerance(group, environment);
    addJobRemark(group, environment);
    addJobUndo(group, environment);
    addJobList(group, environment);
    addJobCheck(group, environment);
    group.setExamples(
        "Examples:\n"
        "  cq job new lot12.cqjob --title \"Lot 12\" --tolerance \"dE00<=1\"\n"
        "  cq measure standard --job lot12.cqjob --name \"Master 7\"\n"
        "  cq measure trial --job lot12.cqjob\n"
        "  cq job undo lot12.cqjob\n"
        "  cq job show lot12.cqjob");
}

}  // namespace cqtool
