#include "color/Resampling.h"

#include <algorithm>

namespace ovk::color {
namespace {

constexpr std::size_t kLast = kSpectrumSamples - 1;

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

/// A natural cubic spline through a spectrum, held as its second derivatives M; see for instance
/// Stoer and Bulirsch, Introduction to Numerical Analysis, section 2.4.
class NaturalSpline {
  public:
    explicit NaturalSpline(Spectrum spectrum) : spectrum_(spectrum) { solve(); }

    CubicSegment segment(std::size_t interval) const {
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
        constexpr double h = kSpectrumStep;

        std::array<double, kSpectrumSamples> eliminatedUpper;
        eliminatedUpper[0] = 0.0;
        secondDerivatives_[0] = 0.0;
        double slope = (value(1) - value(0)) / h;
        for (std::size_t i = 1; i < kLast; ++i) {
            const double nextSlope = (value(i + 1) - value(i)) / h;
            const double rightSide = 6.0 * (nextSlope - slope) / (h + h);
            const double pivot = kDiagonal - kLower * eliminatedUpper[i - 1];
            eliminatedUpper[i] = kUpper / pivot;
            secondDerivatives_[i] = (rightSide - kLower * secondDerivatives_[i - 1]) / pivot;
            slope = nextSlope;
        }
        secondDerivatives_[kLast] = 0.0;
        for (std::size_t i = kLast; i-- > 0;) {
            secondDerivatives_[i] -= eliminatedUpper[i] * secondDerivatives_[i + 1];
        }
    }

    double value(std::size_t index) const { return spectrum_[index]; }

    Knot knot(std::size_t index) const {
        return {static_cast<double>(kSpectrumStart + index * kSpectrumStep), value(index),
                secondDerivatives_[index]};
    }

    Spectrum spectrum_;
    std::array<double, kSpectrumSamples> secondDerivatives_;
};

}  // namespace

std::array<float, kWavelengths10nm> resampleHeld(Spectrum spectrum) {
    constexpr std::size_t kBefore = (kSpectrumStart - kTableStart) / kSpectrumStep;
    std::array<float, kWavelengths10nm> samples;
    const auto start = std::fill_n(samples.begin(), kBefore, spectrum.front());
    std::fill(std::copy(spectrum.begin(), spectrum.end(), start), samples.end(), spectrum.back());
    return samples;
}

std::array<float, kWavelengths5nm> resampleSpline(Spectrum spectrum) {
    constexpr double kStep = 5.0;
    const NaturalSpline spline(spectrum);
    std::array<float, kWavelengths5nm> samples;
    std::size_t interval = 0;
    CubicSegment segment = spline.segment(interval);
    double x = kTableStart;
    for (float& sample : samples) {
        // Wavelengths rise, so the interval is found by walking; a knot belongs to the one before.
        while (x > segment.end() && interval + 1 < kLast) {
            segment = spline.segment(++interval);
        }
        sample = static_cast<float>(segment(x));
        x += kStep;
    }
    return samples;
}

}  // namespace ovk::color
