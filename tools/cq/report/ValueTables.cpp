#include "report/ValueTables.h"

#include <algorithm>

#include "report/Html.h"
#include "text/Numbers.h"

namespace cqtool {
namespace {

/// As many as fit on paper and, moved, on a phone.
constexpr std::size_t kSpectraInTable = 7;
/// Of the column with the names of those that have the largest values.
constexpr const char* kOwnerTitle = "of";
/// Shown as 0.00.
constexpr float kLeastChroma = 0.005F;

std::string headOf(const std::vector<std::string>& titles) {
    std::string cells;
    for (const std::string& title : titles) {
        cells += element("th", title, title == kOwnerTitle ? "name" : "");
    }
    return element("thead", element("tr", cells));
}

std::string spectraTable(const std::vector<const RecordEntry*>& entries) {
    std::vector<std::string> titles{"nm"};
    for (const RecordEntry* entry : entries) {
        titles.push_back(escaped(entry->name));
    }
    std::string rows;
    for (std::size_t i = 0; i < kWavelengthCount; ++i) {
        std::string cells = element("th", std::to_string(wavelength(i)));
        for (const RecordEntry* entry : entries) {
            cells += element("td", fixed((*entry->spectrum)[i], 4));
        }
        rows += element("tr", cells);
    }
    return element("table", headOf(titles) + element("tbody", rows));
}

}  // namespace

std::string colorTable(const Job& job, const RecordEntry& entry) {
    std::string rows;
    for (const std::int32_t illuminant : job.viewing.illuminants) {
        const Viewing viewing{illuminant, job.viewing.observer};
        const auto lab = labOf(entry, viewing, job.viewing.primary());
        if (!lab) {
            continue;
        }
        const ColorData lch = colorOfLab(*lab, ColorSpaceLch, viewing);
        std::string cells = element("th", viewingName(viewing));
        for (const float value : {lab->values[0], lab->values[1], lab->values[2], lch.values[1]}) {
            cells += element("td", fixed(value, 2));
        }
        // A neutral colour has no hue.
        const bool isNeutral = lch.values[1] < kLeastChroma;
        rows += element("tr", cells + element("td", isNeutral ? "–" : fixed(lch.values[2], 1)));
    }
    if (rows.empty()) {
        return element("p", "no plausible spectrum in this record", "values");
    }
    return element("table", headOf({"", "L*", "a*", "b*", "C*", "h°"}) + element("tbody", rows),
                   "color");
}

std::string statisticsTable(const Job& job, const std::vector<ReportTrial>& trials,
                            const ReportView& view) {
    std::string rows;
    for (const QuantityStatistics& one : statisticsOf(job, trials, view.formula)) {
        if (one.values.count < 2) {
            continue;
        }
        const bool hasSeveral = job.viewing.illuminants.size() > 1;
        const auto cell = [&](double value) {
            return element("td", valueText(one.quantity, value));
        };
        rows += element(
            "tr", element("th", symbolInHtml(one.quantity) +
                                    (hasSeveral ? std::string(" ") + illuminantName(one.illuminant)
                                                : std::string())) +
                      cell(one.values.mean) + element("td", fixed(one.values.deviation, 2)) +
                      element("td", fixed(one.values.percentile95, 2)) + cell(one.values.largest) +
                      element("td", escaped(one.largestName), "name"));
    }
    return rows.empty()
               ? rows
               : element("table",
                         headOf({"", "mean", "std. dev.", "95th pct.", "largest", kOwnerTitle}) +
                             element("tbody", rows),
                         "statistics");
}

std::string spectraTables(const std::vector<const RecordEntry*>& entries) {
    std::vector<const RecordEntry*> left;
    std::copy_if(entries.begin(), entries.end(), std::back_inserter(left),
                 [](const RecordEntry* entry) { return entry->spectrum.has_value(); });
    std::string tables;
    for (std::size_t i = 0; i < left.size(); i += kSpectraInTable) {
        const auto begin = left.begin() + static_cast<std::ptrdiff_t>(i);
        const auto end =
            left.begin() + static_cast<std::ptrdiff_t>(std::min(i + kSpectraInTable, left.size()));
        tables += element("div", spectraTable({begin, end}), "wide");
    }
    return tables.empty() ? tables
                          : element("h3", "Reflectance") + element("div", tables, "spectra");
}

}  // namespace cqtool
