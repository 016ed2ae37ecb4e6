#include "report/ReportJson.h"

#include <algorithm>

#include "color/ColorJson.h"
#include "color/DifferenceComponents.h"
#include "job/JobEvents.h"
#include "report/Statistics.h"
#include "text/Numbers.h"

namespace cqtool {
namespace {

JsonObject pairJson(const Job& job, const ReportTrial& trial, const ColorPair& pair,
                    const DifferenceFormula& otherwise) {
    const CqColorDifference all = compare({}, pair.standard, pair.trial);
    JsonObject json{{"illuminant", illuminantName(pair.illuminant)},
                    {"observer", observerDegrees(job.viewing.observer)},
                    {"lab", colorJson(pair.trial, colorSpace(ColorSpaceLab))}};
    for (const DifferenceComponent& component : kDifferenceComponents) {
        json[component.key] = shortest(all.*component.value);
    }
    for (const DifferenceFormula& formula : judgedFormulas(job, otherwise)) {
        json["deltaE"][nameOf(formula)] =
            *valueOf({Quantity::Kind::difference, formula}, trial, pair.illuminant);
    }
    if (pair.metamerism) {
        json["metamerism"] = *pair.metamerism;
    }
    return json;
}

JsonObject trialJson(const Job& job, const ReportGroup& group, const ReportTrial& trial,
                     const DifferenceFormula& otherwise) {
    const JobMeasurement& measurement = *trial.measurement;
    const ColorPair& first = trial.pairs.front();
    JsonObject json{{"index", measurement.entry.index},
                    {"name", measurement.entry.name},
                    {"standard", group.standard->entry.name},
                    {"deltaEab", difference({}, first.standard, first.trial)},
                    {"deltaE00", difference({CqDeltaE2000, {}}, first.standard, first.trial)},
                    {"deltaE", difference(judgedFormulas(job, otherwise).front(), first.standard,
                                          first.trial)}};
    json["struckOut"] = measurement.struckOutBy.has_value();
    if (trial.verdict) {
        json["passed"] = trial.verdict->grade != Grade::fail;
        json["verdict"] = verdictJson(*trial.verdict);
    }
    JsonList differences;
    for (const ColorPair& pair : trial.pairs) {
        differences.push_back(pairJson(job, trial, pair, otherwise));
    }
    json["differences"] = std::move(differences);
    return json;
}

JsonObject statisticsJson(const QuantityStatistics& one) {
    return {{"quantity", nameOf(one.quantity)},
            {"illuminant", illuminantName(one.illuminant)},
            {"count", one.values.count},
            {"mean", one.values.mean},
            {"standardDeviation", one.values.deviation},
            {"percentile95", one.values.percentile95},
            {"largest", one.values.largest},
            {"largestName", one.largestName}};
}

}  // namespace

JsonObject reportJson(const Job& job, const std::vector<ReportGroup>& groups,
                      const ReportView& view) {
    JsonList trials;
    JsonList statistics;
    for (const ReportGroup& group : groups) {
        if (group.standard == nullptr) {
            continue;
        }
        for (const ReportTrial& trial : group.trials) {
            if (!trial.pairs.empty()) {
                trials.push_back(trialJson(job, group, trial, view.formula));
            }
        }
        for (const QuantityStatistics& one : statisticsOf(job, group.trials, view.formula)) {
            JsonObject json{{"standard", group.standard->entry.name}};
            json.update(statisticsJson(one));
            statistics.push_back(std::move(json));
        }
    }
    const auto all = allTrials(groups);
    const TrialCounts counts = countsOf(job, all);
    const DifferenceFormula formula = judgedFormulas(job, view.formula).front();
    const Statistics overall =
        statisticsOf({Quantity::Kind::difference, formula}, job.viewing.illuminants.front(), all)
            .values;
    JsonList tolerances;
    for (const Limit& limit : job.limits) {
        tolerances.push_back({{"limit", textOf(limit)}, {"isWarning", limit.isWarning}});
    }
    JsonObject json{{"formula", nameOf(formula)},
                    {"tolerances", std::move(tolerances)},
                    {"trials", std::move(trials)},
                    {"statistics", std::move(statistics)}};
    json["mean"] = overall.count == 0 ? JsonValue() : JsonValue(overall.mean);
    json["largest"] = overall.count == 0 ? JsonValue() : JsonValue(overall.largest);
    json["struckOut"] = counts.struckOut;
    if (!job.limits.empty()) {
        json["passed"] = counts.passed + counts.warned;
        json["warned"] = counts.warned;
        json["failed"] = counts.failed;
        json["notJudged"] = counts.notJudged;
    }
    return json;
}

}  // namespace cqtool
