#include "commands/ConvertedColors.h"

#include <algorithm>
#include <sstream>

#include "colour/ColorJson.h"
#include "text/Numbers.h"
#include "text/Text.h"
#include "text/TextTable.h"

namespace cqtool {
namespace {

constexpr std::size_t kMostWidth = 120;

ColorData colorOf(const InputColor& input, InputKind kind, std::uint32_t space,
                  const Viewing& viewing) {
    if (kind == InputKind::spectrum) {
        Spectrum spectrum;
        for (std::size_t i = 0; i < spectrum.size(); ++i) {
            spectrum[i] = static_cast<float>(input.values[i]);
        }
        return colorOfSpectrum(spectrum, space, viewing);
    }
    const ColorData triple{{static_cast<float>(input.values[0]),
                            static_cast<float>(input.values[1]),
                            static_cast<float>(input.values[2])}};
    return kind == InputKind::xyz ? colorOfXyz(triple, space, viewing)
                                  : colorOfLab(triple, space, viewing);
}

/// The colours in some of the spaces.
std::string blockOf(std::span<const ConvertedColor> colors, Spaces spaces, std::size_t first,
                    std::size_t count, const Palette& palette) {
    std::vector<TextTable::Column> columns{{"name", TextTable::Align::left},
                                           {"for", TextTable::Align::left},
                                           {"", TextTable::Align::left}};
    for (std::size_t i = first; i < first + count; ++i) {
        for (const char* symbol : spaces[i]->symbols) {
            columns.push_back({symbol});
        }
    }
    std::vector<TextTable::Row> rows;
    TextTable table(std::move(columns));
    for (const ConvertedColor& color : colors) {
        const std::string swatch = palette.swatch(color.rgb, Palette::kSwatchWidth);
        TextTable::Row row{color.name, viewingName(color.viewing),
                           swatch.empty() ? hexColor(color.rgb) : swatch};
        for (std::size_t i = first; i < first + count; ++i) {
            for (std::size_t k = 0; k < 3; ++k) {
                row.push_back(fixed(color.values[i].values[k], spaces[i]->decimals[k]));
            }
        }
        table.fit(row);
        rows.push_back(std::move(row));
    }
    std::string text = table.titles() + '\n';
    for (const TextTable::Row& row : rows) {
        text += table.line(row) + '\n';
    }
    return text;
}

/// Of the widest line.
std::size_t widthOf(const std::string& text) {
    std::size_t width = 0;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        width = std::max(width, displayWidth(line));
    }
    return width;
}

}  // namespace

std::vector<ConvertedColor> convert(const std::vector<InputColor>& colors, InputKind kind,
                                    Spaces spaces, std::span<const Viewing> viewings) {
    std::vector<ConvertedColor> result;
    for (const InputColor& color : colors) {
        for (const Viewing& viewing : viewings) {
            ConvertedColor converted{color.name, viewing, {}, {}};
            for (const SpaceInfo* space : spaces) {
                converted.values.push_back(colorOf(color, kind, space->number, viewing));
            }
            converted.rgb = toRgb(colorOf(color, kind, ColorSpaceSrgb, viewing));
            result.push_back(std::move(converted));
        }
    }
    return result;
}

std::string tableOf(std::span<const ConvertedColor> colors, Spaces spaces, const Palette& palette) {
    std::string text = blockOf(colors, spaces, 0, spaces.size(), palette);
    if (widthOf(text) <= kMostWidth) {
        return text;
    }
    // Too wide for a screen: as many spaces side by side as fit, the others below.
    text.clear();
    for (std::size_t first = 0; first < spaces.size();) {
        std::size_t count = 1;
        std::string block = blockOf(colors, spaces, first, count, palette);
        while (first + count < spaces.size()) {
            const std::string wider = blockOf(colors, spaces, first, count + 1, palette);
            if (widthOf(wider) > kMostWidth) {
                break;
            }
            block = wider;
            ++count;
        }
        text += (first == 0 ? "" : "\n") + block;
        first += count;
    }
    return text;
}

std::string csvOf(std::span<const ConvertedColor> colors, Spaces spaces) {
    std::string text = "name,illuminant,observer";
    for (const SpaceInfo* space : spaces) {
        for (const char* key : space->keys) {
            text += std::string(",") + space->name + "." + key;
        }
    }
    text += ",hex\n";
    for (const ConvertedColor& color : colors) {
        text += csvField(color.name) + "," + illuminantName(color.viewing.illuminant) + "," +
                std::to_string(observerDegrees(color.viewing.observer));
        for (const ColorData& values : color.values) {
            for (const float value : values.values) {
                text += "," + digitsOf(shortest(value));
            }
        }
        text += "," + hexColor(color.rgb) + '\n';
    }
    return text;
}

std::string jsonOf(std::span<const ConvertedColor> colors, Spaces spaces) {
    Json json = Json::array();
    for (const ConvertedColor& color : colors) {
        Json entry{{"name", color.name},
                   {"illuminant", illuminantName(color.viewing.illuminant)},
                   {"observer", observerDegrees(color.viewing.observer)}};
        for (std::size_t i = 0; i < spaces.size(); ++i) {
            entry[spaces[i]->name] = colorJson(color.values[i], *spaces[i]);
        }
        entry["hex"] = hexColor(color.rgb);
        json.push_back(std::move(entry));
    }
    return pageOfJson(json);
}

}  // namespace cqtool
