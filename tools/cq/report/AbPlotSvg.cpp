#include "report/AbPlotSvg.h"

#include <algorithm>
#include <cmath>

#include "report/Html.h"
#include "text/Numbers.h"

namespace cqtool {
namespace {

// In the drawing's own units; the page scales it.
constexpr double kSize = 280;
constexpr double kMargin = 30;
constexpr double kMiddle = kSize / 2;
constexpr double kReach = kMiddle - kMargin;
constexpr int kSteps = 2;  // lines on each side of the centre
constexpr double kRoom = 1.05;

/// The end of the scale: 1, 2 or 5 times a power of ten, beyond everything shown.
double rangeOf(const AbPlot& plot) {
    double most = 0.1;
    const auto widen = [&most](const AbOffset& place) {
        most = std::max({most, std::abs(place[0]), std::abs(place[1])});
    };
    for (const AbMark& mark : plot.marks) {
        widen(mark.place);
    }
    for (const auto& outline : plot.outlines) {
        std::for_each(outline.begin(), outline.end(), widen);
    }
    most *= kRoom;
    const double power = std::pow(10.0, std::floor(std::log10(most)));
    for (const double step : {1.0, 2.0, 5.0}) {
        if (most <= step * power) {
            return step * power;
        }
    }
    return 10 * power;
}

/// Turns a* and b* into coordinates of the drawing.
class Scale {
  public:
    explicit Scale(double range) : range_(range) {}

    double x(double a) const { return kMiddle + kReach * a / range_; }
    double y(double b) const { return kMiddle - kReach * b / range_; }

    std::string axes(const AbPlot& plot) const {
        std::string svg;
        for (int i = -kSteps; i <= kSteps; ++i) {
            const double value = range_ * i / kSteps;
            const char* cssClass = i == 0 ? "axis" : "grid";
            svg += line(cssClass, value, -range_, value, range_);
            svg += line(cssClass, -range_, value, range_, value);
            if (i != 0) {
                svg += label(x(value), kSize - kMargin + 12, "middle", digitsOf(value));
                svg += label(kMargin - 4, y(value) + 3, "end", digitsOf(value));
            }
        }
        svg += label(kSize - 2, kMiddle - 5, "end", plot.horizontal);
        return svg + label(kMiddle, kMargin - 8, "middle", plot.vertical);
    }

    std::string outline(const std::vector<AbOffset>& places) const {
        std::string points;
        for (const AbOffset& place : places) {
            points +=
                (points.empty() ? "" : " ") + fixed(x(place[0]), 2) + "," + fixed(y(place[1]), 2);
        }
        return "<polygon class=\"tolerance\" points=\"" + points + "\"/>";
    }

    std::string mark(const AbMark& mark) const {
        const bool isStandard = mark.cssClass == "standard";
        return "<circle class=\"mark " + mark.cssClass + "\" cx=\"" + fixed(x(mark.place[0]), 2) +
               "\" cy=\"" + fixed(y(mark.place[1]), 2) + "\" r=\"" + (isStandard ? "5" : "3.6") +
               "\" fill=\"" + hexColor(mark.color) + "\">" + element("title", escaped(mark.name)) +
               "</circle>";
    }

  private:
    std::string line(const char* cssClass, double a1, double b1, double a2, double b2) const {
        return "<line class=\"" + std::string(cssClass) + "\" x1=\"" + fixed(x(a1), 1) +
               "\" y1=\"" + fixed(y(b1), 1) + "\" x2=\"" + fixed(x(a2), 1) + "\" y2=\"" +
               fixed(y(b2), 1) + "\"/>";
    }

    static std::string label(double x, double y, const char* anchor, const std::string& text) {
        return "<text x=\"" + fixed(x, 1) + "\" y=\"" + fixed(y, 1) + "\" text-anchor=\"" + anchor +
               "\">" + text + "</text>";
    }

    double range_;
};

}  // namespace

std::string abPlotSvg(const AbPlot& plot, const std::string& description) {
    const Scale scale(rangeOf(plot));
    std::string svg = "<svg class=\"plane\" viewBox=\"0 0 " + fixed(kSize, 0) + " " +
                      fixed(kSize, 0) + "\" role=\"img\" aria-label=\"" + description + "\">" +
                      scale.axes(plot);
    for (const auto& outline : plot.outlines) {
        svg += scale.outline(outline);
    }
    for (const AbMark& mark : plot.marks) {
        svg += scale.mark(mark);
    }
    return svg + "</svg>";
}

}  // namespace cqtool
