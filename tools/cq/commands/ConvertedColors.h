#pragma once

#include <span>
#include <string>
#include <vector>

#include "color/ColorInput.h"
#include "color/ColorMath.h"
#include "commands/ColorFigures.h"
#include "terminal/Palette.h"

namespace cqtool {

/// A colour in every requested space, under one illuminant and observer.
struct ConvertedColor {
    std::string name;
    Viewing viewing;
    std::vector<ColorData> values;  ///< one for each space
    Rgb rgb;
    std::vector<Figure> figures;  ///< the same ones of every colour
};

/// \param color 31 numbers.
Spectrum spectrumOf(const InputColor& color);

ColorData colorOf(const InputColor& color, InputKind kind, std::uint32_t space,
                  const Viewing& viewing);

using Spaces = std::span<const SpaceInfo* const>;

/// Every colour under every viewing, grouped by colour.
std::vector<ConvertedColor> convert(const std::vector<InputColor>& colors, InputKind kind,
                                    Spaces spaces, std::span<const Viewing> viewings);

/// For people: aligned columns, with a swatch or the hexadecimal colour.
std::string tableOf(std::span<const ConvertedColor> colors, Spaces spaces, const Palette& palette);

/// With a header: name, illuminant, observer, then a column for each component, such as lab.L, and
/// the hexadecimal colour. Full precision.
std::string csvOf(std::span<const ConvertedColor> colors, Spaces spaces);

/// An array of {"name", "illuminant", "observer", each space by its name, "hex"}.
std::string jsonOf(std::span<const ConvertedColor> colors, Spaces spaces);

}  // namespace cqtool
