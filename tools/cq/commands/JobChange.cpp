#include <algorithm>
#include <memory>
#include <ostream>

#include "commands/JobCommands.h"
#include "Failure.h"
#include "job/JobEvents.h"
#include "text/Text.h"

namespace cqtool {
namespace {

struct JobToleranceOptions : JobCommandOptions {
    std::optional<std::vector<std::string>> tolerances;
    std::optional<std::vector<std::string>> warnings;
    std::vector<std::string> added;
    std::vector<std::string> addedWarnings;
    std::vector<std::string> removed;

    bool isChange() const {
        return tolerances || warnings || !added.empty() || !addedWarnings.empty() ||
               !removed.empty();
    }
};

/// In place of all the limits of the kind.
void replaceLimits(std::vector<Limit>& limits, const std::vector<std::string>& texts,
                   bool isWarning) {
    std::erase_if(limits, [&](const Limit& limit) { return limit.isWarning == isWarning; });
    for (const std::string& text : texts) {
        limits.push_back(limitOf(text, isWarning));
    }
}

/// In place of one on the same quantity.
void addLimits(std::vector<Limit>& limits, const std::vector<std::string>& texts, bool isWarning) {
    for (const std::string& text : texts) {
        const Limit added = limitOf(text, isWarning);
        const auto same = std::find_if(limits.begin(), limits.end(), [&](const Limit& limit) {
            return limit.quantity == added.quantity && limit.illuminant == added.illuminant &&
                   limit.isWarning == isWarning;
        });
        if (same == limits.end()) {
            limits.push_back(added);
        } else {
            *same = added;
        }
    }
}

/// Whether "dE00", "dE00@A" or "dE00<=1" names the limit.
bool isNamedBy(const Limit& limit, const std::string& text) {
    if (text.find('=') != std::string::npos) {
        Limit named = limitOf(text, limit.isWarning);
        return named == limit;
    }
    const std::size_t at = std::min(text.find('@'), text.size());
    return quantityOf(text.substr(0, at)) == limit.quantity &&
           (at == text.size() || illuminantNamed(text.substr(at + 1)) == limit.illuminant);
}

void removeLimits(std::vector<Limit>& limits, const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
        const auto count =
            std::erase_if(limits, [&](const Limit& limit) { return isNamedBy(limit, text); });
        if (count == 0) {
            throw Failure("the job has no tolerance " + text, "see them with cq job tolerance");
        }
    }
}

std::vector<Limit> changedLimits(const Job& job, const JobToleranceOptions& options) {
    Job changed = job;
    if (options.tolerances) {
        replaceLimits(changed.limits, *options.tolerances, false);
    }
    if (options.warnings) {
        replaceLimits(changed.limits, *options.warnings, true);
    }
    removeLimits(changed.limits, options.removed);
    addLimits(changed.limits, options.added, false);
    addLimits(changed.limits, options.addedWarnings, true);
    std::stable_partition(changed.limits.begin(), changed.limits.end(),
                          [](const Limit& limit) { return !limit.isWarning; });
    checkLimits(changed.limits, changed.viewing);
    for (const JobMeasurement& measurement : changed.measurements) {
        if (!measurement.struckOutBy) {
            checkCanBeJudged(changed, measurement.entry);
        }
    }
    return changed.limits;
}

void runJobTolerance(const JobToleranceOptions& options, const Environment& environment) {
    JobFile file(options.file);
    if (options.isChange()) {
        file.append([&](const Job& job) { return tolerancesEvent(changedLimits(job, options)); });
        if (!file.repair().empty()) {
            environment.notes << "cq: " << shown(file.repair()) << '\n';
        }
    }
    if (options.output.json) {
        JsonObject json{{"job", options.file}};
        json.update(tolerancesEvent(file.job().limits));
        json.erase("event");
        environment.out << pageOfJson(json);
    } else {
        environment.out << limitLines(file.job());
    }
}

struct JobRemarkOptions : JobCommandOptions {
    std::string text;
    std::string on;  ///< a measurement's name or number; empty: the job
};

void runJobRemark(const JobRemarkOptions& options, const Environment& environment) {
    if (trimmed(options.text).empty()) {
        throw UsageError("the remark is empty");
    }
    JobFile file(options.file);
    std::string on = "the job";
    appendAndTell(
        file,
        [&](const Job& job) {
            if (options.on.empty()) {
                return remarkEvent(options.text, std::nullopt);
            }
            const JobMeasurement& measurement = measurementCalled(job, options.on);
            on = "'" + measurement.entry.name + "'";
            return remarkEvent(options.text, measurement.number);
        },
        [&](std::uint64_t) { return "remark on " + on + " written"; }, options.output, environment);
}

struct JobUndoOptions : JobCommandOptions {
    std::string on;  ///< as above; empty: the last one
};

const JobMeasurement& measurementToStrikeOut(const Job& job, const std::string& on) {
    const JobMeasurement* measurement = on.empty() ? job.last() : &measurementCalled(job, on);
    if (measurement == nullptr) {
        throw Failure("the job has no measurement to strike out");
    }
    if (measurement->struckOutBy) {
        throw Failure("'" + measurement->entry.name + "' is struck out already");
    }
    return *measurement;
}

void runJobUndo(const JobUndoOptions& options, const Environment& environment) {
    JobFile file(options.file);
    std::string what;
    appendAndTell(
        file,
        [&](const Job& job) {
            const JobMeasurement& measurement = measurementToStrikeOut(job, options.on);
            what = std::string(measurement.entry.kind()) + " '" + measurement.entry.name +
                   "', number " + std::to_string(measurement.number) + ", is struck out";
            const auto trials = std::count_if(
                job.measurements.begin(), job.measurements.end(), [&](const JobMeasurement& one) {
                    return one.standard == measurement.number && !one.struckOutBy;
                });
            if (trials > 0) {
                what += "; " + counted(static_cast<std::uint64_t>(trials), "trials") +
                        " of it can no longer be judged";
            }
            return struckOutEvent(measurement.number);
        },
        [&](std::uint64_t) { return what; }, options.output, environment);
}

void addOnOption(CommandLine& line, std::string& on, const char* otherwise) {
    line.addOption(
        {"--on", "NAME|NUMBER",
         std::string("The measurement, by its name or number (default: ") + otherwise + ")"},
        on);
}

}  // namespace

void addJobTolerance(CommandLine& group, const Environment& environment) {
    CommandLine line = group.addCommand("tolerance", "Show a job's tolerances, or change them");
    const auto options = std::make_shared<JobToleranceOptions>();
    addOptions(line, *options);
    line.addList({"--tolerance", "LIMIT", "Replace all limits beyond which a trial fails"},
                 [options](const auto& texts) { options->tolerances = texts; });
    line.addList({"--warn", "LIMIT", "Replace all limits beyond which there is a warning"},
                 [options](const auto& texts) { options->warnings = texts; });
    line.addList({"--add", "LIMIT", "Add one, or replace the one on the same quantity"},
                 [options](const auto& texts) { options->added = texts; });
    line.addList({"--add-warn", "LIMIT", "The same for a warning"},
                 [options](const auto& texts) { options->addedWarnings = texts; });
    line.addList({"--remove", "LIMIT", "Remove one, named by its text or its quantity"},
                 [options](const auto& texts) { options->removed = texts; });
    line.setExamples(
        "All trials are judged by the current tolerances. cq job new --help says how to write "
        "them.\n\nExamples:\n"
        "  cq job tolerance lot12.cqjob\n"
        "  cq job tolerance lot12.cqjob --add \"dE00<=0.9\" --remove \"|dL|\"");
    line.setAction([options, environment] { runJobTolerance(*options, environment); });
}

void addJobRemark(CommandLine& group, const Environment& environment) {
    CommandLine line = group.addCommand("remark", "Add a remark to a job or a measurement");
    const auto options = std::make_shared<JobRemarkOptions>();
    addOptions(line, *options);
    line.addOption(
        {.name = "text", .valueName = "TEXT", .description = "The remark", .isRequired = true},
        options->text);
    addOnOption(line, options->on, "the job as a whole");
    line.setExamples("Example:\n  cq job remark lot12.cqjob \"streaks at the edge\" --on 12-1");
    line.setAction([options, environment] { runJobRemark(*options, environment); });
}

void addJobUndo(CommandLine& group, const Environment& environment) {
    CommandLine line =
        group.addCommand("undo", "Strike the last measurement out; it stays in the file");
    const auto options = std::make_shared<JobUndoOptions>();
    addOptions(line, *options);
    addOnOption(line, options->on, "the last one that is not struck out");
    line.setExamples("Examples:\n  cq job undo lot12.cqjob\n  cq job undo lot12.cqjob --on 12-1");
    line.setAction([options, environment] { runJobUndo(*options, environment); });
}

}  // namespace cqtool
