#include "report/AbPlotSvg.h"

#include <algorithm>
#include <cmath>

#include "report/Html.h"
#include "report/Svg.h"
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
    return roundStep(kRoom * most);
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
                svg += svgLabel(x(value), kSize - kMargin + 12, "middle", digitsOf(value));
                svg += svgLabel(kMargin - 4, y(value) + 3, "end", digitsOf(value));
            }
        }
        svg += svgLabel(kSize - 2, kMiddle - 5, "end", plot.horizontal);
        return svg + svgLabel(kMiddle, kMargin - 8, "middle", plot.vertical);
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
        return svgLine(cssClass, x(a1), y(b1), x(a2), y(b2));
    }

    double range_;
};

}  // namespace

std::string abPlotSvg(const AbPlot& plot, const std::string& description) {
    const Scale scale(rangeOf(plot));
    std::string svg = scale.axes(plot);
    for (const auto& outline : plot.outlines) {
        svg += scale.outline(outline);
    }
    for (const AbMark& mark : plot.marks) {
        svg += scale.mark(mark);
    }
    return svgDrawing("plane", kSize, kSize, description, svg);
}

}  // namespace cqtool
