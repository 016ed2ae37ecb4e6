#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>

#include "color/Difference.h"
#include "color/GreyScale.h"
#include "color/Index.h"
#include "color/Metamerism.h"
#include "color/Strength.h"
#include "cqapi/CQApi.h"

namespace {

using namespace ovk::color;

static_assert(static_cast<std::uint32_t>(DifferenceFormula::din99o) == CqDeltaE99o &&
              static_cast<std::uint32_t>(Index::yellownessD1925) == CqYellownessD1925 &&
              static_cast<std::uint32_t>(StrengthMethod::weighted) == CqStrengthWeighted &&
              static_cast<std::uint32_t>(MetamerismCorrection::additive) == CqMetamerismAdditive);

// Packed records may lie anywhere in the caller's memory: copied, not read or written in place.

Tristimulus numbersAt(const ColorData* color) {
    float values[3];
    std::memcpy(values, color, sizeof values);
    return {values[0], values[1], values[2]};
}

Lab labAt(const ColorData* color) {
    const auto [lightness, a, b] = numbersAt(color);
    return {lightness, a, b};
}

Spectrum spectrumAt(const float* samples) {
    return Spectrum{samples, kSpectrumSamples};
}

/// Nothing and not-a-number stand for what is not defined.
std::uint32_t store(const std::optional<double>& result, float* value) {
    if (!result || std::isnan(*result)) {
        return CQ_INVALID_PARAMETER;
    }
    *value = static_cast<float>(*result);
    return CQ_NO_ERROR;
}

/// How many factors a formula reads: kL, kC and kH; l and c; none.
std::size_t factorsRead(DifferenceFormula formula) {
    switch (formula) {
        case DifferenceFormula::cie94:
        case DifferenceFormula::cie94Textile:
        case DifferenceFormula::ciede2000:
            return 3;
        case DifferenceFormula::cmc:
            return 2;
        default:
            return 0;
    }
}

/// Whether each of the factors that are read is above 0.
bool areAbove0(const float* factors, std::size_t count) {
    return std::all_of(factors, factors + count, [](float factor) { return factor > 0.0f; });
}

Factors factorsFor(DifferenceFormula formula, const float* given) {
    Factors factors = usualFactors(formula);
    if (given != nullptr) {
        std::copy_n(given, factorsRead(formula), factors.begin());
    }
    return factors;
}

}  // namespace

uint32_t cqGetColorDifference(uint32_t formula, const float* factors, const ColorData* standardLab,
                              const ColorData* trialLab, CqColorDifference* difference) {
    if (formula >= kDifferenceFormulas) {
        return CQ_INVALID_PARAMETER;
    }
    const DifferenceFormula by{formula};
    if (factors != nullptr && !areAbove0(factors, factorsRead(by))) {
        return CQ_INVALID_PARAMETER;
    }
    const Lab standard = labAt(standardLab);
    const Lab trial = labAt(trialLab);
    const Components components = componentsOf(standard, trial);
    const CqColorDifference result{static_cast<float>(ovk::color::difference(
                                       by, factorsFor(by, factors), standard, trial, components)),
                                   static_cast<float>(components.lightness),
                                   static_cast<float>(components.a),
                                   static_cast<float>(components.b),
                                   static_cast<float>(components.chroma),
                                   static_cast<float>(components.hue)};
    std::memcpy(difference, &result, sizeof result);
    return CQ_NO_ERROR;
}

uint32_t cqGetColorIndex(uint32_t index, int32_t illuminant, int32_t observer, const ColorData* xyz,
                         float* value, bool* isWithinLimits) {
    const Viewing viewing{illuminant, observer};
    if (index >= kIndices || !viewing.isKnown()) {
        return CQ_INVALID_PARAMETER;
    }
    if (!isDefinedFor(Index{index}, viewing)) {
        return CQ_NOT_SUPPORTED;
    }
    const auto result = indexOf(Index{index}, viewing, numbersAt(xyz));
    if (!result) {
        return CQ_INVALID_PARAMETER;
    }
    *value = static_cast<float>(result->value);
    if (isWithinLimits != nullptr) {
        *isWithinLimits = result->isWithinLimits;
    }
    return CQ_NO_ERROR;
}

uint32_t cqGetColorStrength(uint32_t method, int32_t illuminant, int32_t observer,
                            const float* standard, const float* trial, float* percent) {
    const Viewing viewing{illuminant, observer};
    if (method >= kStrengthMethods || !viewing.isKnown()) {
        return CQ_INVALID_PARAMETER;
    }
    return store(
        strengthOf(StrengthMethod{method}, viewing, spectrumAt(standard), spectrumAt(trial)),
        percent);
}

uint32_t cqGetMetamerismIndex(uint32_t formula, uint32_t correction, int32_t referenceIlluminant,
                              int32_t testIlluminant, int32_t observer, const float* standard,
                              const float* trial, float* index) {
    const Viewing reference{referenceIlluminant, observer};
    const Viewing test{testIlluminant, observer};
    if (formula >= kDifferenceFormulas || correction >= kMetamerismCorrections ||
        !reference.isKnown() || !test.isKnown()) {
        return CQ_INVALID_PARAMETER;
    }
    return store(metamerismIndex(DifferenceFormula{formula}, MetamerismCorrection{correction},
                                 reference, test, spectrumAt(standard), spectrumAt(trial)),
                 index);
}

uint32_t cqGetGreyScaleRating(uint32_t scale, const ColorData* standardLab,
                              const ColorData* trialLab, float* rating, float* step) {
    if (scale != CqGreyScaleChange && scale != CqGreyScaleStaining) {
        return CQ_INVALID_PARAMETER;
    }
    const auto rate = scale == CqGreyScaleChange ? ratingOfChange : ratingOfStaining;
    const GreyScaleRating result = rate(labAt(standardLab), labAt(trialLab));
    const std::uint32_t code = store(result.rating, rating);
    if (code == CQ_NO_ERROR) {
        *step = static_cast<float>(result.step);
    }
    return code;
}
