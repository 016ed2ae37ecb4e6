#pragma once

#include <cstdint>
#include <string>

#include "commands/Commands.h"
#include "commands/Options.h"
#include "job/JobFile.h"

/// \file
/// The commands of cq job, and what they share.

namespace cqtool {

/// The job that a command is about, and how to report what was done.
struct JobCommandOptions {
    std::string file;
    OutputOptions output;
};

/// The value must outlive the parsing.
void addOptions(CommandLine& line, JobCommandOptions& options);

/// The measurement with this name, the last one that is not struck out, or with this number; throws
/// Failure with what there is.
const JobMeasurement& measurementCalled(const Job& job, const std::string& text);

/// Throws Failure for a limit that the entry, and one like it, cannot be judged by.
void checkCanBeJudged(const Job& job, const RecordEntry& entry);

/// Appends an event and reports it: a sentence, or {"job", "number"} and the members.
void appendAndTell(JobFile& file, const std::function<JsonObject(const Job&)>& eventFor,
                   const std::function<std::string(std::uint64_t number)>& sentence,
                   const OutputOptions& output, const Environment& environment);

/// The limits for people, in a line each: "tolerances  dE00<=1, |dL|<=0.6".
std::string limitLines(const Job& job);

// Each adds a command to the group.
void addJobNew(CommandLine& group, const Environment& environment);
void addJobStandard(CommandLine& group, const Environment& environment);
void addJobTolerance(CommandLine& group, const Environment& environment);
void addJobRemark(CommandLine& group, const Environment& environment);
void addJobUndo(CommandLine& group, const Environment& environment);
void addJobShow(CommandLine& group, const Environment& environment);
void addJobList(CommandLine& group, const Environment& environment);
void addJobCheck(CommandLine& group, const Environment& environment);

}  // namespace cqtool
