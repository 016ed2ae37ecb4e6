#include "commands/ColorFigures.h"

#include <algorithm>
#include <iterator>

#include "commands/ConvertedColors.h"
#include "Failure.h"
#include "ResultText.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

// Indexed by CqColorIndex and by CqStrengthMethod.
constexpr const char* kIndices[] = {"whiteness-cie", "tint-cie",        "whiteness-e313",
                                    "tint-e313",     "yellowness-e313", "yellowness-d1925"};
constexpr const char* kStrengthMethods[] = {"single", "sum", "weighted"};

/// Nothing for what the library calls not defined.
std::optional<double> unlessUndefined(std::uint32_t code, float value) {
    if (code == CQ_INVALID_PARAMETER || code == CQ_NOT_SUPPORTED) {
        return std::nullopt;
    }
    check(code, Operation::computeColor);
    return shortest(value);
}

Figure indexOf(std::uint32_t index, const ColorData& xyz, const Viewing& viewing) {
    float value = 0;
    bool isWithinLimits = true;
    const std::uint32_t code =
        cqGetColorIndex(index, viewing.illuminant, viewing.observer, &xyz, &value, &isWithinLimits);
    return {"index", kIndices[index], unlessUndefined(code, value), isWithinLimits};
}

Figure strengthOf(std::uint32_t method, const Spectrum& standard, const Spectrum& trial,
                  const Viewing& viewing) {
    float percent = 0;
    const std::uint32_t code = cqGetColorStrength(method, viewing.illuminant, viewing.observer,
                                                  standard.data(), trial.data(), &percent);
    return {"strength", kStrengthMethods[method], unlessUndefined(code, percent)};
}

Figure metamerismOf(const DifferenceFormula& formula, const Spectrum& standard,
                    const Spectrum& trial, const Viewing& reference, const Viewing& test) {
    float index = 0;
    const std::uint32_t code =
        cqGetMetamerismIndex(formula.number, CqMetamerismMultiplicative, reference.illuminant,
                             test.illuminant, test.observer, standard.data(), trial.data(), &index);
    return {"metamerism", nameOf(formula), unlessUndefined(code, index)};
}

}  // namespace

std::uint32_t colorIndexNamed(const std::string& name) {
    const auto found = std::find(std::begin(kIndices), std::end(kIndices), lowerCase(name));
    if (found == std::end(kIndices)) {
        throw UsageError("no index is called '" + name + "'; there are: " + colorIndexNames());
    }
    return static_cast<std::uint32_t>(found - kIndices);
}

std::string colorIndexNames() {
    return joined({std::begin(kIndices), std::end(kIndices)}, ", ");
}

std::vector<Figure> figuresOf(const InputColor& color, InputKind kind, const FigureRequest& request,
                              const Viewing& reference, const Viewing& viewing) {
    std::vector<Figure> figures;
    for (const std::uint32_t index : request.indices) {
        figures.push_back(indexOf(index, colorOf(color, kind, ColorSpaceXyz, viewing), viewing));
    }
    for (std::uint32_t method = 0; request.strengthStandard && method < std::size(kStrengthMethods);
         ++method) {
        figures.push_back(
            strengthOf(method, *request.strengthStandard, spectrumOf(color), viewing));
    }
    if (request.metamerismStandard) {
        figures.push_back(metamerismOf(request.formula, *request.metamerismStandard,
                                       spectrumOf(color), reference, viewing));
    }
    return figures;
}

}  // namespace cqtool
