#include <algorithm>

#include "report/ChartReport.h"
#include "report/CurveSvg.h"
#include "Samples.h"

namespace cqtool {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr Viewing kViewing{IlluminantD65, Observer10Degree};

std::size_t countOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
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
    EXPECT_EQ(countOf(page, "<article>"), 24U);
    EXPECT_EQ(countOf(page, "class=\"swatch\""), 4U * 24U);
    EXPECT_EQ(countOf(page, "<polyline class=\"standard\""), 24U + 1U);  // and the legend
    for (const PatchResult& patch : results) {
        EXPECT_THAT(page, HasSubstr("</span>" + patch.name + "</h2>"));
        EXPECT_THAT(page, HasSubstr(hexColor(patch.standardRgb)));
    }
    for (const char* external :
         {"http:", "https:", "url(", "@import", "<script", "src=", "<link"}) {
        EXPECT_THAT(page, Not(HasSubstr(external)));
    }
}

TEST(ChartReport, ClosesEveryElementInOrder) {
    const std::string page = chartReport(chartMeasured(), {"x", "y", "z", kViewing});
    std::vector<std::string> open;
    for (std::size_t at = page.find("<html"); at != std::string::npos;
         at = page.find('<', at + 1)) {
        const std::size_t end = page.find('>', at);
        ASSERT_NE(end, std::string::npos);
        const std::string tag = page.substr(at + 1, end - at - 1);
        const std::string name = tag.substr(0, tag.find_first_of(" /", 1));
        if (tag.starts_with('/')) {
            ASSERT_FALSE(open.empty());
            ASSERT_EQ("/" + open.back(), tag);
            open.pop_back();
        } else if (!tag.ends_with('/') && name != "meta") {
            open.push_back(name);
        }
    }
    EXPECT_TRUE(open.empty());
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
