#include <regex>

#include "report/ChartReport.h"
#include "report/CurveSvg.h"
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

TEST(ChartReport, ClosesEveryElementInOrder) {
    const std::string page = chartReport(chartMeasured(), {"x", "y", "z", kViewing});
    std::vector<std::string> open;
    const std::regex tag("<(/?)(\\w+)[^<>]*?(/?)>");
    for (std::sregex_iterator at(page.begin(), page.end(), tag), end; at != end; ++at) {
        const std::string name = at->str(2);
        if (at->length(1) > 0) {
            ASSERT_THAT(open, Not(IsEmpty()));
            ASSERT_EQ(open.back(), name);
            open.pop_back();
        } else if (at->length(3) == 0 && name != "meta") {
            open.push_back(name);
        }
    }
    EXPECT_THAT(open, IsEmpty());
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

}  // namespace
}  // namespace cqtool
