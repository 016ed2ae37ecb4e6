#pragma once

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "commands/Against.h"
#include "commands/Comparison.h"
#include "commands/JobRecording.h"
#include "commands/Options.h"

namespace cqtool {

/// What measurements are compared with as they come, and the job that takes them.
struct JudgeOptions {
    std::string against;
    std::optional<DifferenceFormula> formula;
    std::vector<Limit> limits;
    bool isChecked = false;
    RecordingOptions job;
};

/// To be called after addOptions() for a ViewOptions: a job has its own illuminants.
void addOptions(CommandLine& line, JudgeOptions& options);

/// A measurement that a Judge has taken.
struct Judged {
    RecordEntry entry;              ///< under its name in the job
    std::optional<JsonObject> job;  ///< what the job knows of it
    std::string standard;           ///< the name of what it is compared with
    std::optional<Comparison> comparison;
    std::string problem;  ///< why it is not compared with that; else empty
};

/// Takes measurements: into the job first if there is one, then beside their standard.
class Judge {
  public:
    /// Reads the job, and what --against names. Throws Failure and UsageError.
    /// \param isNumbered whether several measurements come, which cannot all have one name.
    Judge(const JudgeOptions& options, const Viewing& viewing, const RecordLayout& layout,
          bool isNumbered, std::ostream& notes);

    Viewing viewing() const { return judging_.viewing.primary(); }
    /// Call for each connection.
    void use(Connection& connection);
    /// Throws Failure if trials would have no standard, or none that can be judged by.
    void requireStandard() const;
    /// What there is to say beforehand: ", against skin.record" and the like; of a job a line of
    /// its own.
    std::string standardText() const;
    std::string jobText() const;
    /// The file that --against reads, and the job; empty texts for none.
    std::vector<std::string> inputs() const;

    /// Without a job and --against a standard becomes that of the trials after it.
    Judged take(RecordEntry entry, std::uint32_t averaged = 1,
                const std::optional<double>& spread = std::nullopt);

    /// For Ctrl-C, and the end of the command: whether --check was given and a trial has failed.
    ExitStatus status() const {
        return isOutOfTolerance_ ? ExitStatus::outOfTolerance : ExitStatus::success;
    }
    /// Throws OutOfTolerance if so.
    void check() const;

  private:
    const RecordEntry* standardFor(const Judged& judged, const JobMeasurement* inJob) const;

    const JudgeOptions& options_;
    std::optional<JobRecording> job_;
    Judging judging_;
    Against against_;
    std::optional<RecordEntry> pressedStandard_;
    bool isOutOfTolerance_ = false;
};

/// Adds what a Judge has found: the comparison, "standard", and of a job "job".
void addJudged(JsonObject& json, const Judged& judged);

/// For people. With colours a panel with the pair and the verdict, a table of the differences and what
/// decides; without, one line, or with several illuminants, if asked, the table.
/// \return the lines; none without a comparison.
std::vector<std::string> linesOf(const Judged& judged, const Palette& palette, bool hasTable);

}  // namespace cqtool
