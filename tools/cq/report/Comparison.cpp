#include "report/Comparison.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "color/DifferenceComponents.h"
#include "Failure.h"

namespace cqtool {
namespace {

ReportTrial compared(const Job& job, const JobMeasurement* standard,
                     const JobMeasurement& measurement) {
    ReportTrial trial;
    trial.measurement = &measurement;
    trial.isCounted = standard != nullptr && !standard->struckOutBy && !measurement.struckOutBy;
    if (standard == nullptr) {
        return trial;
    }
    const Viewing primary = job.viewing.primary();
    for (const std::int32_t illuminant : job.viewing.illuminants) {
        const Viewing viewing{illuminant, job.viewing.observer};
        const auto standardLab = labOf(standard->entry, viewing, primary);
        const auto trialLab = labOf(measurement.entry, viewing, primary);
        if (!standardLab || !trialLab) {
            continue;
        }
        ColorPair pair{illuminant, *standardLab, *trialLab, {}};
        if (illuminant != primary.illuminant) {
            pair.metamerism = metamerismOf(standard->entry, measurement.entry, primary.illuminant,
                                           illuminant, job.viewing.observer);
        }
        trial.pairs.push_back(pair);
    }
    if (trial.pairs.empty()) {
        trial.problem = "no plausible spectrum";
        trial.isCounted = false;
        return trial;
    }
    try {
        trial.verdict = trial.isCounted ? job.verdictOn(measurement) : std::nullopt;
    } catch (const Failure& failure) {
        trial.problem = failure.what();
    }
    return trial;
}

}  // namespace

const ColorPair* ReportTrial::under(std::int32_t illuminant) const {
    const auto found =
        std::find_if(pairs.begin(), pairs.end(),
                     [illuminant](const ColorPair& pair) { return pair.illuminant == illuminant; });
    return found == pairs.end() ? nullptr : &*found;
}

std::vector<ReportGroup> reportGroups(const Job& job) {
    std::vector<ReportGroup> groups(1);
    std::map<std::uint64_t, std::size_t> places;
    for (const JobMeasurement& measurement : job.measurements) {
        if (measurement.entry.isStandard) {
            places[measurement.number] = groups.size();
            groups.push_back({&measurement, {}});
        }
    }
    for (const JobMeasurement& measurement : job.measurements) {
        if (measurement.entry.isStandard) {
            continue;
        }
        const auto place = measurement.standard ? places.find(*measurement.standard) : places.end();
        ReportGroup& group = groups[place == places.end() ? 0 : place->second];
        group.trials.push_back(compared(job, group.standard, measurement));
    }
    if (groups.front().trials.empty()) {
        groups.erase(groups.begin());
    }
    return groups;
}

std::optional<double> valueOf(const Quantity& quantity, const ReportTrial& trial,
                              std::int32_t illuminant) {
    const ColorPair* pair = trial.under(illuminant);
    if (pair == nullptr) {
        return std::nullopt;
    }
    if (quantity.kind == Quantity::Kind::metamerism) {
        return pair->metamerism;
    }
    if (quantity.kind == Quantity::Kind::difference) {
        return difference(quantity.formula, pair->standard, pair->trial);
    }
    const CqColorDifference all = compare({}, pair->standard, pair->trial);
    const double value = all.*kDifferenceComponents[quantity.component].value;
    return quantity.isMagnitude ? std::abs(value) : value;
}

bool isSigned(const Quantity& quantity) {
    return quantity.kind == Quantity::Kind::component && !quantity.isMagnitude;
}

std::vector<DifferenceFormula> judgedFormulas(const Job& job, const DifferenceFormula& otherwise) {
    std::vector<DifferenceFormula> formulas;
    for (const Limit& limit : job.limits) {
        const DifferenceFormula& formula = limit.quantity.formula;
        if (limit.quantity.kind == Quantity::Kind::difference &&
            std::find(formulas.begin(), formulas.end(), formula) == formulas.end()) {
            formulas.push_back(formula);
        }
    }
    if (formulas.empty()) {
        formulas.push_back(otherwise);
    }
    return formulas;
}

LeadingQuantity leadingQuantity(const Job& job, const DifferenceFormula& otherwise) {
    const auto& illuminants = job.viewing.illuminants;
    if (job.limits.empty()) {
        return {{Quantity::Kind::difference, otherwise}, illuminants.front()};
    }
    const Limit& first = job.limits.front();
    const bool isOfChange =
        first.quantity.kind == Quantity::Kind::metamerism && illuminants.size() > 1;
    return {first.quantity, first.illuminant.value_or(illuminants[isOfChange ? 1 : 0])};
}

}  // namespace cqtool
