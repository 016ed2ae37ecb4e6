#include "job/Limit.h"

#include "Samples.h"

namespace cqtool {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr std::int32_t kD65 = IlluminantD65;
constexpr std::int32_t kA = IlluminantA;

RecordEntry entryOfLab(float l, float a, float b) {
    RecordEntry entry;
    entry.name = "of L*, a*, b*";
    entry.lab = ColorData{{l, a, b}};
    return entry;
}

Verdict verdictOfLightness(std::span<const Limit> limits, float lightness) {
    return verdictOf(limits, {{kD65}, Observer10Degree}, entryOfLab(50, 0, 0),
                     entryOfLab(lightness, 0, 0));
}

TEST(Limit, IsReadAndWritten) {
    const std::pair<const char*, const char*> kTexts[] = {
        {"dE00<=1.0", "dE00<=1"},
        {" de2000 (2:1:1) <= 1.20 ", "dE00(2:1:1)<=1.2"},
        {"DECMC(2:1)<=1.2@a", "dECMC(2:1)<=1.2@A"},
        {"dE94t<=2", "dE94t<=2"},
        {"dE76<=2", "dEab<=2"},
        {"dE99o<=0.7@F11", "dE99o<=0.7@F11"},
        {"|dL*|<=0.6", "|dL|<=0.6"},
        {"0.3>=dA>=-0.5", "-0.5<=da<=0.3"},
        {"-0.5<=dC", "dC>=-0.5"},
        {"dH>=-0.5", "dH>=-0.5"},
        {"mi<=0.5@A", "MI<=0.5@A"},
    };
    for (const auto& [given, written] : kTexts) {
        EXPECT_EQ(textOf(limitOf(given, false)), written);
        EXPECT_EQ(limitOf(written, true), limitOf(given, true));
    }
    EXPECT_EQ(symbolsOf(limitOf("-0.5<=da<=0.3@A", false)), "-0.5 ≤ Δa* ≤ 0.3 under A");
    EXPECT_EQ(symbolsOf(limitOf("dECMC<=1", false)), "ΔEcmc(2:1) ≤ 1");
}

TEST(Limit, IsRefusedWithWhatThereIs) {
    for (const char* wrong :
         {"",           "dE00",         "dE00<1",    "dE00<=",        "<=1",          "dE00<=x",
          "dE00<=1<=2", "1<=2",         "dE00<=-1",  "|dL|<=-0.1",    "0.5<=da<=0.3", "dE00<=1e9",
          "dE00<=1@X",  "dE00(2:1)<=1", "dE00(2<=1", "dECMC(0:1)<=1", "dQ<=1",        "||<=1",
          "1<=dE00>=0", "dE00<=nan"}) {
        EXPECT_NE(thrownBy<UsageError>([wrong] { limitOf(wrong, false); }), "") << wrong;
    }
    EXPECT_THAT(thrownBy<UsageError>([] { limitOf("dX<=1", false); }),
                testing::AllOf(HasSubstr("dE00"), HasSubstr("dL"), HasSubstr("MI")));
    const auto metamerism = std::vector{limitOf("MI<=1", false)};
    EXPECT_THAT(thrownBy<UsageError>([&] {
                    checkLimits(metamerism, {{kD65}, Observer10Degree});
                }),
                HasSubstr("second illuminant"));
    EXPECT_NO_THROW(checkLimits(metamerism, {{kD65, kA}, Observer10Degree}));
}

// A value just beyond its limit must not read as if it were on it.
TEST(Verdict, IsShownWithTheDigitsThatDecide) {
    const std::vector limits{limitOf("dEab<=1", false)};
    const auto shownFor = [&](float lightness) {
        const Finding finding = verdictOfLightness(limits, lightness).findings.at(0);
        return (finding.isMet ? "pass " : "fail ") + finding.text;
    };
    EXPECT_EQ(shownFor(50.5F), "pass 0.50");
    EXPECT_EQ(shownFor(50.996F), "pass 1.00");
    EXPECT_EQ(shownFor(51), "pass 1.00");
    EXPECT_EQ(shownFor(51.00001F), "pass 1.00");  // the float's own error
    EXPECT_EQ(shownFor(51.0004F), "fail 1.0004");
    EXPECT_EQ(shownFor(51.004F), "fail 1.004");
    EXPECT_EQ(shownFor(51.006F), "fail 1.01");
}

TEST(Verdict, IsTheWorstOfItsFindings) {
    const std::vector limits{limitOf("dL<=0.3", true), limitOf("-0.5<=dL<=0.5", false),
                             limitOf("|dL|<=0.1", true)};
    const auto gradeFor = [&](float lightness) {
        const Verdict verdict = verdictOfLightness(limits, lightness);
        const Finding* deciding = verdict.deciding();
        return std::string(nameOf(verdict.grade)) +
               (deciding != nullptr ? ' ' + textOf(deciding->limit) + ' ' + deciding->text : "");
    };
    EXPECT_EQ(gradeFor(50.05F), "pass");
    EXPECT_EQ(gradeFor(50.25F), "warn |dL|<=0.1 0.25");
    EXPECT_EQ(gradeFor(50.4F), "warn dL<=0.3 +0.40");
    EXPECT_EQ(gradeFor(50.6F), "fail -0.5<=dL<=0.5 +0.60");
    EXPECT_EQ(gradeFor(49.4F), "fail -0.5<=dL<=0.5 -0.60");
}

TEST(Verdict, IsGivenUnderEachIlluminantOfTheJob) {
    RecordEntry standard;
    standard.spectrum = rampSpectrum();
    RecordEntry trial = standard;
    for (std::size_t i = 20; i < kWavelengthCount; ++i) {
        (*trial.spectrum)[i] *= 1.05F;
    }
    const JudgedViewing viewing{{kD65, kA}, Observer10Degree};
    const std::vector limits{limitOf("dE00<=1", false), limitOf("MI<=0.5", false),
                             limitOf("da<=1@A", false)};
    const Verdict verdict = verdictOf(limits, viewing, standard, trial);
    std::vector<std::string> findings;
    for (const Finding& finding : verdict.findings) {
        findings.push_back(nameOf(finding.limit.quantity) + '@' +
                           illuminantName(finding.illuminant));
    }
    EXPECT_THAT(findings, ElementsAre("dE00@D65", "dE00@A", "MI@A", "da@A"));
    EXPECT_NE(verdict.findings[0].value, verdict.findings[1].value);
    EXPECT_EQ(verdict.findings[2].value,
              *metamerismOf(standard, trial, kD65, kA, Observer10Degree));
    EXPECT_GT(verdict.findings[2].value, 0);
}

TEST(Verdict, NeedsSpectraForWhatLabCannotTell) {
    const JudgedViewing viewing{{kD65, kA}, Observer10Degree};
    const RecordEntry entry = entryOfLab(50, 10, 10);
    const auto judge = [&](const char* text) {
        const std::vector limits{limitOf(text, false)};
        return thrownBy<Failure>([&] { verdictOf(limits, viewing, entry, entry); });
    };
    EXPECT_EQ(judge("dE00<=1@D65"), "");
    EXPECT_THAT(judge("dE00<=1"), HasSubstr("cannot be judged under A: 'of L*, a*, b*'"));
    EXPECT_THAT(judge("MI<=1"), HasSubstr("no spectrum"));
}

}  // namespace
}  // namespace cqtool
