#include <cmath>

#include "report/RecordReport.h"
#include "report/Tolerance.h"
#include "Samples.h"

namespace cqtool {
namespace {

using testing::HasSubstr;
using testing::Not;

/// The pairs of Sharma, Wu and Dalal, "The CIEDE2000 color-difference formula: implementation
/// notes, supplementary test data, and mathematical observations" (Color Research and Application
/// 30, 2005), table 1.
struct Pair {
    ColorData one;
    ColorData other;
    double difference;
};

constexpr Pair kPairs[] = {
    {{{50.0000F, 2.6772F, -79.7751F}}, {{50.0000F, 0.0000F, -82.7485F}}, 2.0425},
    {{{50.0000F, 3.1571F, -77.2803F}}, {{50.0000F, 0.0000F, -82.7485F}}, 2.8615},
    {{{50.0000F, 2.8361F, -74.0200F}}, {{50.0000F, 0.0000F, -82.7485F}}, 3.4412},
    {{{50.0000F, -1.3802F, -84.2814F}}, {{50.0000F, 0.0000F, -82.7485F}}, 1.0000},
    {{{50.0000F, -1.1848F, -84.8006F}}, {{50.0000F, 0.0000F, -82.7485F}}, 1.0000},
    {{{50.0000F, -0.9009F, -85.5211F}}, {{50.0000F, 0.0000F, -82.7485F}}, 1.0000},
    {{{50.0000F, 0.0000F, 0.0000F}}, {{50.0000F, -1.0000F, 2.0000F}}, 2.3669},
    {{{50.0000F, -1.0000F, 2.0000F}}, {{50.0000F, 0.0000F, 0.0000F}}, 2.3669},
    {{{50.0000F, 2.4900F, -0.0010F}}, {{50.0000F, -2.4900F, 0.0009F}}, 7.1792},
    {{{50.0000F, 2.4900F, -0.0010F}}, {{50.0000F, -2.4900F, 0.0010F}}, 7.1792},
    {{{50.0000F, 2.4900F, -0.0010F}}, {{50.0000F, -2.4900F, 0.0011F}}, 7.2195},
    {{{50.0000F, 2.4900F, -0.0010F}}, {{50.0000F, -2.4900F, 0.0012F}}, 7.2195},
    {{{50.0000F, -0.0010F, 2.4900F}}, {{50.0000F, 0.0009F, -2.4900F}}, 4.8045},
    {{{50.0000F, -0.0010F, 2.4900F}}, {{50.0000F, 0.0010F, -2.4900F}}, 4.8045},
    {{{50.0000F, -0.0010F, 2.4900F}}, {{50.0000F, 0.0011F, -2.4900F}}, 4.7461},
    {{{50.0000F, 2.5000F, 0.0000F}}, {{50.0000F, 0.0000F, -2.5000F}}, 4.3065},
    {{{50.0000F, 2.5000F, 0.0000F}}, {{73.0000F, 25.0000F, -18.0000F}}, 27.1492},
    {{{50.0000F, 2.5000F, 0.0000F}}, {{61.0000F, -5.0000F, 29.0000F}}, 22.8977},
    {{{50.0000F, 2.5000F, 0.0000F}}, {{56.0000F, -27.0000F, -3.0000F}}, 31.9030},
    {{{50.0000F, 2.5000F, 0.0000F}}, {{58.0000F, 24.0000F, 15.0000F}}, 19.4535},
    {{{50.0000F, 2.5000F, 0.0000F}}, {{50.0000F, 3.1736F, 0.5854F}}, 1.0000},
    {{{50.0000F, 2.5000F, 0.0000F}}, {{50.0000F, 3.2972F, 0.0000F}}, 1.0000},
    {{{50.0000F, 2.5000F, 0.0000F}}, {{50.0000F, 1.8634F, 0.5757F}}, 1.0000},
    {{{50.0000F, 2.5000F, 0.0000F}}, {{50.0000F, 3.2592F, 0.3350F}}, 1.0000},
    {{{60.2574F, -34.0099F, 36.2677F}}, {{60.4626F, -34.1751F, 39.4387F}}, 1.2644},
    {{{63.0109F, -31.0961F, -5.8663F}}, {{62.8187F, -29.7946F, -4.0864F}}, 1.2630},
    {{{61.2901F, 3.7196F, -5.3901F}}, {{61.4292F, 2.2480F, -4.9620F}}, 1.8731},
    {{{35.0831F, -44.1164F, 3.7933F}}, {{35.0232F, -40.0716F, 1.5901F}}, 1.8645},
    {{{22.7233F, 20.0904F, -46.6940F}}, {{23.0331F, 14.9730F, -42.5619F}}, 2.0373},
    {{{36.4612F, 47.8580F, 18.3852F}}, {{36.2715F, 50.5065F, 21.2231F}}, 1.4146},
    {{{90.8027F, -2.0831F, 1.4410F}}, {{91.1528F, -1.6435F, 0.0447F}}, 1.4441},
    {{{90.9257F, -0.5406F, -0.9208F}}, {{88.6381F, -0.8985F, -0.7239F}}, 1.5381},
    {{{6.7747F, -0.2908F, -2.4247F}}, {{5.8714F, -0.0985F, -2.2286F}}, 0.6377},
    {{{2.0776F, 0.0795F, -1.1350F}}, {{0.9033F, -0.0636F, -0.5514F}}, 0.9082},
};

TEST(Ciede2000, AgreesWithThePublishedPairs) {
    for (const Pair& pair : kPairs) {
        // The published figures have four decimals.
        EXPECT_NEAR(deltaE00(pair.one, pair.other), pair.difference, 0.0001);
        EXPECT_NEAR(deltaE00(pair.other, pair.one), pair.difference, 0.0001);
    }
}

TEST(ToleranceOutline, IsAsFarFromTheStandardAsTheTolerance) {
    constexpr ColorData kStandards[] = {
        {{50, 60, 30}}, {{30, 10, -50}}, {{80, -40, 5}}, {{60, 0, 0}}};
    for (const ColorData& standard : kStandards) {
        for (const auto formula : {DifferenceFormula::ab, DifferenceFormula::ciede2000}) {
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
    const TrialSummary summary = summaryOf(groups, {DifferenceFormula::ab, 1.0});
    EXPECT_EQ(summary.trials, 2U);
    EXPECT_EQ(summary.passed, 1U);
    EXPECT_NEAR(summary.mean, 1.75, 1e-6);
    EXPECT_EQ(summary.mostName, "far & out");
    // Three units of a* at this chroma are less than two of CIEDE2000.
    EXPECT_EQ(summaryOf(groups, {DifferenceFormula::ciede2000, 2.0}).passed, 2U);

    const RecordSet set = batch();
    EXPECT_EQ(groupsAgainst({set.entries[1]}, set, "f").at(0).trials.size(), 5U);
    EXPECT_THAT(thrownBy<Failure>([&] {
                    groupsAgainst({set.entries[1], set.entries[4]}, set, "f");
                }),
                HasSubstr("f has 2 standards for 5 measurements"));
}

TEST(RecordReport, DecidesOnTheNumberAndShowsTheDigitsThatDecide) {
    const Judgement judgement{DifferenceFormula::ab, 1.0};
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
    const std::string page = recordReport(set, groupsOf(set), {DifferenceFormula::ab, 1.0});
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
