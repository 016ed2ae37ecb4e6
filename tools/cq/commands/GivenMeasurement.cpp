#include "commands/GivenMeasurement.h"

#include <algorithm>
#include <filesystem>
#include <vector>

#include "Failure.h"
#include "job/JobFile.h"
#include "system/Files.h"
#include "text/Text.h"

namespace cqtool {
namespace {

struct MeasurementPlace {
    std::string file;
    std::string which;  ///< a name or an index; empty: the only one
};

bool isFileThere(const std::string& name) {
    std::error_code ignored;
    return name == kStandardStream || std::filesystem::exists(name, ignored);
}

/// File names and names may hold colons: the longest file that is there counts.
MeasurementPlace measurementPlaceIn(const std::string& text) {
    if (isFileThere(text)) {
        return {text, {}};
    }
    for (std::size_t colon = text.rfind(':'); colon != std::string::npos && colon > 0;
         colon = text.rfind(':', colon - 1)) {
        if (isFileThere(text.substr(0, colon))) {
            return {text.substr(0, colon), text.substr(colon + 1)};
        }
    }
    throw Failure("there is no file " + text,
                  "give a file that cq reads, with FILE:NAME or FILE:INDEX for one of several");
}

/// A job's measurements that are not struck out, by the numbers of their events.
RecordSet setOfJob(const std::string& file) {
    const JobFile opened(file);
    RecordSet set;
    set.viewing = opened.job().viewing.primary();
    for (const JobMeasurement& measurement : opened.job().measurements) {
        if (!measurement.struckOutBy) {
            set.entries.push_back(measurement.entry);
            set.entries.back().index = static_cast<std::uint32_t>(measurement.number);
        }
    }
    return set;
}

RecordSet setIn(const std::string& file, const ReadOptions& options) {
    if (lowerCase(std::filesystem::path(file).extension().string()) == ".cqjob") {
        return setOfJob(file);
    }
    return loadRecords(file, exchangeFormatFor(file), options);
}

std::vector<const RecordEntry*> entriesFor(const RecordSet& set, const std::string& which) {
    std::vector<const RecordEntry*> found;
    const auto collect = [&](auto predicate) {
        for (const RecordEntry& entry : set.entries) {
            if (predicate(entry)) {
                found.push_back(&entry);
            }
        }
    };
    if (which.empty()) {
        collect([](const RecordEntry&) { return true; });
    } else {
        collect([&](const RecordEntry& entry) { return entry.name == which; });
    }
    if (found.empty()) {
        collect([&](const RecordEntry& entry) { return std::to_string(entry.index) == which; });
    }
    const auto isStandard = [](const RecordEntry* entry) { return entry->isStandard; };
    if (found.size() > 1 && std::count_if(found.begin(), found.end(), isStandard) == 1) {
        found = {*std::find_if(found.begin(), found.end(), isStandard)};
    }
    return found;
}

/// The first names, for a message.
std::string namesIn(const RecordSet& set) {
    constexpr std::size_t kMostNames = 8;
    std::vector<std::string> names;
    for (const RecordEntry& entry : set.entries) {
        names.push_back(names.size() < kMostNames ? entry.name : "...");
        if (names.size() > kMostNames) {
            break;
        }
    }
    return names.empty() ? "it is empty" : "it has " + joined(names, ", ");
}

const RecordEntry& theOneOf(const RecordSet& set, const MeasurementPlace& place) {
    const auto found = entriesFor(set, place.which);
    if (found.size() == 1) {
        return *found.front();
    }
    if (found.empty()) {
        throw Failure(place.which.empty()
                          ? place.file + " holds no measurements"
                          : place.file + " has no measurement called '" + place.which + "'",
                      namesIn(set));
    }
    throw Failure(place.file + " holds " + counted(found.size(), "measurements") +
                      (place.which.empty() ? "" : " called '" + place.which + "'") +
                      "; one is needed",
                  "name it: " + place.file + ":NAME or " + place.file + ":INDEX; " + namesIn(set));
}

}  // namespace

RecordEntry measurementIn(const std::string& text, const Viewing& viewing,
                          const ReadOptions& options) {
    const MeasurementPlace place = measurementPlaceIn(text);
    const RecordSet set = setIn(place.file, options);
    RecordEntry entry = theOneOf(set, place);
    std::string problem;
    if (!entry.spectrum && entry.record) {
        const ReadSpectrum read = readSpectrum(*entry.record, options.layout);
        entry.spectrum = read.spectrum;
        problem = ": " + read.problem;
    }
    const auto color = labOf(entry, viewing, set.viewing);
    if (!color && entry.lab) {
        throw Failure(place.file + ": '" + entry.name + "' has L*, a*, b* for " +
                          viewingName(set.viewing) + ", not for " + viewingName(viewing) +
                          ", and no spectrum to compute them from",
                      "give a file with spectra, or look under " + viewingName(set.viewing));
    }
    if (!color) {
        throw Failure(place.file + ": '" + entry.name + "' has no spectrum" + problem,
                      "give another file, or the --record-layout of the instrument's records");
    }
    entry.lab = color;
    return entry;
}

}  // namespace cqtool
