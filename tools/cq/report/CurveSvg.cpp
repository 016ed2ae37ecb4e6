#include "report/CurveSvg.h"

#include <algorithm>

#include "report/Svg.h"
#include "text/Numbers.h"

namespace cqtool {
namespace {

// In the drawing's own units; the page scales it.
constexpr double kWidth = 280;
constexpr double kHeight = 124;
constexpr double kLeft = 26;
constexpr double kRight = kWidth - 8;
constexpr double kTop = 8;
constexpr double kBottom = kHeight - 18;
constexpr int kWavelengthTick = 100;

double placeOf(int nanometres) {
    return kLeft + (kRight - kLeft) * (nanometres - kFirstWavelength) /
                       (kLastWavelength - kFirstWavelength);
}

double heightOf(double value, double top) {
    return kBottom - (kBottom - kTop) * std::clamp(value / top, 0.0, 1.0);
}

std::string scales(double top) {
    std::string svg;
    for (const double value : {0.0, top / 2, top}) {
        const double y = heightOf(value, top);
        svg += svgLine("grid", kLeft, y, kRight, y);
        svg += svgLabel(kLeft - 4, y + 3, "end", fixed(value, top < 1 ? 2 : 1));
    }
    for (int nanometres = kFirstWavelength; nanometres <= kLastWavelength;
         nanometres += kWavelengthTick) {
        const bool isLast = nanometres == kLastWavelength;
        svg += svgLabel(placeOf(nanometres), kBottom + 13, isLast ? "end" : "middle",
                        std::to_string(nanometres) + (isLast ? " nm" : ""));
    }
    return svg;
}

std::string curve(const SvgCurve& curve, double top) {
    std::string points;
    for (std::size_t i = 0; i < curve.spectrum.size(); ++i) {
        points += (i == 0 ? "" : " ") + fixed(placeOf(wavelength(i)), 1) + "," +
                  fixed(heightOf(curve.spectrum[i], top), 2);
    }
    return "<polyline class=\"" + curve.cssClass + "\" points=\"" + points + "\"/>";
}

}  // namespace

std::string curveSvg(const std::vector<SvgCurve>& curves, const std::string& description) {
    double top = 0;
    for (const SvgCurve& curve : curves) {
        top = std::max(top, scaleTop(curve.spectrum));
    }
    std::string svg = scales(top);
    for (const SvgCurve& one : curves) {
        svg += curve(one, top);
    }
    return svgDrawing("", kWidth, kHeight, description, svg);
}

}  // namespace cqtool
