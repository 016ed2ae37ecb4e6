#include <cmath>

#include "report/RecordReport.h"
#include "report/Tolerance.h"
#include "Samples.h"

namespace cqtool {
namespace {

using testing::HasSubstr;
using testing::Not;

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

RecordEntry entry(const char* name, bool isStandard, float l, float a, float b) {
    RecordEntry result;
    result.name = name;
    result.isStandard = isStandard;
    result.lab = ColorData{{l, a, b}};
    return result;
}

RecordSet batch() {
    RecordSet set;
    set.title = "Batch <7>";
    set.entries = {entry("early", false, 50, 0, 0), entry("red", true, 50, 60, 30),
                   entry("near", false, 50, 60, 30.5F), entry("far & out", false, 50, 63, 30),
                   entry("blue", true, 30, 10, -50)};
    return set;
}

TEST(RecordReport, GroupsAndJudgesTrials) {
    const auto groups = groupsOf(batch());
    ASSERT_EQ(groups.size(), 3U);
    EXPECT_FALSE(groups[0].standard);
    EXPECT_EQ(groups[1].trials.size(), 2U);
    const TrialSummary summary = summaryOf(groups, {{}, 1.0});
    EXPECT_EQ(summary.trials, 2U);
    EXPECT_EQ(summary.passed, 1U);
    EXPECT_NEAR(summary.mean, 1.75, 1e-6);
    EXPECT_EQ(summary.mostName, "far & out");
    // Three units of a* at this chroma are less than two of CIEDE2000.
    EXPECT_EQ(summaryOf(groups, {differenceFormulaNamed("2000"), 2.0}).passed, 2U);

    const RecordSet set = batch();
    EXPECT_EQ(groupsAgainst({set.entries[1]}, set, "f").at(0).trials.size(), 5U);
    EXPECT_THAT(thrownBy<Failure>([&] {
                    groupsAgainst({set.entries[1], set.entries[4]}, set, "f");
                }),
                HasSubstr("f has 2 standards for 5 measurements"));
}

TEST(RecordReport, DecidesOnTheNumberAndShowsTheDigitsThatDecide) {
    const Judgement judgement{{}, 1.0};
    const struct {
        double difference;
        bool isPassed;
        const char* text;
    } cases[] = {{0.996, true, "1.00"},     {1.0, true, "1.00"},       {1.004, false, "1.004"},
                 {1.0004, false, "1.0004"}, {1.0000019, true, "1.00"}, {1.5, false, "1.50"}};
    for (const auto& one : cases) {
        EXPECT_EQ(judgement.isPassed(one.difference), one.isPassed) << one.difference;
        EXPECT_EQ(judgement.textOf(one.difference), one.text);
    }
    // As 32-bit floats the two are not quite 1 apart.
    EXPECT_TRUE(judgement.isPassed(deltaEab({{50, 0, 30.1F}}, {{50, 0, 31.1F}})));
}

TEST(RecordReport, ShowsWhatPassesAndNeedsNothingElse) {
    const RecordSet set = batch();
    const std::string page = recordReport(set, groupsOf(set), {{}, 1.0});
    for (const char* part :
         {"<h1>Batch &lt;7&gt;</h1>", "1 of 2 within ΔE*<sub>ab</sub> 1",
          "far &amp; out</th><td class=\"fail\">fail</td><td class=\"difference\">3.00</td>",
          "red</h2><p class=\"values\">L* 50.00&ensp; a* 60.00&ensp; b* 30.00</p>",
          "<td class=\"pass\">pass</td>", "class=\"mark trial out\" cx=\"14\"", "can fail inside",
          "class=\"mark trial out\"", "<polygon class=\"tolerance\""}) {
        EXPECT_THAT(page, HasSubstr(part));
    }
    expectNothingExternal(page);
    const std::string plain = recordReport(set, groupsOf(set), {});
    EXPECT_THAT(plain, Not(HasSubstr("class=\"pass\"")));
    EXPECT_THAT(plain, Not(HasSubstr("<polygon")));
}

}  // namespace
}  // namespace cqtool
