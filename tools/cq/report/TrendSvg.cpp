#include "report/TrendSvg.h"

#include <algorithm>
#include <cmath>

#include "report/Html.h"
#include "report/Svg.h"
#include "text/Numbers.h"

namespace cqtool {
namespace {

// In the drawing's own units; the page scales it.
constexpr double kTrendWidth = 280;
constexpr double kTrendHeight = 124;
constexpr double kTrendLeft = 30;
constexpr double kTrendRight = kTrendWidth - 8;
constexpr double kTrendTop = 8;
constexpr double kTrendBottom = kTrendHeight - 18;
constexpr double kTrendRoom = 1.08;
constexpr double kLeastSpan = 0.1;
/// Beyond it marks would cover each other: only those that do not pass stand out from the line.
constexpr std::size_t kMostMarks = 80;

class TrendDrawing {
  public:
    TrendDrawing(const std::vector<TrendPoint>& points, const std::vector<TrendLine>& lines)
        : points_(points), lines_(lines) {
        double least = 0;
        double most = kLeastSpan;
        const auto widen = [&](double value) {
            least = std::min(least, kTrendRoom * value);
            most = std::max(most, kTrendRoom * value);
        };
        for (const TrendPoint& point : points) {
            widen(point.value);
        }
        for (const TrendLine& line : lines) {
            widen(line.value);
        }
        step_ = roundStep((most - least) / 4);
        least_ = step_ * std::floor(least / step_);
        most_ = step_ * std::ceil(most / step_);
    }

    std::string svg() const {
        std::string content = axes();
        for (const TrendLine& line : lines_) {
            const double height = y(line.value);
            content += "<polyline class=\"limit" + std::string(line.isWarning ? " warning" : "") +
                       "\" points=\"" + fixed(kTrendLeft, 1) + "," + fixed(height, 1) + " " +
                       fixed(kTrendRight, 1) + "," + fixed(height, 1) + "\"/>";
        }
        std::string places;
        for (std::size_t i = 0; i < points_.size(); ++i) {
            places += (i == 0 ? "" : " ") + fixed(x(i), 1) + "," + fixed(y(points_[i].value), 1);
        }
        content += "<polyline class=\"course\" points=\"" + places + "\"/>";
        for (std::size_t i = 0; i < points_.size(); ++i) {
            const bool isPlain = points_[i].grade.value_or(Grade::pass) == Grade::pass;
            if (points_.size() <= kMostMarks || !isPlain) {
                content += mark(points_[i], x(i), y(points_[i].value));
            }
        }
        return content;
    }

  private:
    double x(std::size_t index) const {
        const double share = points_.size() < 2 ? 0.5
                                                : static_cast<double>(index) /
                                                      static_cast<double>(points_.size() - 1);
        return kTrendLeft + 8 + (kTrendRight - kTrendLeft - 16) * share;
    }

    double y(double value) const {
        return kTrendBottom - (kTrendBottom - kTrendTop) * (value - least_) / (most_ - least_);
    }

    std::string axes() const {
        std::string svg;
        const auto last = static_cast<int>(std::lround((most_ - least_) / step_));
        for (int i = 0; i <= last; ++i) {
            const double value = least_ + i * step_;
            svg += svgLine(std::abs(value) < step_ / 2 ? "axis" : "grid", kTrendLeft, y(value),
                           kTrendRight, y(value));
            svg += svgLabel(kTrendLeft - 4, y(value) + 3, "end",
                            fixed(value, step_ < 0.1 ? 2
                                         : step_ < 1 ? 1
                                                     : 0));
        }
        svg += svgLabel(x(0), kTrendBottom + 13, "start", "trial 1");
        return svg + svgLabel(x(points_.size() - 1), kTrendBottom + 13, "end",
                              std::to_string(points_.size()));
    }

    static std::string mark(const TrendPoint& point, double x, double y) {
        const Grade grade = point.grade.value_or(Grade::pass);
        const auto at = [&](double dx, double dy) {
            return fixed(x + dx, 1) + " " + fixed(y + dy, 1);
        };
        const std::string shape =
            grade == Grade::pass
                ? "<circle cx=\"" + fixed(x, 1) + "\" cy=\"" + fixed(y, 1) + "\" r=\"2.6\"/>"
            : grade == Grade::warn
                ? "<path d=\"M" + at(0, -4) + "L" + at(3.6, 2.6) + "L" + at(-3.6, 2.6) + "Z\"/>"
                : "<path d=\"M" + at(-3, -3) + "L" + at(3, 3) + "M" + at(-3, 3) + "L" + at(3, -3) +
                      "\"/>";
        const std::string cssClass = point.grade ? nameOf(grade) : "plain";
        return "<g class=\"point " + cssClass + "\">" +
               element("title", escaped(point.name) + ": " + fixed(point.value, 2)) + shape +
               "</g>";
    }

    const std::vector<TrendPoint>& points_;
    const std::vector<TrendLine>& lines_;
    double step_ = 1;
    double least_ = 0;
    double most_ = 1;
};

}  // namespace

std::string trendSvg(const std::vector<TrendPoint>& points, const std::vector<TrendLine>& lines,
                     const std::string& description) {
    return svgDrawing("trend", kTrendWidth, kTrendHeight, description,
                      TrendDrawing(points, lines).svg());
}

}  // namespace cqtool
