#include "report/Svg.h"

#include <cmath>

#include "text/Numbers.h"

namespace cqtool {

double roundStep(double value) {
    const double power = std::pow(10.0, std::floor(std::log10(value)));
    for (const double step : {1.0, 2.0, 5.0}) {
        if (value <= step * power) {
            return step * power;
        }
    }
    return 10 * power;
}

std::string svgLine(const char* cssClass, double x1, double y1, double x2, double y2) {
    return "<line class=\"" + std::string(cssClass) + "\" x1=\"" + fixed(x1, 1) + "\" y1=\"" +
           fixed(y1, 1) + "\" x2=\"" + fixed(x2, 1) + "\" y2=\"" + fixed(y2, 1) + "\"/>";
}

std::string svgLabel(double x, double y, const char* anchor, const std::string& text) {
    return "<text x=\"" + fixed(x, 1) + "\" y=\"" + fixed(y, 1) + "\" text-anchor=\"" + anchor +
           "\">" + text + "</text>";
}

std::string svgDrawing(const std::string& cssClass, double width, double height,
                       const std::string& description, const std::string& content) {
    return "<svg " + (cssClass.empty() ? "" : "class=\"" + cssClass + "\" ") + "viewBox=\"0 0 " +
           fixed(width, 0) + " " + fixed(height, 0) + "\" role=\"img\" aria-label=\"" +
           description + "\">" + content + "</svg>";
}

}  // namespace cqtool
