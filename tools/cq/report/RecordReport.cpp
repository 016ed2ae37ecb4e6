#include "report/RecordReport.h"

#include <algorithm>

#include "Failure.h"
#include "report/JobPage.h"
#include "text/Text.h"
#include "text/Time.h"

namespace cqtool {
namespace {

JobMeasurement measurementOf(const RecordSet& set, const RecordEntry& entry, std::uint64_t number) {
    JobMeasurement measurement;
    measurement.number = number;
    measurement.entry = entry;
    measurement.instrument = {set.instrument, set.serial, {}};
    return measurement;
}

}  // namespace

std::vector<TrialGroup> groupsOf(const RecordSet& set) {
    std::vector<TrialGroup> groups;
    for (const RecordEntry& entry : set.entries) {
        if (entry.isStandard) {
            groups.push_back({entry, {}});
            continue;
        }
        if (groups.empty()) {
            groups.emplace_back();
        }
        groups.back().trials.push_back(entry);
    }
    return groups;
}

std::vector<TrialGroup> groupsAgainst(const std::vector<RecordEntry>& standards,
                                      const RecordSet& set, const std::string& source) {
    if (standards.size() == 1) {
        return {{standards.front(), set.entries}};
    }
    if (standards.size() != set.entries.size()) {
        throw Failure(source + " has " + counted(standards.size(), "standards") + " for " +
                          counted(set.entries.size(), "measurements"),
                      "give a file with one standard, or with as many as there are measurements");
    }
    std::vector<TrialGroup> groups;
    for (std::size_t i = 0; i < standards.size(); ++i) {
        groups.push_back({standards[i], {set.entries[i]}});
    }
    return groups;
}

Job jobOf(const RecordSet& set, const std::vector<TrialGroup>& groups) {
    Job job;
    job.title = set.title.empty() ? "Measurements" : set.title;
    job.created = set.time;
    job.viewing = {{set.viewing.illuminant}, set.viewing.observer};
    for (const TrialGroup& group : groups) {
        std::optional<std::uint64_t> standard;
        if (group.standard) {
            standard = ++job.lastNumber;
            job.measurements.push_back(measurementOf(set, *group.standard, *standard));
            job.measurements.back().entry.isStandard = true;
        }
        for (const RecordEntry& entry : group.trials) {
            job.measurements.push_back(measurementOf(set, entry, ++job.lastNumber));
            job.measurements.back().entry.isStandard = false;
            job.measurements.back().standard = standard;
        }
    }
    return job;
}

RecordSet recordSetOf(const Job& job) {
    RecordSet set;
    set.title = job.title;
    set.time = nowText();
    set.viewing = job.viewing.primary();
    const auto add = [&](const JobMeasurement& measurement) {
        if (measurement.struckOutBy) {
            return;
        }
        RecordEntry entry = measurement.entry;
        entry.lab = labOf(entry, set.viewing, set.viewing);
        entry.time = entry.time.empty() ? measurement.time : entry.time;
        if (set.instrument.empty()) {
            set.instrument = measurement.instrument.model;
            set.serial = measurement.instrument.serial;
        }
        set.entries.push_back(std::move(entry));
    };
    for (const ReportGroup& group : reportGroups(job)) {
        if (group.standard != nullptr) {
            add(*group.standard);
        }
        for (const ReportTrial& trial : group.trials) {
            add(*trial.measurement);
        }
    }
    return set;
}

std::string recordReport(const RecordSet& set) {
    const Job job = jobOf(set, groupsOf(set));
    return jobPage(job, reportGroups(job), {});
}

}  // namespace cqtool
