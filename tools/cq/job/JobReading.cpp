#include <algorithm>
#include <array>
#include <utility>

#include "exchange/Formats.h"
#include "Failure.h"
#include "job/JobEvents.h"
#include "text/JsonMembers.h"
#include "text/Time.h"

namespace cqtool {
namespace {

/// What of a measurement is as in other exported JSON.
constexpr std::array<const char*, 5> kEntryMembers{"kind", "name", "spectrum", "lab", "record"};

InstrumentIdentity instrumentOf(const JsonMembers& event) {
    const Json* instrument = event.find("instrument");
    if (instrument == nullptr) {
        return {};
    }
    const JsonMembers reader(*instrument);
    return {reader.text("model"), reader.text("serial"), reader.text("firmware")};
}

JobMeasurement* found(Job& job, std::uint64_t number) {
    return const_cast<JobMeasurement*>(std::as_const(job).find(number));
}

JobMeasurement& namedBy(Job& job, const JsonMembers& event) {
    const auto number = event.count("measurement");
    JobMeasurement* measurement = found(job, number.value_or(0));
    if (measurement == nullptr) {
        throw Failure("its \"measurement\" is not the number of one before it");
    }
    return *measurement;
}

void applyCreated(Job& job, const JsonMembers& event, const std::string& time) {
    if (event.text("format") != kJobFormat) {
        throw Failure(std::string("its \"format\" is not \"") + kJobFormat + '"');
    }
    if (event.count("version") != kJobFormatVersion) {
        throw Failure("it is a job of another version of cq than this one");
    }
    Job created;
    created.title = event.text("title");
    created.operatorName = event.text("operator");
    created.created = time;
    for (const std::string& name : event.texts("illuminants")) {
        created.viewing.illuminants.push_back(illuminantNamed(name));
    }
    if (created.viewing.illuminants.empty()) {
        throw Failure("it names no illuminants");
    }
    created.viewing.observer = observerNamed(std::to_string(event.count("observer").value_or(0)));
    created.limits = limitsOf(event.texts("tolerances"), event.texts("warnings"));
    checkLimits(created.limits, created.viewing);
    job = std::move(created);
}

RecordEntry entryOfEvent(const Job& job, const JsonMembers& event) {
    Json members{{"time", event.text("measured")}};
    for (const char* name : kEntryMembers) {
        if (const Json* member = event.find(name)) {
            members[name] = *member;
        }
    }
    if (event.text("kind").empty() || event.text("name").empty()) {
        throw Failure("it lacks \"kind\" or \"name\"");
    }
    RecordEntry entry = entryOfJson(members, "the measurement", 0, {});
    entry.lab = labOf(entry, job.viewing.primary());
    entry.index = static_cast<std::uint32_t>(std::count_if(
        job.measurements.begin(), job.measurements.end(),
        [&](const auto& before) { return before.entry.isStandard == entry.isStandard; }));
    return entry;
}

void applyMeasurement(Job& job, const JsonMembers& event, std::uint64_t number,
                      const std::string& time) {
    JobMeasurement measurement;
    measurement.number = number;
    measurement.time = time;
    measurement.entry = entryOfEvent(job, event);
    measurement.instrument = instrumentOf(event);
    measurement.calibrationAge = event.number("calibrationAge");
    measurement.averaged = static_cast<std::uint32_t>(event.count("averaged").value_or(1));
    measurement.spread = event.number("spread");
    measurement.program = event.text("program");
    measurement.standard = event.count("standard");
    if (measurement.standard) {
        const JobMeasurement* standard = job.find(*measurement.standard);
        if (measurement.entry.isStandard || standard == nullptr || !standard->entry.isStandard) {
            throw Failure("its \"standard\" is not the number of a standard before it");
        }
    }
    job.measurements.push_back(std::move(measurement));
}

void applyTolerances(Job& job, const JsonMembers& event) {
    auto limits = limitsOf(event.texts("tolerances"), event.texts("warnings"));
    checkLimits(limits, job.viewing);
    job.limits = std::move(limits);
}

void applyRemark(Job& job, const JsonMembers& event, std::uint64_t number,
                 const std::string& time) {
    const std::string text = event.text("text");
    if (event.find("measurement") != nullptr) {
        namedBy(job, event).remarks.push_back(text);
    } else {
        job.remarks.push_back({number, time, text});
    }
}

void applyNamed(Job& job, const JsonMembers& event, std::uint64_t number, const std::string& time) {
    const std::string name = event.text("event");
    if ((name == "created") != (job.lastNumber == 0)) {
        throw Failure(job.lastNumber == 0 ? "it does not create a job"
                                          : "the job is there already");
    }
    if (name == "created") {
        applyCreated(job, event, time);
    } else if (name == "measurement") {
        applyMeasurement(job, event, number, time);
    } else if (name == "struckOut") {
        JobMeasurement& measurement = namedBy(job, event);
        if (measurement.struckOutBy) {
            throw Failure("its measurement is struck out already");
        }
        measurement.struckOutBy = number;
    } else if (name == "tolerances") {
        applyTolerances(job, event);
    } else if (name == "remark") {
        applyRemark(job, event, number, time);
    } else if (name == "calibrated") {
        job.calibrations.push_back({instrumentOf(event), time});
    } else {
        throw Failure("there is no event '" + name + "'");
    }
}

}  // namespace

void applyEvent(Job& job, const Json& event) {
    try {
        const JsonMembers reader(event);
        const std::uint64_t number = job.lastNumber + 1;
        if (reader.count("number") != number) {
            throw Failure("its \"number\" is not " + std::to_string(number));
        }
        const std::string time = reader.text("time");
        if (!secondsOf(time)) {
            throw Failure("its \"time\" is not as in 2026-05-01T10:00:00Z");
        }
        applyNamed(job, reader, number, time);
        job.lastNumber = number;
    } catch (const UsageError& error) {
        throw Failure(error.what());
    }
}

}  // namespace cqtool
