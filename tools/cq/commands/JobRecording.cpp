#include "commands/JobRecording.h"

#include <algorithm>

#include "commands/Options.h"
#include "Failure.h"
#include "instrument/Labels.h"
#include "instrument/Records.h"
#include "job/JobEvents.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr double kSecondsAnHour = 3600;
constexpr double kMostHours = 10'000;

/// "less than a minute", "25 min", "2 h 10 min", "3 days 4 h".
std::string durationText(double seconds) {
    if (seconds < 60) {
        return "less than a minute";
    }
    const auto minutes = static_cast<std::uint64_t>(seconds / 60);
    const std::uint64_t hours = minutes / 60;
    if (hours >= 48) {
        return counted(hours / 24, "days") + ' ' + std::to_string(hours % 24) + " h";
    }
    return (hours > 0 ? std::to_string(hours) + " h " : std::string()) +
           std::to_string(minutes % 60) + " min";
}

/// "white calibrated 1, black calibrated 1", where the labels say which items these are.
std::string calibrationState(const Connection& connection, const CqDeviceInfo& info) {
    const Labels labels = labelsFor({}, info);
    if (labels.empty()) {
        return {};
    }
    std::vector<std::string> texts;
    for (const auto& [number, value] : itemsOf(connection.status())) {
        const std::string label = labelOf(labels, "item" + std::to_string(number));
        if (label.find("calibrated") != std::string::npos) {
            texts.push_back(label + ": " + (value == 0 ? "no" : "yes"));
        }
    }
    return joined(texts, ", ");
}

/// The number in "PREFIX-12"; 0 for other names.
std::uint32_t numberAfter(const std::string& prefix, const std::string& name) {
    constexpr std::size_t kMostDigits = 9;
    const std::string start = prefix + '-';
    const std::string digits = name.starts_with(start) ? name.substr(start.size()) : std::string();
    const bool isNumber = !digits.empty() && digits.size() <= kMostDigits &&
                          digits.find_first_not_of("0123456789") == std::string::npos;
    return isNumber ? static_cast<std::uint32_t>(std::stoul(digits)) : 0;
}

}  // namespace

void addOptions(CommandLine& line, RecordingOptions& options) {
    constexpr const char* kGroup = "Job";
    line.addOption({"--job", "FILE",
                    "Write each measurement to this job, with its illuminants and tolerances; see "
                    "cq job",
                    kGroup},
                   options.file);
    line.addOption(
        {"--name", "NAME", "Its name in the job, of several NAME-1, NAME-2 ... (default: count up)",
         kGroup},
        options.name);
    line.addOption({"--standard", "NAME",
                    "The job's standard that trials belong to (default: its last one)", kGroup},
                   options.standard);
    addNamed(
        line,
        {"--calibration-age", "HOURS", "Warn of a calibration that is older (default 8)", kGroup},
        options.mostCalibrationAge,
        [](const std::string& text) { return numberOf(text, "--calibration-age", 0, kMostHours); });
}

JobRecording::JobRecording(const RecordingOptions& options, bool isNumbered, std::ostream& notes)
    : options_(options), isNumbered_(isNumbered), notes_(notes), file_(options.file) {
    if (!options.standard.empty() && job().standardNamed(options.standard) == nullptr) {
        throw Failure(options.file + " has no standard '" + options.standard + "'",
                      "see what there is with cq job show " + options.file);
    }
}

Judging JobRecording::judging(const std::optional<DifferenceFormula>& formula) const {
    Judging judging{formula.value_or(DifferenceFormula{}), job().viewing, job().limits};
    const auto first = std::find_if(
        judging.limits.begin(), judging.limits.end(),
        [](const Limit& limit) { return limit.quantity.kind == Quantity::Kind::difference; });
    if (!formula && first != judging.limits.end()) {
        judging.formula = first->quantity.formula;
    }
    return judging;
}

const RecordEntry* JobRecording::nextStandard() const {
    const auto number = standardFor(job());
    return number ? &job().find(*number)->entry : nullptr;
}

void JobRecording::requireStandard() const {
    if (nextStandard() == nullptr) {
        throw Failure(options_.file + " has no standard to compare a trial with",
                      "measure one: cq measure standard --job " + options_.file +
                          "; or take one from a file: cq job standard " + options_.file + " FILE");
    }
}

void JobRecording::use(const Connection& connection) {
    const CqDeviceInfo info = connection.deviceInfo();
    instrument_ = identityOf(info);
    state_ = calibrationAge() ? std::string() : calibrationState(connection, info);
    isWarned_ = false;
}

std::string JobRecording::calibrationText() const {
    const auto age = calibrationAge();
    return age ? "calibrated " + durationText(*age) + " ago"
               : "calibration of unknown age, as the job has none of this instrument" +
                     (state_.empty() ? std::string() : " (" + state_ + ")");
}

void JobRecording::warnOfAge() {
    const auto age = calibrationAge();
    if (!isWarned_ && age && *age > options_.mostCalibrationAge * kSecondsAnHour) {
        isWarned_ = true;
        const std::string file = shown(options_.file);
        notes_ << "cq: the calibration is " << durationText(*age) << " old, more than "
               << digitsOf(options_.mostCalibrationAge) << " h\n  Try: cq calibrate white --job "
               << file << ", then cq calibrate black --job " << file << '\n';
    }
}

std::optional<double> JobRecording::calibrationAge() const {
    return file_.calibrationAgeOf(instrument_);
}

std::string JobRecording::nameFor(const Job& job, bool isStandard) const {
    if (options_.name.empty()) {
        return job.nextName(isStandard);
    }
    if (!isNumbered_) {
        return options_.name;
    }
    std::uint32_t last = 0;
    for (const JobMeasurement& measurement : job.measurements) {
        last = std::max(last, numberAfter(options_.name, measurement.entry.name));
    }
    return options_.name + '-' + std::to_string(last + 1);
}

std::optional<std::uint64_t> JobRecording::standardFor(const Job& job) const {
    const JobMeasurement* standard =
        options_.standard.empty() ? job.currentStandard() : job.standardNamed(options_.standard);
    return standard == nullptr ? std::nullopt : std::optional(standard->number);
}

const JobMeasurement& JobRecording::add(RecordEntry entry, std::uint32_t averaged,
                                        const std::optional<double>& spread) {
    file_.refresh();
    JobMeasurement measurement;
    measurement.entry = std::move(entry);
    measurement.instrument = instrument_;
    measurement.calibrationAge = calibrationAge();
    measurement.averaged = averaged;
    measurement.spread = spread;
    measurement.program = "cq " CQAPI_VERSION_STRING;
    const std::uint64_t number = file_.append([&](const Job& job) {
        measurement.entry.name = nameFor(job, measurement.entry.isStandard);
        if (!measurement.entry.isStandard) {
            measurement.standard = standardFor(job);
        }
        return measurementEvent(measurement);
    });
    if (!file_.repair().empty()) {
        notes_ << "cq: " << file_.repair() << '\n';
    }
    warnOfAge();
    return *job().find(number);
}

const RecordEntry* JobRecording::standardOf(const JobMeasurement& trial) const {
    const JobMeasurement* standard = job().standardOf(trial);
    return standard == nullptr ? nullptr : &standard->entry;
}

JsonObject jsonOf(const JobMeasurement& measurement, const Job& job) {
    JsonObject json{{"number", measurement.number}, {"name", measurement.entry.name}};
    if (const JobMeasurement* standard = job.standardOf(measurement)) {
        json["standard"] = standard->entry.name;
    }
    if (measurement.calibrationAge) {
        json["calibrationAge"] = *measurement.calibrationAge;
    }
    return json;
}

}  // namespace cqtool
