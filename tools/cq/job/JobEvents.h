#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "job/Job.h"
#include "text/JsonForward.h"
#include "text/JsonObject.h"

namespace cqtool {

// What the first event says of the file's form.
constexpr const char* kJobFormat = "cq job";
constexpr std::uint64_t kJobFormatVersion = 1;

/// For JSON: {"grade": "pass", "findings": [{"limit": "dE00<=1", "illuminant": "D65", ...}]}.
JsonObject verdictJson(const Verdict& verdict);

// The events, without number and time, which JobFile::append() gives them. Of a measurement L*, a*, b*
// are written only if there is no spectrum; they are for the job's primary viewing.
JsonObject createdEvent(const Job& job);
JsonObject measurementEvent(const JobMeasurement& measurement);
JsonObject struckOutEvent(std::uint64_t number);
JsonObject tolerancesEvent(const std::vector<Limit>& limits);
/// \param number of the measurement that it is about; nothing: of the job.
JsonObject remarkEvent(const std::string& text, std::optional<std::uint64_t> number);
/// \param target white or black.
JsonObject calibratedEvent(const InstrumentIdentity& instrument, const std::string& target);

/// Applies one event, in the form that JobFile writes.
/// Throws Failure, saying what is wrong with it; then the job is as before.
void applyEvent(Job& job, const Json& event);

}  // namespace cqtool
