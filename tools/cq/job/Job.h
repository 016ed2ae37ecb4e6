#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "exchange/Exchange.h"
#include "job/Limit.h"

namespace cqtool {

/// The instrument that a measurement is from; empty texts are unknown.
struct InstrumentIdentity {
    std::string model;
    std::string serial;
    std::string firmware;

    bool operator==(const InstrumentIdentity&) const = default;
};

InstrumentIdentity identityOf(const CqDeviceInfo& info);

/// A standard or a trial in a job.
struct JobMeasurement {
    std::uint64_t number = 0;  ///< of its event
    std::string time;          ///< when it was written, as nowText() writes it
    RecordEntry entry;         ///< its index counts standards, or trials, from 0
    InstrumentIdentity instrument;
    std::optional<double> calibrationAge;   ///< seconds between calibration and measurement
    std::uint32_t averaged = 1;             ///< of how many measurements it is the average
    std::optional<double> spread;           ///< the largest ΔE*ab of one of them from the average
    std::string program;                    ///< "cq 2.0.0"
    std::optional<std::uint64_t> standard;  ///< of a trial: the number of what it is compared with
    std::optional<std::uint64_t> struckOutBy;  ///< the number of the event
    std::vector<std::string> remarks;
};

/// When an instrument was calibrated.
struct JobCalibration {
    InstrumentIdentity instrument;
    std::string time;  ///< as nowText() writes it
};

struct JobRemark {
    std::uint64_t number = 0;
    std::string time;
    std::string text;
};

/// What the events of a job's file add up to.
struct Job {
    std::string title;
    std::string operatorName;
    std::string created;  ///< when, as nowText() writes it
    JudgedViewing viewing;
    std::vector<Limit> limits;                 ///< the current ones, those for warnings among them
    std::vector<JobMeasurement> measurements;  ///< in order, struck-out ones, too
    std::vector<JobRemark> remarks;            ///< of the job as a whole
    std::vector<JobCalibration> calibrations;  ///< in order
    std::uint64_t lastNumber = 0;

    /// The measurement of this event; null if there is none.
    const JobMeasurement* find(std::uint64_t number) const;
    /// A standard by its name, the last one that is not struck out; null if there is none.
    const JobMeasurement* standardNamed(const std::string& name) const;
    /// What a trial without --standard belongs to: the last standard that is not struck out; null
    /// before there is one.
    const JobMeasurement* currentStandard() const;
    /// The last measurement that is not struck out; null if there is none.
    const JobMeasurement* last() const;
    /// The name for the next one without --name: "standard 3", "trial 12".
    std::string nextName(bool isStandard) const;

    /// What a trial is compared with; null for a standard, and for a trial whose standard there is
    /// none or is struck out.
    const JobMeasurement* standardOf(const JobMeasurement& trial) const;

    /// A trial's verdict by the current limits; nothing without limits or without its standard.
    /// Throws Failure as verdictOf().
    std::optional<Verdict> verdictOn(const JobMeasurement& trial) const;
};

}  // namespace cqtool
