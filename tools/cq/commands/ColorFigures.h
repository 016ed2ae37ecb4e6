#pragma once

#include <optional>
#include <string>
#include <vector>

#include "color/ColorInput.h"
#include "color/ColorMath.h"

namespace cqtool {

/// What is wanted of colours besides their spaces.
struct FigureRequest {
    std::vector<std::uint32_t> indices;  ///< of CqColorIndex
    std::optional<Spectrum> strengthStandard;
    std::optional<Spectrum> metamerismStandard;
    DifferenceFormula formula;  ///< of the metamerism index
};

/// One such number.
struct Figure {
    std::string group;            ///< "index", "strength" or "metamerism"
    std::string name;             ///< within the group: "whiteness-cie", "sum", "76"
    std::optional<double> value;  ///< nothing where it is not defined
    bool isWithinLimits = true;   ///< of an index's standard
};

/// The number of the index called "whiteness-cie" and so on; throws UsageError for another name.
std::uint32_t colorIndexNamed(const std::string& name);
/// For help texts.
std::string colorIndexNames();

/// The figures of a colour under `viewing`, in the same order for every colour.
/// \param reference what the metamerism index changes from.
std::vector<Figure> figuresOf(const InputColor& color, InputKind kind, const FigureRequest& request,
                              const Viewing& reference, const Viewing& viewing);

}  // namespace cqtool
