#include "report/ReportJson.h"

#include <algorithm>

#include "report/Statistics.h"
#include "text/Numbers.h"

namespace cqtool {
namespace {

Json pairJson(const Job& job, const ReportTrial& trial, const ColorPair& pair,
              const DifferenceFormula& otherwise) {
    const CqColorDifference all = compare({}, pair.standard, pair.trial);
    Json json{{"illuminant", illuminantName(pair.illuminant)},
              {"observer", observerDegrees(job.viewing.observer)},
              {"lab", colorJson(pair.trial, colorSpace(ColorSpaceLab))},
              {"deltaL", shortest(all.deltaL)},
              {"deltaA", shortest(all.deltaA)},
              {"deltaB", shortest(all.deltaB)},
              {"deltaC", shortest(all.deltaC)},
              {"deltaH", shortest(all.deltaH)}};
    for (const DifferenceFormula& formula : judgedFormulas(job, otherwise)) {
        json["deltaE"][nameOf(formula)] =
            *valueOf({Quantity::Kind::difference, formula}, trial, pair.illuminant);
    }
    if (pair.metamerism) {
        json["metamerism"] = *pair.metamerism;
    }
    return json;
}

Json trialJson(const Job& job, const ReportGroup& group, const ReportTrial& trial,
               const DifferenceFormula& otherwise) {
    const JobMeasurement& measurement = *trial.measurement;
    const ColorPair& first = trial.pairs.front();
    Json json{{"index", measurement.entry.index},
              {"name", measurement.entry.name},
              {"standard", group.standard->entry.name},
              {"deltaEab", difference({}, first.standard, first.trial)},
              {"deltaE00", difference({CqDeltaE2000, {}}, first.standard, first.trial)},
              {"deltaE",
               difference(judgedFormulas(job, otherwise).front(), first.standard, first.trial)}};
    json["struckOut"] = measurement.struckOutBy.has_value();
    if (trial.verdict) {
        json["passed"] = trial.verdict->grade != Grade::fail;
        json["verdict"] = verdictJson(*trial.verdict);
    }
    json["differences"] = Json::array();
    for (const ColorPair& pair : trial.pairs) {
        json["differences"].push_back(pairJson(job, trial, pair, otherwise));
    }
    return json;
}

Json statisticsJson(const QuantityStatistics& one) {
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

Json reportJson(const Job& job, const std::vector<ReportGroup>& groups, const ReportView& view) {
    Json trials = Json::array();
    Json statistics = Json::array();
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
            Json json{{"standard", group.standard->entry.name}};
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
    Json tolerances = Json::array();
    for (const Limit& limit : job.limits) {
        tolerances.push_back({{"limit", textOf(limit)}, {"isWarning", limit.isWarning}});
    }
    Json json{{"formula", nameOf(formula)},
              {"tolerances", std::move(tolerances)},
              {"trials", std::move(trials)},
              {"statistics", std::move(statistics)}};
    json["mean"] = overall.count == 0 ? Json() : Json(overall.mean);
    json["largest"] = overall.count == 0 ? Json() : Json(overall.largest);
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
