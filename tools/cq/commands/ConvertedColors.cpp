#include "commands/ConvertedColors.h"

#include "colour/ColorJson.h"
#include "text/Numbers.h"
#include "text/Text.h"
#include "text/TextTable.h"

namespace cqtool {
namespace {

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
    std::vector<TextTable::Column> columns{{"name", TextTable::Align::left},
                                           {"for", TextTable::Align::left},
                                           {"", TextTable::Align::left}};
    for (const SpaceInfo* space : spaces) {
        for (const char* symbol : space->symbols) {
            columns.push_back({symbol});
        }
    }
    std::vector<TextTable::Row> rows;
    TextTable table(std::move(columns));
    for (const ConvertedColor& color : colors) {
        const std::string swatch = palette.swatch(color.rgb, Palette::kSwatchWidth);
        TextTable::Row row{shown(color.name), viewingName(color.viewing),
                           swatch.empty() ? hexColor(color.rgb) : swatch};
        for (std::size_t i = 0; i < spaces.size(); ++i) {
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

std::string csvOf(std::span<const ConvertedColor> colors, Spaces spaces) {
    std::string text = "name,illuminant,observer";
    for (const SpaceInfo* space : spaces) {
        for (const char* key : space->keys) {
            text += std::string(",") + space->name + "." + key;
        }
    }
    text += ",hex\n";
    for (const ConvertedColor& color : colors) {
        text += csvField(shown(color.name)) + "," + illuminantName(color.viewing.illuminant) + "," +
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
