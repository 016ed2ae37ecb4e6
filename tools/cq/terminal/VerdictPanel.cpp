#include "terminal/VerdictPanel.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace cqtool {
namespace {

constexpr std::size_t kPairSwatch = 10;  // columns
constexpr std::size_t kPanelGap = 2;
constexpr std::size_t kLetterRows = 5;

struct Poster {
    Rgb ground;
    Rgb ink;
    std::array<std::string_view, kLetterRows> letters;
};

constexpr Rgb kWhiteInk{255, 255, 255};
constexpr Rgb kBlackInk{0, 0, 0};

// By Grade: the sign, then the word.
constexpr Poster kPosters[] = {
    {{0, 122, 61},
     kWhiteInk,
     {"    #  ###   ##   ###  ###", "   ##  #  # #  # #    #   ", "# ##   ###  ####  ##   ## ",
      "###    #    #  #    #    #", " #     #    #  # ###  ### "}},
    {{255, 176, 0},
     kBlackInk,
     {" #   #   #  ##  ###  #  #", " #   #   # #  # #  # ## #", " #   # # # #### ###  # ##",
      "     ## ## #  # # #  #  #", " #   #   # #  # #  # #  #"}},
    {{190, 20, 38},
     kWhiteInk,
     {"#   #  ####  ##  ### #   ", " # #   #    #  #  #  #   ", "  #    ###  ####  #  #   ",
      " # #   #    #  #  #  #   ", "#   #  #    #  # ### ####"}},
};

/// A row of the letters, each of whose dots is so many columns wide.
std::string lettersOf(const Poster& poster, std::string_view dots, std::size_t width,
                      const Palette& palette) {
    std::string text = palette.swatch(poster.ground, width);
    for (std::size_t from = 0; from < dots.size();) {
        const std::size_t to = std::min(dots.find_first_not_of(dots[from], from), dots.size());
        text += palette.swatch(dots[from] == '#' ? poster.ink : poster.ground, (to - from) * width);
        from = to;
    }
    return text + palette.swatch(poster.ground, width);
}

}  // namespace

std::vector<std::string> verdictPanel(std::optional<Grade> grade, const Rgb& standard,
                                      const Rgb& trial, const Palette& palette,
                                      std::size_t columns) {
    if (!palette.hasColors()) {
        return {};
    }
    const std::string pair =
        palette.swatch(standard, kPairSwatch) + palette.swatch(trial, kPairSwatch);
    if (!grade) {
        return {pair, pair, pair};
    }
    const Poster& poster = kPosters[static_cast<std::size_t>(*grade)];
    const std::size_t dots = poster.letters.front().size() + 2;
    const std::size_t width = 2 * kPairSwatch + kPanelGap + 2 * dots <= columns ? 2 : 1;
    const std::string margin = palette.swatch(poster.ground, dots * width);
    const std::string left = pair + std::string(kPanelGap, ' ');
    std::vector<std::string> lines{left + margin};
    for (const std::string_view row : poster.letters) {
        lines.push_back(left + lettersOf(poster, row, width, palette));
    }
    lines.push_back(left + margin);
    return lines;
}

}  // namespace cqtool
