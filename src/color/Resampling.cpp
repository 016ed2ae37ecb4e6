#include "color/Resampling.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string>

namespace ovk::color {
namespace {

constexpr std::size_t kMinSplinePoints = 3;

struct Knot {
    double x;
    double y;
    double secondDerivative;
};

/// The cubic between two knots of a spline, prepared for any number of evaluations.
class CubicSegment {
  public:
    CubicSegment(const Knot& left, const Knot& right) : left_(left), right_(right) {
        const double h = right.x - left.x;
        const double difference = right.secondDerivative - left.secondDerivative;
        sixfoldLength_ = 6.0 * h;
        slope_ = (right.y - left.y) / h - difference * h / 6.0;
        offset_ = right.y - right.secondDerivative * (h * h) / 6.0 - right.x * slope_;
    }

    double operator()(double x) const {
        const double toRight = right_.x - x;
        const double fromLeft = x - left_.x;
        return left_.secondDerivative * (toRight * toRight * toRight) / sixfoldLength_ +
               right_.secondDerivative * (fromLeft * fromLeft * fromLeft) / sixfoldLength_ +
               slope_ * x + offset_;
    }

    double end() const { return right_.x; }

  private:
    Knot left_;
    Knot right_;
    double sixfoldLength_;
    double slope_;
    double offset_;
};

/// A natural cubic spline through equidistant points, held as its second derivatives M; see for
/// instance Stoer and Bulirsch, Introduction to Numerical Analysis, section 2.4.
class NaturalSpline {
  public:
    explicit NaturalSpline(const SpectralGrid& points) : points_(points) {
        if (points.count < kMinSplinePoints || points.count > kMaxSplinePoints) {
            throw std::invalid_argument("a spline needs " + std::to_string(kMinSplinePoints) +
                                        " to " + std::to_string(kMaxSplinePoints) +
                                        " points, not " + std::to_string(points.count));
        }
        solve();
    }

    CubicSegment segment(std::uint32_t interval) const {
        return CubicSegment(knot(interval), knot(interval + 1));
    }

  private:
    /// Thomas algorithm. Interior rows read kLower M(i-1) + kDiagonal M(i) + kUpper M(i+1) = right
    /// side; equal steps h make h / (h + h), the factor beside the diagonal, exactly a half. The
    /// end rows set M to 0.
    void solve() {
        constexpr double kLower = 0.5;
        constexpr double kDiagonal = 2.0;
        constexpr double kUpper = 0.5;
        const double h = points_.step;
        const std::uint32_t last = points_.count - std::uint32_t{1};

        std::array<double, kMaxSplinePoints> eliminatedUpper;
        eliminatedUpper[0] = 0.0;
        secondDerivatives_[0] = 0.0;
        double slope = (value(1) - value(0)) / h;
        for (std::uint32_t i = 1; i < last; ++i) {
            const double nextSlope = (value(i + 1) - value(i)) / h;
            const double rightSide = 6.0 * (nextSlope - slope) / (h + h);
            const double pivot = kDiagonal - kLower * eliminatedUpper[i - 1];
            eliminatedUpper[i] = kUpper / pivot;
            secondDerivatives_[i] = (rightSide - kLower * secondDerivatives_[i - 1]) / pivot;
            slope = nextSlope;
        }
        secondDerivatives_[last] = 0.0;
        for (std::uint32_t i = last; i-- > 0;) {
            secondDerivatives_[i] -= eliminatedUpper[i] * secondDerivatives_[i + 1];
        }
    }

    double value(std::uint32_t index) const { return points_.samples[index]; }

    Knot knot(std::uint32_t index) const {
        return {static_cast<double>(points_.wavelength(index)), value(index),
                secondDerivatives_[index]};
    }

    SpectralGrid points_;
    std::array<double, kMaxSplinePoints> secondDerivatives_;
};

}  // namespace

void resampleHeld(const SpectralGrid& source, std::uint16_t start, std::uint16_t step,
                  std::span<float> target) {
    auto sample = target.begin();
    std::uint32_t wavelength = start;
    for (; sample != target.end() && wavelength < source.start; ++sample) {
        *sample = source.samples[0];
        wavelength += step;
    }
    const std::uint32_t last = source.count - std::uint32_t{1};
    const std::uint32_t stride = step / source.step;
    std::uint32_t index = (wavelength - source.start) / source.step;
    for (; sample != target.end(); ++sample) {
        *sample = source.samples[std::min(index, last)];
        index += stride;
    }
}

void resampleSpline(const SpectralGrid& source, std::uint16_t start, std::uint16_t step,
                    std::span<float> target) {
    if (start == source.start && step == source.step && target.size() == source.count) {
        std::copy_n(source.samples, source.count, target.begin());
        return;
    }
    const NaturalSpline spline(source);
    const std::uint32_t lastInterval = source.count - std::uint32_t{2};
    std::uint32_t interval = 0;
    CubicSegment segment = spline.segment(interval);
    double x = start;
    for (float& sample : target) {
        // Wavelengths rise, so the interval is found by walking; a knot belongs to the one before.
        while (x > segment.end() && interval < lastInterval) {
            segment = spline.segment(++interval);
        }
        sample = static_cast<float>(segment(x));
        x += step;
    }
}

}  // namespace ovk::color
