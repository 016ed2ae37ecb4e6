#include "job/JobEvents.h"

#include "color/ColorJson.h"
#include "text/Text.h"

namespace cqtool {
namespace {

JsonObject instrumentJson(const InstrumentIdentity& instrument) {
    return {{"model", instrument.model},
            {"serial", instrument.serial},
            {"firmware", instrument.firmware}};
}

JsonList limitTexts(const std::vector<Limit>& limits, bool isWarning) {
    JsonList texts;
    for (const Limit& limit : limits) {
        if (limit.isWarning == isWarning) {
            texts.push_back(textOf(limit));
        }
    }
    return texts;
}

}  // namespace

JsonObject verdictJson(const Verdict& verdict) {
    JsonList findings;
    for (const Finding& finding : verdict.findings) {
        findings.push_back({{"limit", textOf(finding.limit)},
                            {"isWarning", finding.limit.isWarning},
                            {"illuminant", illuminantName(finding.illuminant)},
                            {"value", finding.value},
                            {"isMet", finding.isMet}});
    }
    return {{"grade", nameOf(verdict.grade)}, {"findings", std::move(findings)}};
}

JsonObject createdEvent(const Job& job) {
    JsonList illuminants;
    for (const std::int32_t illuminant : job.viewing.illuminants) {
        illuminants.push_back(illuminantName(illuminant));
    }
    return {{"event", "created"},
            {"format", kJobFormat},
            {"version", kJobFormatVersion},
            {"title", job.title},
            {"operator", job.operatorName},
            {"illuminants", std::move(illuminants)},
            {"observer", observerDegrees(job.viewing.observer)},
            {"tolerances", limitTexts(job.limits, false)},
            {"warnings", limitTexts(job.limits, true)},
            {"program", std::string("cq ") + CQAPI_VERSION_STRING}};
}

JsonObject measurementEvent(const JobMeasurement& measurement) {
    const RecordEntry& entry = measurement.entry;
    JsonObject event{{"event", "measurement"}, {"kind", entry.kind()}, {"name", entry.name}};
    if (measurement.standard) {
        event["standard"] = *measurement.standard;
    }
    if (!entry.time.empty()) {
        event["measured"] = entry.time;
    }
    if (entry.spectrum) {
        event["spectrum"] = spectrumJson(*entry.spectrum);
    } else if (entry.lab) {
        event["lab"] = colorJson(*entry.lab, colorSpace(ColorSpaceLab));
    }
    if (entry.record) {
        event["record"] = hexText(entry.record->bytes, sizeof entry.record->bytes);
    }
    if (measurement.averaged > 1) {
        event["averaged"] = measurement.averaged;
    }
    if (measurement.spread) {
        event["spread"] = *measurement.spread;
    }
    if (measurement.instrument != InstrumentIdentity{}) {
        event["instrument"] = instrumentJson(measurement.instrument);
    }
    if (measurement.calibrationAge) {
        event["calibrationAge"] = *measurement.calibrationAge;
    }
    event["program"] = measurement.program.empty() ? std::string("cq ") + CQAPI_VERSION_STRING
                                                   : measurement.program;
    return event;
}

JsonObject struckOutEvent(std::uint64_t number) {
    return {{"event", "struckOut"}, {"measurement", number}};
}

JsonObject tolerancesEvent(const std::vector<Limit>& limits) {
    return {{"event", "tolerances"},
            {"tolerances", limitTexts(limits, false)},
            {"warnings", limitTexts(limits, true)}};
}

JsonObject remarkEvent(const std::string& text, std::optional<std::uint64_t> number) {
    JsonObject event{{"event", "remark"}, {"text", text}};
    if (number) {
        event["measurement"] = *number;
    }
    return event;
}

JsonObject calibratedEvent(const InstrumentIdentity& instrument, const std::string& target) {
    return {
        {"event", "calibrated"}, {"target", target}, {"instrument", instrumentJson(instrument)}};
}

}  // namespace cqtool
