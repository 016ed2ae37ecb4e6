#include <algorithm>
#include <array>
#include <filesystem>
#include <memory>
#include <ostream>

#include "commands/JobCommands.h"
#include "Failure.h"
#include "text/Text.h"
#include "text/TextTable.h"

namespace cqtool {
namespace {

namespace fs = std::filesystem;

/// What a job holds, without what is struck out.
struct JobCounts {
    std::uint64_t standards = 0;
    std::uint64_t trials = 0;
    std::array<std::uint64_t, 3> grades{};  ///< by Grade
    std::string last;                       ///< when it was measured last
};

JobCounts jobCountsOf(const Job& job) {
    JobCounts counts;
    for (const JobMeasurement& measurement : job.measurements) {
        if (measurement.struckOutBy) {
            continue;
        }
        counts.last = measurement.time;
        if (measurement.entry.isStandard) {
            ++counts.standards;
            continue;
        }
        ++counts.trials;
        try {
            if (const auto verdict = job.verdictOn(measurement)) {
                ++counts.grades[static_cast<std::size_t>(verdict->grade)];
            }
        } catch (const Failure&) {
            // It has no spectrum to be judged by, as cq job show tells.
        }
    }
    return counts;
}

struct JobListOptions {
    std::vector<std::string> names{};
    OutputOptions output;
};

/// The files, and of folders the jobs in them.
std::vector<fs::path> filesOf(const std::vector<std::string>& names) {
    std::vector<fs::path> files;
    for (const std::string& name : names) {
        std::error_code error;
        if (!fs::is_directory(name, error)) {
            files.emplace_back(name);
            continue;
        }
        std::vector<fs::path> inFolder;
        for (const auto& entry : fs::directory_iterator(name, error)) {
            if (lowerCase(entry.path().extension().string()) == ".cqjob") {
                inFolder.push_back(name == "." ? entry.path().filename() : entry.path());
            }
        }
        if (error) {
            throw Failure("cannot read the folder " + name + ": " + error.message());
        }
        std::sort(inFolder.begin(), inFolder.end());
        files.insert(files.end(), inFolder.begin(), inFolder.end());
    }
    return files;
}

[[noreturn]] void failForWrong(std::size_t wrong, std::size_t all) {
    throw Failure(std::to_string(wrong) + " of " + counted(all, "jobs") +
                      (wrong == 1 ? " is wrong" : " are wrong"),
                  "put the named lines right, or the files back from copies");
}

/// The lines of the jobs, for people and for programs.
class JobLines {
  public:
    JobLines()
        : table_({{"job", TextTable::Align::left},
                  {"title", TextTable::Align::left},
                  {"standards"},
                  {"trials"},
                  {"pass"},
                  {"warn"},
                  {"fail"},
                  {"last", TextTable::Align::left}}) {}

    void add(const std::string& name, const Job& job) {
        const JobCounts counts = jobCountsOf(job);
        const auto& [passed, warned, failed] = counts.grades;
        rows_.push_back({shown(name), shown(job.title), std::to_string(counts.standards),
                         std::to_string(counts.trials), std::to_string(passed),
                         std::to_string(warned), std::to_string(failed), counts.last});
        table_.fit(rows_.back());
        json_.push_back({{"job", name},
                         {"title", job.title},
                         {"operator", job.operatorName},
                         {"created", job.created},
                         {"standards", counts.standards},
                         {"trials", counts.trials},
                         {"passed", passed},
                         {"warned", warned},
                         {"failed", failed},
                         {"last", orNull(counts.last)}});
    }

    void addProblem(const std::string& name, const std::string& problem) {
        json_.push_back({{"job", name}, {"problem", problem}});
    }

    void print(const OutputOptions& output, std::ostream& out) const {
        if (output.json) {
            out << pageOfJson({{"jobs", json_}});
            return;
        }
        out << (rows_.empty() ? "no jobs here" : table_.titles()) << '\n';
        for (const TextTable::Row& row : rows_) {
            out << table_.line(row) << '\n';
        }
    }

  private:
    TextTable table_;
    std::vector<TextTable::Row> rows_;
    JsonList json_;
};

void runJobList(const JobListOptions& options, const Environment& environment) {
    const auto files =
        filesOf(options.names.empty() ? std::vector<std::string>{"."} : options.names);
    JobLines lines;
    std::size_t wrong = 0;
    for (const fs::path& path : files) {
        try {
            lines.add(path.string(), JobFile(path).job());
        } catch (const Failure& failure) {
            ++wrong;
            lines.addProblem(path.string(), failure.what());
            environment.notes << "cq: " << shown(failure.what()) << '\n';
        }
    }
    lines.print(options.output, environment.out);
    if (wrong > 0) {
        failForWrong(wrong, files.size());
    }
}

/// What is wrong with a file; empty: nothing.
std::string problemOf(const fs::path& path, std::string& sound) {
    try {
        const JobFile file(path);
        if (file.tornBytes() > 0) {
            return path.string() + ": its last line, of " + counted(file.tornBytes(), "bytes") +
                   ", was written in part only; the next event that is written cuts it off";
        }
        const JobCounts counts = jobCountsOf(file.job());
        sound = counted(file.job().lastNumber, "events") + ", " +
                counted(counts.standards, "standards") + ", " + counted(counts.trials, "trials");
        return {};
    } catch (const Failure& failure) {
        return failure.what();
    }
}

void runJobCheck(const JobListOptions& options, const Environment& environment) {
    std::size_t wrong = 0;
    JsonList list;
    const auto files = filesOf(options.names);
    for (const fs::path& path : files) {
        std::string sound;
        const std::string problem = problemOf(path, sound);
        wrong += problem.empty() ? 0 : 1;
        list.push_back({{"job", path.string()}, {"problem", orNull(problem)}});
        if (!options.output.json) {
            environment.out << shown(problem.empty() ? path.string() + ": in order, " + sound
                                                     : problem)
                            << '\n';
        }
    }
    if (options.output.json) {
        environment.out << pageOfJson({{"jobs", std::move(list)}});
    }
    if (wrong > 0) {
        failForWrong(wrong, files.size());
    }
}

}  // namespace

void addJobList(CommandLine& group, const Environment& environment) {
    CommandLine line = group.addCommand("list", "List jobs, a line each");
    const auto options = std::make_shared<JobListOptions>();
    line.addArguments({"files", "FILES", "Jobs, or folders with jobs (default: this folder)"},
                      options->names);
    addOptions(line, options->output);
    line.setExamples("Examples:\n  cq job list\n  cq job list /srv/jobs lot12.cqjob");
    line.setAction([options, environment] { runJobList(*options, environment); });
}

void addJobCheck(CommandLine& group, const Environment& environment) {
    CommandLine line = group.addCommand(
        "check", "Check that job files are whole; exit status 1 names what is wrong");
    const auto options = std::make_shared<JobListOptions>();
    line.addArguments({.name = "files",
                       .valueName = "FILES",
                       .description = "Jobs, or folders with jobs",
                       .isRequired = true},
                      options->names);
    addOptions(line, options->output);
    line.setExamples("Example:\n  cq job check lot12.cqjob");
    line.setAction([options, environment] { runJobCheck(*options, environment); });
}

}  // namespace cqtool
