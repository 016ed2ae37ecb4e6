#include <regex>

#include "report/ChartReport.h"
#include "report/CurveSvg.h"
#include "report/JobPage.h"
#include "report/RecordReport.h"
#include "report/Statistics.h"
#include "report/TrendSvg.h"
#include "Samples.h"

namespace cqtool {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr Viewing kViewing{IlluminantD65, Observer10Degree};

std::ptrdiff_t countOf(const std::string& text, const std::string& part) {
    const std::regex pattern(part);
    return std::distance(std::sregex_iterator(text.begin(), text.end(), pattern), {});
}

Spectrum brighter(Spectrum spectrum, float by) {
    for (float& value : spectrum) {
        value += by;
    }
    return spectrum;
}

std::vector<PatchResult> chartMeasured() {
    std::vector<PatchResult> results;
    for (const ChartPatch& patch : kChartPatches) {
        // The dark skin is measured as it is published, the others ever further from it.
        const float shift = 0.0005F * static_cast<float>(results.size());
        results.emplace_back(patch, brighter(patch.reflectance, shift),
                             brighter(patch.reflectance, 0.01F), kViewing);
    }
    return results;
}

TEST(ChartReport, SumsTheDifferencesUp) {
    const auto results = chartMeasured();
    EXPECT_EQ(results[0].deltaFromChart, 0);
    const Differences differences = differencesOf(results, &PatchResult::deltaFromChart);
    EXPECT_EQ(differences.mostName, "black 2 (1.5 D)");
    EXPECT_EQ(differences.most, results[23].deltaFromChart);
    double sum = 0;
    for (const PatchResult& patch : results) {
        sum += patch.deltaFromChart;
    }
    EXPECT_DOUBLE_EQ(differences.mean, sum / 24);
}

TEST(ChartReport, ShowsEveryPatchAndNeedsNothingElse) {
    const auto results = chartMeasured();
    const std::string page =
        chartReport(results, {"CQ <demo> & \"co\"", "/dev/pts/3", "2024-05-01 10:00", kViewing});
    EXPECT_THAT(page, HasSubstr("CQ &lt;demo&gt; &amp; &quot;co&quot; on /dev/pts/3"));
    EXPECT_EQ(countOf(page, "<article>"), 24);
    EXPECT_EQ(countOf(page, "class=\"swatch\""), 4 * 24);
    EXPECT_EQ(countOf(page, "<polyline class=\"standard\""), 24 + 1);  // and the legend
    for (const PatchResult& patch : results) {
        EXPECT_THAT(page, HasSubstr("</span>" + patch.name + "</h2>"));
        EXPECT_THAT(page, HasSubstr(hexColor(patch.standardRgb)));
    }
    expectNothingExternal(page);
}

void expectElementsInOrder(const std::string& page) {
    std::vector<std::string> open;
    const std::regex tag("<(/?)(\\w+)[^<>]*?(/?)>");
    for (std::sregex_iterator at(page.begin(), page.end(), tag), end; at != end; ++at) {
        const std::string name = at->str(2);
        if (at->length(1) > 0) {
            ASSERT_THAT(open, Not(IsEmpty()));
            ASSERT_EQ(open.back(), name);
            open.pop_back();
        } else if (at->length(3) == 0 && name != "meta" && name != "br") {
            open.push_back(name);
        }
    }
    EXPECT_THAT(open, IsEmpty());
}

TEST(ChartReport, ClosesEveryElementInOrder) {
    expectElementsInOrder(chartReport(chartMeasured(), {"x", "y", "z", kViewing}));
}

TEST(CurveSvg, DrawsAllCurvesOnOneScale) {
    Spectrum low{};
    Spectrum high{};
    low.fill(0.05F);
    high.fill(1.0F);
    const std::string svg = curveSvg({{low, "reference"}, {high, "standard"}}, "two lines");
    // Field of 98 units from y = 8 down to y = 106; a twentieth of it is 4.9.
    EXPECT_THAT(svg, HasSubstr("class=\"reference\" points=\"26.0,101.10 "));
    EXPECT_THAT(svg, HasSubstr(" 272.0,101.10\"/>"));
    EXPECT_THAT(svg, HasSubstr("class=\"standard\" points=\"26.0,8.00 "));
    EXPECT_LT(svg.find("class=\"reference\""), svg.find("class=\"standard\""));
}

RecordEntry labEntry(const char* name, bool isStandard, float l, float a, float b) {
    RecordEntry result;
    result.name = name;
    result.isStandard = isStandard;
    result.lab = ColorData{{l, a, b}};
    return result;
}

RecordSet batch() {
    RecordSet set;
    set.title = "Batch <7>";
    set.entries = {labEntry("early", false, 50, 0, 0), labEntry("red", true, 50, 60, 30),
                   labEntry("near", false, 50, 60, 30.5F), labEntry("far & out", false, 50, 63, 30),
                   labEntry("blue", true, 30, 10, -50)};
    return set;
}

TEST(RecordReport, MakesAJobOfAnExportedFile) {
    const RecordSet set = batch();
    Job job = jobOf(set, groupsOf(set));
    EXPECT_THAT(jobPage(job, reportGroups(job), {}), Not(HasSubstr("class=\"verdict")));
    job.limits = {limitOf("dE76<=1", false)};
    const auto groups = reportGroups(job);
    ASSERT_EQ(groups.size(), 3U);
    EXPECT_EQ(groups[0].standard, nullptr);
    EXPECT_EQ(groups[1].trials.size(), 2U);
    const auto all = statisticsOf({}, IlluminantD65, allTrials(groups));
    EXPECT_NEAR(all.values.mean, 1.75, 1e-6);
    EXPECT_EQ(all.largestName, "far & out");
    const std::string page = jobPage(job, groups, {});
    for (const char* part :
         {"<h1>Batch &lt;7&gt;</h1>", "1 of 2 within ΔE*<sub>ab</sub> ≤ 1", "far &amp; out",
          "<b>✗ fail</b><small>ΔE*<sub>ab</sub> 3.00 &gt; 1 (D65)</small>", "<b>✓ pass</b>",
          "class=\"mark trial out\"", "<polygon class=\"tolerance\"", "can fail inside"}) {
        EXPECT_THAT(page, HasSubstr(part));
    }
    EXPECT_EQ(groupsAgainst({set.entries[1]}, set, "f").at(0).trials.size(), 5U);
    EXPECT_THAT(thrownBy<Failure>([&] {
                    groupsAgainst({set.entries[1], set.entries[4]}, set, "f");
                }),
                HasSubstr("f has 2 standards for 5 measurements"));
}

/// A standard and four trials, ever further off; the last one is struck out.
Job lot(const std::string& name) {
    Job job;
    job.title = "Lot " + name;
    job.operatorName = "Night " + name;
    job.viewing = {{IlluminantD65, IlluminantA}, Observer10Degree};
    job.limits = {limitOf("dE00<=2", false), limitOf("dE00<=1", true)};
    job.remarks = {{1, "2026-05-01T10:00:00Z", "remark " + name}};
    for (std::uint64_t number = 2; number <= 6; ++number) {
        JobMeasurement one;
        one.number = number;
        one.entry.name = std::to_string(number) + name;
        one.entry.isStandard = number == 2;
        one.entry.spectrum = brighter(rampSpectrum(), 0.014F * static_cast<float>(number - 2));
        one.instrument = {"model " + name, "serial " + name, "1"};
        one.remarks = {"its " + name};
        one.calibrationAge = 3600.0 * static_cast<double>(2 * number);
        if (number > 2) {
            one.standard = 2;
        }
        if (number == 6) {
            one.struckOutBy = 7;
        }
        job.measurements.push_back(one);
    }
    return job;
}

TEST(JobPage, JudgesUnderEveryIlluminantAndCountsNothingStruckOut) {
    const Job job = lot("");
    const auto groups = reportGroups(job);
    const TrialCounts counts = countsOf(job, groups.at(0).trials);
    EXPECT_EQ(counts.counted, 3U);
    EXPECT_EQ(std::vector({counts.passed, counts.warned, counts.failed, counts.struckOut}),
              std::vector({std::size_t{1}, std::size_t{1}, std::size_t{1}, std::size_t{1}}));
    const std::string page = jobPage(job, groups, {});
    EXPECT_EQ(countOf(page, "<b>(✓ pass|! warn|✗ fail)</b><"), 4);  // and the whole
    EXPECT_EQ(countOf(page, "<del>6</del>"), 1);
    EXPECT_EQ(countOf(page, "<tbody class=\"struck\">"), 1);
    EXPECT_EQ(countOf(page, "</div><span>A</span></td>"), 4);
    EXPECT_EQ(countOf(page, "<th>MI</th>"), 1);
    EXPECT_EQ(countOf(page, "<g class=\"point "), 3);
    EXPECT_THAT(page, HasSubstr("4 h 0 min to 10 h 0 min before the measurement<b class=\"warn\"> "
                                "! longer than 8 h before 1 measurement</b>"));
    EXPECT_EQ(recordSetOf(job).entries.size(), 4U);
    EXPECT_EQ(countOf(page, "<th>400</th>"), 0);
    EXPECT_EQ(countOf(jobPage(job, groups, {{}, true}), "<th>400</th><td>0.1000</td>"), 1);
}

TEST(JobPage, IsWholeWhateverTheNames) {
    const std::string hostile = "</title><script>x</script>\"'&<i \x1b\xff\n";
    const std::string page = jobPage(lot(hostile), reportGroups(lot(hostile)), {{}, true});
    expectElementsInOrder(page);
    expectNothingExternal(page);
    EXPECT_THAT(page, Not(HasSubstr("<i ")));
    EXPECT_THAT(page, Not(HasSubstr("\x1b")));
}

TEST(Statistics, FollowTheirDefinitions) {
    const Statistics four = statisticsOf(std::vector{1.0, -3.0, 2.0, 0.5});
    EXPECT_DOUBLE_EQ(four.mean, 0.125);
    EXPECT_NEAR(four.deviation, 2.174665, 1e-6);  // the square root of 14.1875 / 3
    EXPECT_DOUBLE_EQ(four.percentile95, 2.85);    // of 0.5, 1, 2, 3
    EXPECT_EQ(four.largest, -3);
    EXPECT_EQ(statisticsOf(std::vector{4.0}).deviation, 0);
    EXPECT_EQ(statisticsOf(std::vector<double>{}).count, 0U);
}

TEST(TrendSvg, ShowsWhichTrialsDoNotPassByTheirShape) {
    const std::string svg =
        trendSvg({{0.5, Grade::pass, "one"}, {0.9, Grade::warn, "two"}, {2, Grade::fail, "three"}},
                 {{1, false}, {0.8, true}}, "trend");
    EXPECT_THAT(svg, HasSubstr("<g class=\"point pass\"><title>one: 0.50</title><circle"));
    EXPECT_THAT(svg, HasSubstr("<g class=\"point warn\"><title>two: 0.90</title><path"));
    // From 0 at y = 106 to 3 at y = 8.
    EXPECT_THAT(svg, HasSubstr("<polyline class=\"limit\" points=\"30.0,73.3 272.0,73.3\"/>"));
    EXPECT_THAT(svg, HasSubstr("<polyline class=\"limit warning\""));
    EXPECT_THAT(trendSvg({{1, Grade::fail, "x"}, {1, {}, "y"}}, {}, ""), Not(HasSubstr("nan")));
}

}  // namespace
}  // namespace cqtool
