#include "Samples.h"
#include "terminal/Palette.h"
#include "terminal/SpectrumPlot.h"
#include "terminal/VerdictPanel.h"
#include "text/Text.h"

namespace cqtool {
namespace {

using testing::EndsWith;
using testing::SizeIs;
using testing::StartsWith;

TEST(Palette, IsChosenByTerminalAndWish) {
    using enum ColorDepth;
    using enum ColorMode;
    const struct {
        const char* what;
        ColorMode mode;
        TerminalFacts facts;
        ColorDepth depth;
    } cases[] = {
        {"truecolor", automatic, {true, false, {}, "truecolor", "xterm-256color"}, trueColor},
        {"24bit", automatic, {true, false, {}, "24bit", "xterm"}, trueColor},
        {"-direct", automatic, {true, false, {}, {}, "xterm-direct"}, trueColor},
        {"Windows console", automatic, {true, true, {}, {}, {}}, trueColor},
        {"256", automatic, {true, false, {}, {}, "screen-256color"}, indexed},
        {"few colours", automatic, {true, false, {}, {}, "linux"}, none},
        {"dumb", automatic, {true, false, {}, "truecolor", "dumb"}, none},
        {"NO_COLOR", automatic, {true, false, "1", "truecolor", {}}, none},
        {"empty NO_COLOR", automatic, {true, false, "", "truecolor", {}}, trueColor},
        {"a pipe", automatic, {false, false, {}, "truecolor", {}}, none},
        {"a pipe, always", always, {false, false, "1", "truecolor", {}}, trueColor},
        {"nothing, always", always, {}, indexed},
        {"never", never, {true, false, {}, "truecolor", "xterm-256color"}, none},
    };
    for (const auto& [what, mode, facts, depth] : cases) {
        EXPECT_EQ(chooseColorDepth(mode, facts), depth) << what;
    }
    EXPECT_THROW(colorModeNamed("sometimes"), UsageError);
}

TEST(Palette, FindsTheNearestOf256) {
    const struct {
        Rgb color;
        int index;
    } cases[] = {
        {{0, 0, 0}, 16},  {{255, 255, 255}, 231}, {{95, 135, 175}, 67},   {{100, 130, 170}, 67},
        {{8, 8, 8}, 232}, {{128, 128, 128}, 244}, {{238, 238, 238}, 255}, {{250, 2, 1}, 196},
    };
    for (const auto& [color, index] : cases) {
        EXPECT_EQ(nearestIndexedColor(color), index) << hexColor(color);
    }
}

TEST(SpectrumPlot, RisesFromItsLowerLeftToItsUpperRight) {
    Spectrum ramp;
    for (std::size_t i = 0; i < ramp.size(); ++i) {
        ramp[i] = static_cast<float>(i) / 30;
    }
    const auto lines = plotSpectrum(ramp, 16, 4);
    ASSERT_THAT(lines, SizeIs(5));
    // 32 dots across and 16 down: the curve falls by a dot with every two.
    EXPECT_EQ(lines[0], "1.0 ┤⠀⠀⠀⠀⠀⠀⠀⠀⠀⠀⠀⠀⣀⠤⠒⠉");
    EXPECT_THAT(lines[3], StartsWith("0.0 ┤⣀"));
    EXPECT_THAT(lines[3], EndsWith("⠀"));
    EXPECT_EQ(lines[4], "     400          700 nm");
}

TEST(VerdictPanel, FitsTheTerminal) {
    const auto panel = [](std::optional<Grade> grade, std::size_t columns, ColorDepth depth) {
        return verdictPanel(grade, {200, 0, 0}, {190, 0, 0}, Palette(depth), columns);
    };
    for (const std::size_t columns : {80U, 60U}) {
        for (const Grade grade : {Grade::pass, Grade::warn, Grade::fail}) {
            const auto lines = panel(grade, columns, ColorDepth::trueColor);
            ASSERT_THAT(lines, SizeIs(7));
            for (const std::string& line : lines) {
                EXPECT_EQ(displayWidth(line), displayWidth(lines.front()));
                EXPECT_LE(displayWidth(line), columns);
            }
        }
    }
    EXPECT_THAT(panel(std::nullopt, 80, ColorDepth::indexed), SizeIs(3));
    EXPECT_THAT(panel(Grade::fail, 80, ColorDepth::none), SizeIs(0));
}

}  // namespace
}  // namespace cqtool
