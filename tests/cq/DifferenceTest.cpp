#include <cmath>

#include "report/Tolerance.h"
#include "Samples.h"

namespace cqtool {
namespace {

using testing::HasSubstr;

TEST(ToleranceOutline, IsAsFarFromTheStandardAsTheTolerance) {
    constexpr ColorData kStandards[] = {
        {{50, 60, 30}}, {{30, 10, -50}}, {{80, -40, 5}}, {{60, 0, 0}}};
    for (const ColorData& standard : kStandards) {
        for (const DifferenceFormula& formula : differenceFormulas()) {
            const auto outline = toleranceOutline(formula, standard, 0.1);
            ASSERT_GE(outline.size(), 36U);
            for (const AbOffset& offset : outline) {
                ColorData trial = standard;
                trial.values[1] += static_cast<float>(offset[0]);
                trial.values[2] += static_cast<float>(offset[1]);
                EXPECT_NEAR(difference(formula, standard, trial), 0.1, 0.002);
            }
        }
    }
}

TEST(DifferenceFormula, IsNamedWithItsFactors) {
    for (const auto& [text, symbol] : {std::pair{"76", "ΔE*ab"},
                                       {"94t", "ΔE94t"},
                                       {"cmc", "ΔEcmc(2:1)"},
                                       {"cmc:1:1", "ΔEcmc(1:1)"},
                                       {"2000", "ΔE00"},
                                       {"2000:2:1:0.5", "ΔE00(2:1:0.5)"}}) {
        EXPECT_EQ(nameOf(differenceFormulaNamed(text)), text);
        EXPECT_EQ(symbolOf(differenceFormulaNamed(text)), symbol);
    }
    for (const char* wrong :
         {"", "2001", "76:1:1:1", "cmc:2", "2000:2:1", "94:0:1:1", "94:1:1:x"}) {
        EXPECT_THAT(thrownBy<UsageError>([&] { differenceFormulaNamed(wrong); }),
                    HasSubstr("must be one of 76, 94, 94t, cmc, 2000, 99, 99o"));
    }
}

}  // namespace
}  // namespace cqtool
