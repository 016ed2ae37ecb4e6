#include "commands/MeasurementSeries.h"

#include <algorithm>

#include "Failure.h"

namespace cqtool {

Average averageOf(const std::vector<Measurement>& measurements, const MeasurementView& view) {
    std::vector<Spectrum> spectra;
    for (const Measurement& measurement : measurements) {
        if (!measurement.spectrum) {
            throw Failure(measurement.problem, "without all spectra there is no average");
        }
        spectra.push_back(*measurement.spectrum);
    }
    Average average;
    average.measurement = view.of(averageOf(spectra), measurements.front().isStandard);
    average.measurement.name = measurements.front().name;
    average.measurement.time = measurements.back().time;
    for (const Measurement& measurement : measurements) {
        const double difference = deltaEab(average.measurement.lab, measurement.lab);
        average.meanDeltaEab += difference / static_cast<double>(measurements.size());
        average.mostDeltaEab = std::max(average.mostDeltaEab, difference);
    }
    return average;
}

RecordEntry entryOf(const Measurement& average, std::uint32_t index) {
    RecordEntry entry;
    entry.index = index;
    entry.isStandard = average.isStandard;
    entry.name = average.name.empty() ? std::string(average.kind()) + ' ' + std::to_string(index)
                                      : average.name;
    entry.time = average.time;
    entry.spectrum = average.spectrum;
    entry.lab = average.lab;
    return entry;
}

std::string numberedFile(const std::filesystem::path& file, std::uint32_t number,
                         std::uint32_t last) {
    std::string digits = std::to_string(number);
    const std::size_t width = std::to_string(last).size();
    digits.insert(0, width - digits.size(), '0');
    std::filesystem::path name = file.stem();
    name += '-' + digits;
    name += file.extension();
    return (file.parent_path() / name).string();
}

}  // namespace cqtool
