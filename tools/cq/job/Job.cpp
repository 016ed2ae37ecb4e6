#include "job/Job.h"

#include <algorithm>

#include "text/Text.h"

namespace cqtool {
namespace {

/// The last one for which the predicate holds; null if there is none.
template <typename Predicate>
const JobMeasurement* lastOf(const Job& job, Predicate predicate) {
    const auto last =
        std::find_if(job.measurements.rbegin(), job.measurements.rend(),
                     [&](const JobMeasurement& one) { return !one.struckOutBy && predicate(one); });
    return last == job.measurements.rend() ? nullptr : &*last;
}

}  // namespace

InstrumentIdentity identityOf(const CqDeviceInfo& info) {
    // By convention the third text is the model, the fourth the serial number, the sixth the firmware.
    return {printableText(info.infoText3, sizeof info.infoText3),
            printableText(info.infoText4, sizeof info.infoText4),
            printableText(info.infoText6, sizeof info.infoText6)};
}

const JobMeasurement* Job::find(std::uint64_t number) const {
    const auto place = std::lower_bound(
        measurements.begin(), measurements.end(), number,
        [](const JobMeasurement& one, std::uint64_t wanted) { return one.number < wanted; });
    return place == measurements.end() || place->number != number ? nullptr : &*place;
}

const JobMeasurement* Job::standardNamed(const std::string& name) const {
    return lastOf(*this, [&](const JobMeasurement& one) {
        return one.entry.isStandard && one.entry.name == name;
    });
}

const JobMeasurement* Job::currentStandard() const {
    return lastOf(*this, [](const JobMeasurement& one) { return one.entry.isStandard; });
}

const JobMeasurement* Job::last() const {
    return lastOf(*this, [](const JobMeasurement&) { return true; });
}

std::string Job::nextName(bool isStandard) const {
    const auto ofKind = [&](const JobMeasurement& one) {
        return one.entry.isStandard == isStandard;
    };
    auto count = std::count_if(measurements.begin(), measurements.end(), ofKind);
    for (;;) {
        std::string name = (isStandard ? "standard " : "trial ") + std::to_string(++count);
        if (std::none_of(measurements.begin(), measurements.end(),
                         [&](const JobMeasurement& one) { return one.entry.name == name; })) {
            return name;
        }
    }
}

const JobMeasurement* Job::standardOf(const JobMeasurement& trial) const {
    const JobMeasurement* standard = trial.standard ? find(*trial.standard) : nullptr;
    return standard == nullptr || standard->struckOutBy ? nullptr : standard;
}

std::optional<Verdict> Job::verdictOn(const JobMeasurement& trial) const {
    const JobMeasurement* standard = standardOf(trial);
    if (standard == nullptr || limits.empty()) {
        return std::nullopt;
    }
    return verdictOf(limits, viewing, standard->entry, trial.entry);
}

}  // namespace cqtool
