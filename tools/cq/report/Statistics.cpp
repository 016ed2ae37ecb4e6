#include "report/Statistics.h"

#include <algorithm>
#include <cmath>

#include "color/DifferenceComponents.h"
#include "report/ReportText.h"

namespace cqtool {
namespace {

constexpr double kPercentile = 0.95;

double percentileOf(std::vector<double> magnitudes) {
    std::sort(magnitudes.begin(), magnitudes.end());
    const double place = kPercentile * static_cast<double>(magnitudes.size() - 1);
    const auto below = static_cast<std::size_t>(place);
    const std::size_t above = std::min(below + 1, magnitudes.size() - 1);
    return magnitudes[below] +
           (place - static_cast<double>(below)) * (magnitudes[above] - magnitudes[below]);
}

/// On exactly this quantity; null if no limit is about it.
const Finding* findingOn(const ReportTrial& trial, const Quantity& quantity,
                         std::int32_t illuminant) {
    const Finding* found = nullptr;
    if (trial.verdict) {
        for (const Finding& finding : trial.verdict->findings) {
            const bool isAboutIt =
                finding.limit.quantity == quantity && finding.illuminant == illuminant;
            found = isAboutIt && (found == nullptr || !finding.isMet) ? &finding : found;
        }
    }
    return found;
}

}  // namespace

Statistics statisticsOf(const std::vector<double>& values) {
    Statistics statistics;
    statistics.count = values.size();
    if (values.empty()) {
        return statistics;
    }
    double squares = 0;  // of the distances from the mean, updated value by value
    std::vector<double> magnitudes;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double distance = values[i] - statistics.mean;
        statistics.mean += distance / static_cast<double>(i + 1);
        squares += distance * (values[i] - statistics.mean);
        magnitudes.push_back(std::abs(values[i]));
        if (magnitudes[i] > magnitudes[statistics.largestAt]) {
            statistics.largestAt = i;
        }
    }
    statistics.largest = values[statistics.largestAt];
    statistics.percentile95 = percentileOf(magnitudes);
    if (values.size() > 1) {
        statistics.deviation = std::sqrt(squares / static_cast<double>(values.size() - 1));
    }
    return statistics;
}

QuantityStatistics statisticsOf(const Quantity& quantity, std::int32_t illuminant,
                                const std::vector<ReportTrial>& trials) {
    std::vector<double> values;
    std::vector<const ReportTrial*> owners;
    for (const ReportTrial& trial : trials) {
        const auto value = trial.isCounted ? valueOf(quantity, trial, illuminant) : std::nullopt;
        if (value) {
            values.push_back(*value);
            owners.push_back(&trial);
        }
    }
    QuantityStatistics result{quantity, illuminant, statisticsOf(values), {}, {}};
    if (!owners.empty()) {
        const ReportTrial& owner = *owners[result.values.largestAt];
        result.largestName = owner.measurement->entry.name;
        result.largestText = valueText(quantity, result.values.largest);
        const Finding* finding = findingOn(owner, quantity, illuminant);
        result.largestText = finding == nullptr ? result.largestText : finding->text;
    }
    return result;
}

std::vector<QuantityStatistics> statisticsOf(const Job& job, const std::vector<ReportTrial>& trials,
                                             const DifferenceFormula& otherwise) {
    std::vector<QuantityStatistics> all;
    const auto add = [&](const Quantity& quantity, std::int32_t illuminant) {
        const bool isThere = std::any_of(all.begin(), all.end(), [&](const auto& one) {
            return one.quantity == quantity && one.illuminant == illuminant;
        });
        if (!isThere) {
            all.push_back(statisticsOf(quantity, illuminant, trials));
        }
    };
    std::vector<Limit> limits = job.limits;
    if (limits.empty()) {
        limits.push_back({{Quantity::Kind::difference, otherwise}, {}, {}, {}, false});
    }
    for (const Limit& limit : limits) {
        for (const std::int32_t illuminant : job.viewing.illuminants) {
            if (limit.illuminant.value_or(illuminant) == illuminant) {
                add(limit.quantity, illuminant);
            }
        }
    }
    for (std::size_t component = 0; component < kDifferenceComponents.size(); ++component) {
        add({Quantity::Kind::component, {}, component}, job.viewing.illuminants.front());
    }
    std::erase_if(all, [](const QuantityStatistics& one) { return one.values.count == 0; });
    return all;
}

TrialCounts countsOf(const Job& job, const std::vector<ReportTrial>& trials) {
    TrialCounts counts;
    for (const ReportTrial& trial : trials) {
        counts.struckOut += trial.measurement->struckOutBy ? 1 : 0;
        if (!trial.isCounted) {
            continue;
        }
        ++counts.counted;
        if (!trial.verdict) {
            counts.notJudged += job.limits.empty() ? 0 : 1;
            continue;
        }
        ++(trial.verdict->grade == Grade::pass   ? counts.passed
           : trial.verdict->grade == Grade::warn ? counts.warned
                                                 : counts.failed);
    }
    return counts;
}

std::vector<ReportTrial> allTrials(const std::vector<ReportGroup>& groups) {
    std::vector<ReportTrial> trials;
    for (const ReportGroup& group : groups) {
        trials.insert(trials.end(), group.trials.begin(), group.trials.end());
    }
    return trials;
}

}  // namespace cqtool
