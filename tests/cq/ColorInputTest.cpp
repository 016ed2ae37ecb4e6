#include <sstream>

#include "color/ColorInput.h"
#include "Samples.h"

namespace cqtool {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

std::vector<InputColor> read(const std::string& text, InputKind kind) {
    std::istringstream stream(text);
    const std::string source = "colours.csv";
    return colorsOfTable(readCsv(stream, source), kind, source);
}

/// The wavelengths from the first to the last in steps of 10 nm, with something before each: with
/// "0." they are numbers that tell where they come from.
std::string wavelengths(int first, int last, const std::string& prefix = {}) {
    std::string text;
    for (int nanometres = first; nanometres <= last; nanometres += 10) {
        text += (text.empty() ? "" : ",") + prefix + std::to_string(nanometres);
    }
    return text;
}

TEST(ColorInput, TakesTriplesWithAndWithoutNamesAndTitles) {
    const struct {
        const char* text;
        const char* name;
    } cases[] = {
        {"50,-20,30\n", "line 1"},
        {"red,50,-20,30\n", "red"},
        {"name,L,a,b\nred,50,-20,30\n", "red"},
        {"L,a,b\n50,-20,30\n", "line 2"},
        {"name;L;a;b\nred;50,0;-20,0;30,0\n", "red"},
        {"red;50.0;-20.0;30.0\n", "red"},
        {"50 -20 30\n", "line 1"},
        {"7,50,-20,30\n", "7"},
        {"index,kind,name,L,a,b,hex\n0,trial,red,50,-20,30,#123456\n", "red"},
        {"SAMPLE_NAME;gloss;LAB_L;LAB_A;LAB_B\nred;88;50;-20;30\n", "red"},
        {"lot,b*,a*,L*\nred,30,-20,50\n", "red"},
    };
    for (const auto& [text, name] : cases) {
        const auto colors = read(text, InputKind::lab);
        ASSERT_THAT(colors, SizeIs(1)) << text;
        EXPECT_EQ(colors[0].name, name) << text;
        EXPECT_THAT(colors[0].values, ElementsAre(50, -20, 30)) << text;
    }
}

TEST(ColorInput, TakesTheColumnsThatTheTitlesName) {
    // Instruments export more than is needed, in front, behind and beside.
    const std::string texts[] = {
        wavelengths(400, 700) + "\n" + wavelengths(400, 700, "0."),
        "name," + wavelengths(400, 700, "r") + "\nx," + wavelengths(400, 700, "0."),
        "id," + wavelengths(360, 740, "R_") + ",gloss\nx," + wavelengths(360, 740, "0.") + ",88",
        wavelengths(380, 730) + "\n" + wavelengths(380, 730, "0."),
        wavelengths(400, 700, "0."),
    };
    for (const std::string& text : texts) {
        const auto colors = read(text, InputKind::spectrum);
        ASSERT_THAT(colors, SizeIs(1)) << text;
        ASSERT_THAT(colors[0].values, SizeIs(31)) << text;
        for (std::size_t i = 0; i < 31; ++i) {
            EXPECT_DOUBLE_EQ(colors[0].values[i], 0.001 * wavelength(i)) << text;
        }
    }
}

TEST(ColorInput, SaysWhereATableIsWrong) {
    const struct {
        std::string text;
        InputKind kind;
        const char* problem;
    } cases[] = {
        {"", InputKind::lab, "colours.csv holds no colours"},
        {"name,L,a,b\n", InputKind::lab, "holds no colours"},
        {"1,2\n", InputKind::lab, "line 1 has 2 fields"},
        {"lot,p,q,r,s\n1,2,3,4,5\n", InputKind::lab, "L*, a*, b*; there are: lot, p, q, r, s"},
        {"name,L,a\nx,1,2\n", InputKind::lab, "line 1: no column for b*; there are: name, L, a"},
        {"L,a,b\n500,0,0\n", InputKind::lab, "line 2: no surface has L* 500"},
        {"L,a,b,illuminant,observer\n1,2,3,Z,2\n", InputKind::lab, "line 2: no illuminant"},
        {"1,2,3\n\n1,2,3,4,5\n", InputKind::xyz, "line 3 has 5 fields"},
        {"1,2,x\n", InputKind::lab, "line 1, field 3: 'x' is not a number"},
        {"a,1,2,3\nb,1,,3\n", InputKind::lab, "line 2, field 3: '' is not a number"},
        {wavelengths(400, 690) + "\n" + wavelengths(400, 690, "0."), InputKind::spectrum,
         "line 1: no column for 700 nm"},
        {wavelengths(400, 700, "r") + "\n0.1,0.2\n", InputKind::spectrum,
         "line 2, field 3: '' is not a number"},
    };
    for (const auto& one : cases) {
        EXPECT_THAT(thrownBy<Failure>([&] { read(one.text, one.kind); }), HasSubstr(one.problem))
            << one.text;
    }
}

TEST(ColorInput, TakesColorsFromArguments) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"50", "-20", "30", "1", "2", "3"},
          std::vector<std::string>{"50,-20,30", "1,2,3"},
          std::vector<std::string>{"50 -20 30 1 2 3"}}) {
        const auto colors = colorsOfArguments(arguments, InputKind::lab);
        ASSERT_THAT(colors, SizeIs(2));
        EXPECT_THAT(colors[0].values, ElementsAre(50, -20, 30));
        EXPECT_THAT(colors[1].values, ElementsAre(1, 2, 3));
    }
    const auto problemOf = [](const std::vector<std::string>& arguments) {
        return thrownBy<UsageError>([&] { colorsOfArguments(arguments, InputKind::xyz); });
    };
    EXPECT_THAT(problemOf({"1", "2"}), HasSubstr("2 numbers given; expected X, Y, Z"));
    EXPECT_THAT(problemOf({"1", "2", "z"}), HasSubstr("'z' is not a number"));
    EXPECT_THAT(problemOf({""}), HasSubstr("0 numbers given"));
}

TEST(ColorInput, KnowsReflectancesFromPercents) {
    std::vector<InputColor> spectra{{"white", std::vector<double>(31, 91.0)}};
    EXPECT_THAT(thrownBy<Failure>([&] { checkReflectances(spectra); }),
                HasSubstr("'white' has 91.0000 at 400 nm"));
    convertFromPercent(spectra);
    EXPECT_NO_THROW(checkReflectances(spectra));
    EXPECT_DOUBLE_EQ(spectra[0].values[30], 0.91);
    spectra[0].values[3] = -0.2;
    EXPECT_THAT(thrownBy<Failure>([&] { checkReflectances(spectra); }), HasSubstr("at 430 nm"));
}

}  // namespace
}  // namespace cqtool
