#include "commands/MeasurementView.h"

#include "color/ColorJson.h"
#include "text/Numbers.h"
#include "text/Text.h"
#include "text/Time.h"

namespace cqtool {

Measurement MeasurementView::of(const CqMeasurementRecord& record, bool isStandard) const {
    Measurement result;
    result.isStandard = isStandard;
    result.record = record;
    const RecordDetails details = readDetails(record, layout_);
    result.name = details.name;
    result.time = details.time ? timeText(*details.time) : std::string();
    const ReadSpectrum read = readSpectrum(record, layout_);
    result.spectrum = read.spectrum;
    result.problem = read.problem;
    setColors(result);
    return result;
}

Measurement MeasurementView::of(const Spectrum& spectrum, bool isStandard) const {
    Measurement result;
    result.isStandard = isStandard;
    result.spectrum = spectrum;
    setColors(result);
    return result;
}

void MeasurementView::setColors(Measurement& measurement) const {
    if (measurement.spectrum) {
        measurement.lab = colorOfSpectrum(*measurement.spectrum, ColorSpaceLab, viewing_);
        measurement.color = colorOfSpectrum(*measurement.spectrum, space_.number, viewing_);
        measurement.rgb = rgbOfSpectrum(*measurement.spectrum, viewing_);
    }
}

JsonObject MeasurementView::json(const Measurement& measurement) const {
    JsonObject json{{"kind", measurement.kind()},
                    {"illuminant", illuminantName(viewing_.illuminant)},
                    {"observer", observerDegrees(viewing_.observer)}};
    if (!measurement.name.empty()) {
        json["name"] = measurement.name;
    }
    if (!measurement.time.empty()) {
        json["time"] = measurement.time;
    }
    if (measurement.spectrum) {
        json["lab"] = colorJson(measurement.lab, colorSpace(ColorSpaceLab));
        json[space_.name] = colorJson(measurement.color, space_);
        json["hex"] = hexColor(measurement.rgb);
        json["spectrum"] = spectrumJson(*measurement.spectrum);
    } else {
        json["problem"] = measurement.problem;
    }
    if (measurement.record) {
        json["record"] = hexText(measurement.record->bytes, sizeof measurement.record->bytes);
    }
    return json;
}

std::string MeasurementView::values(const Measurement& measurement) const {
    std::string text;
    for (std::size_t i = 0; i < space_.symbols.size(); ++i) {
        text += i == 0 ? "" : "  ";
        text += space_.symbols[i];
        text += ' ' + fixed(measurement.color.values[i], space_.decimals[i]);
    }
    return text;
}

std::string MeasurementView::line(const Measurement& measurement, const Palette& palette) const {
    const std::string swatch = palette.swatch(measurement.rgb, Palette::kSwatchWidth);
    return (swatch.empty() ? hexColor(measurement.rgb) : swatch) + "  " + values(measurement);
}

}  // namespace cqtool
