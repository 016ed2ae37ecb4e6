#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>

#include "commands/Comparison.h"
#include "commands/Program.h"
#include "instrument/Connection.h"
#include "job/JobFile.h"

namespace cqtool {

/// The options of commands that measure into a job.
struct RecordingOptions {
    std::string file;  ///< empty: there is no job
    std::string name;
    std::string standard;
    double mostCalibrationAge = 8;  ///< hours

    bool isGiven() const { return !file.empty(); }
};

/// --job, --name, --standard, --calibration-age.
void addOptions(CommandLine& line, RecordingOptions& options);

/// Takes measurements into a job, before anything is told of them.
class JobRecording {
  public:
    /// Reads the job. Throws Failure if it cannot be read or has not the standard of the options.
    /// \param isNumbered a given name gets numbers. \param notes for warnings.
    JobRecording(const RecordingOptions& options, bool isNumbered, std::ostream& notes);

    const Job& job() const { return file_.job(); }
    /// By the formula, or without one by that of the job's first limit.
    Judging judging(const std::optional<DifferenceFormula>& formula) const;
    /// What the next trial would belong to; null if there is none.
    const RecordEntry* nextStandard() const;
    /// Throws Failure if there is none.
    void requireStandard() const;

    /// Call for each connection, before the first measurement over it.
    void use(const Connection& connection);
    /// "calibrated 2 h 10 min ago", or that this is not known and what the instrument says.
    std::string calibrationText() const;

    /// Appends a measurement to the job; it gets its name from there. Warns once when the calibration
    /// has become too old.
    /// \param averaged,spread as in JobMeasurement.
    const JobMeasurement& add(RecordEntry entry, std::uint32_t averaged = 1,
                              const std::optional<double>& spread = std::nullopt);
    /// The standard that a trial of the job belongs to; null without one.
    const RecordEntry* standardOf(const JobMeasurement& trial) const;

  private:
    void warnOfAge();
    std::optional<double> calibrationAge() const;
    std::string nameFor(const Job& job, bool isStandard) const;
    std::optional<std::uint64_t> standardFor(const Job& job) const;

    const RecordingOptions& options_;
    bool isNumbered_;
    std::ostream& notes_;
    JobFile file_;
    InstrumentIdentity instrument_;
    std::string state_;  ///< what the instrument itself says of its calibration
    bool isWarned_ = false;
};

/// {"number", "name", "standard" of a trial, "calibrationAge" in seconds if known}.
JsonObject jsonOf(const JobMeasurement& measurement, const Job& job);

}  // namespace cqtool
