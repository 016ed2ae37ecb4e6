#include "color/Difference.h"

#include <cmath>

#include "color/Ciede2000.h"

namespace ovk::color {
namespace {

double length(double x, double y, double z) {
    return std::sqrt(x * x + y * y + z * z);
}

/// 2 sqrt(C0 C1) sin(dh / 2) without an angle: the sine of half an angle follows from the angle's
/// sine or, where that says little, from its cosine.
double hueDifference(const Lab& standard, const Lab& trial, double chromaProduct) {
    const double cosine = standard.a * trial.a + standard.b * trial.b;
    const double sine = senseOfTurn(standard, trial);
    if (chromaProduct == 0.0) {
        return 0.0;
    }
    if (cosine >= 0.0) {
        return sine / std::sqrt((chromaProduct + cosine) / 2.0);
    }
    const double size = std::sqrt(2.0 * (chromaProduct - cosine));
    return sine < 0.0 ? -size : size;
}

double cie76(const Components& by) {
    return length(by.lightness, by.a, by.b);
}

/// CIE 116-1995.
double cie94(const Factors& k, double k1, double k2, const Lab& standard, const Components& by) {
    const double chroma = standard.chroma();
    const double sC = 1.0 + k1 * chroma;
    const double sH = 1.0 + k2 * chroma;
    return length(by.lightness / k[0], by.chroma / (k[1] * sC), by.hue / (k[2] * sH));
}

/// ISO 105-J03, BS 6923. The hue of a neutral standard does not count: F is 0.
double cmc(const Factors& k, const Lab& standard, const Components& by) {
    const double l = standard.lightness;
    const double chroma = standard.chroma();
    const double h = standard.hue();
    const double sL = l < 16.0 ? 0.511 : 0.040975 * l / (1.0 + 0.01765 * l);
    const double sC = 0.0638 * chroma / (1.0 + 0.0131 * chroma) + 0.638;
    const double fourth = chroma * chroma * chroma * chroma;
    const double f = std::sqrt(fourth / (fourth + 1900.0));
    const double t = h >= radians(164.0) && h <= radians(345.0)
                         ? 0.56 + std::fabs(0.2 * std::cos(h + radians(168.0)))
                         : 0.36 + std::fabs(0.4 * std::cos(h + radians(35.0)));
    const double sH = sC * (f * t + 1.0 - f);
    return length(by.lightness / (k[0] * sL), by.chroma / (k[1] * sC), by.hue / sH);
}

/// What DIN99 and its successor DIN99o have in common.
struct Din99 {
    double lightnessScale;
    double lightnessSlope;
    double angle;
    double squeeze;
    double chromaSlope;
    double chromaDivisor;

    /// L99, a99, b99; those of a neutral are 0.
    Lab operator()(const Lab& lab) const {
        const double cosine = std::cos(angle);
        const double sine = std::sin(angle);
        const double e = lab.a * cosine + lab.b * sine;
        const double f = squeeze * (lab.b * cosine - lab.a * sine);
        const double g = std::sqrt(e * e + f * f);
        const double ratio = g == 0.0 ? 0.0 : std::log(1.0 + chromaSlope * g) / chromaDivisor / g;
        return {lightnessScale * std::log(1.0 + lightnessSlope * lab.lightness), ratio * e,
                ratio * f};
    }

    double difference(const Lab& standard, const Lab& trial) const {
        const Lab one = (*this)(standard);
        const Lab other = (*this)(trial);
        return length(other.lightness - one.lightness, other.a - one.a, other.b - one.b);
    }
};

constexpr Din99 kDin99{105.51, 0.0158, radians(16.0), 0.7, 0.045, 0.045};     // DIN 6176:2001
constexpr Din99 kDin99o{303.67, 0.0039, radians(26.0), 0.83, 0.075, 0.0435};  // DIN 6176:2018

}  // namespace

Components componentsOf(const Lab& standard, const Lab& trial) {
    const double standardChroma = standard.chroma();
    const double trialChroma = trial.chroma();
    return {trial.lightness - standard.lightness, trial.a - standard.a, trial.b - standard.b,
            trialChroma - standardChroma,
            hueDifference(standard, trial, standardChroma * trialChroma)};
}

Factors usualFactors(DifferenceFormula formula) {
    const bool isTextile =
        formula == DifferenceFormula::cmc || formula == DifferenceFormula::cie94Textile;
    return {isTextile ? 2.0 : 1.0, 1.0, 1.0};
}

double difference(DifferenceFormula formula, const Factors& factors, const Lab& standard,
                  const Lab& trial, const Components& components) {
    switch (formula) {
        case DifferenceFormula::cie76:
            break;
        case DifferenceFormula::cie94:
            return cie94(factors, 0.045, 0.015, standard, components);
        case DifferenceFormula::cie94Textile:
            return cie94(factors, 0.048, 0.014, standard, components);
        case DifferenceFormula::cmc:
            return cmc(factors, standard, components);
        case DifferenceFormula::ciede2000:
            return ciede2000(factors, standard, trial);
        case DifferenceFormula::din99:
            return kDin99.difference(standard, trial);
        case DifferenceFormula::din99o:
            return kDin99o.difference(standard, trial);
    }
    return cie76(components);
}

}  // namespace ovk::color
