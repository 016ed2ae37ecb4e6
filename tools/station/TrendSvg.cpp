#include "TrendSvg.h"

#include <algorithm>
#include <cmath>

#include "report/Html.h"
#include "text/Numbers.h"

namespace station {

using cqtool::fixed;

namespace {

// In the drawing's own units, those of a report's curves; the page scales it.
constexpr double kWidth = 280;
constexpr double kHeight = 124;
constexpr double kLeft = 26;
constexpr double kRight = kWidth - 8;
constexpr double kTop = 16;
constexpr double kBottom = kHeight - 10;

/// The end of the scale: 1, 2 or 5 times a power of ten, not below the value.
double scaleEnd(double value) {
    const double power = std::pow(10.0, std::floor(std::log10(std::max(value, 0.01))));
    for (const double step : {1.0, 2.0, 5.0}) {
        if (value <= step * power) {
            return step * power;
        }
    }
    return 10 * power;
}

std::string line(const char* cssClass, double y) {
    return "<line class=\"" + std::string(cssClass) + "\" x1=\"" + fixed(kLeft, 1) + "\" y1=\"" +
           fixed(y, 1) + "\" x2=\"" + fixed(kRight, 1) + "\" y2=\"" + fixed(y, 1) + "\"/>";
}

std::string text(double x, double y, const char* anchor, const std::string& words) {
    return "<text x=\"" + fixed(x, 1) + "\" y=\"" + fixed(y, 1) + "\" text-anchor=\"" + anchor +
           "\">" + words + "</text>";
}

}  // namespace

std::string trendSvg(const std::vector<TrendPoint>& points, std::optional<double> limit,
                     const std::string& title) {
    double most = limit.value_or(0);
    for (const TrendPoint& point : points) {
        most = std::max(most, point.value);
    }
    const double top = scaleEnd(most);
    const auto heightOf = [&](double value) { return kBottom - (kBottom - kTop) * value / top; };
    const double step =
        (kRight - kLeft) / static_cast<double>(std::max<std::size_t>(points.size(), 2) - 1);

    std::string svg = "<svg class=\"trend\" viewBox=\"0 0 " + fixed(kWidth, 0) + " " +
                      fixed(kHeight, 0) + "\" role=\"img\" aria-label=\"" + title +
                      " of the trials in order\">";
    for (const double value : {0.0, top / 2, top}) {
        svg += line("grid", heightOf(value));
        svg += text(kLeft - 4, heightOf(value) + 3, "end", fixed(value, top < 2 ? 2 : 1));
    }
    svg += text(kLeft, kTop - 6, "start", title);
    if (limit) {
        svg += line("tolerance", heightOf(*limit));
    }
    std::string path;
    std::string marks;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const std::string x = fixed(kLeft + step * static_cast<double>(i), 1);
        const std::string y = fixed(heightOf(points[i].value), 2);
        path += (i == 0 ? "" : " ") + x + "," + y;
        marks += "<circle class=\"mark " +
                 std::string(points[i].hasFailed ? "trial out" : "trial") + "\" cx=\"" + x +
                 "\" cy=\"" + y + "\" r=\"3\">" +
                 cqtool::element("title", cqtool::escaped(points[i].name)) + "</circle>";
    }
    return svg + "<polyline class=\"values\" points=\"" + path + "\"/>" + marks + "</svg>";
}

}  // namespace station
