#include <cstring>
#include <limits>

#include "instrument/RecordLayout.h"
#include "Samples.h"

namespace cqtool {
namespace {

using testing::HasSubstr;

RecordLayout parse(const std::string& json) {
    return parseRecordLayout(json, "layout.json");
}

std::string problemOf(const std::string& json) {
    return thrownBy<Failure>([&] { parse(json); });
}

TEST(RecordLayout, IsTheVirtualInstrumentsUnlessDescribed) {
    const auto read = readSpectrum(recordOf(rampSpectrum()), loadRecordLayout(""));
    EXPECT_EQ(read.spectrum, rampSpectrum()) << read.problem;
}

TEST(RecordLayout, ReadsEveryFormat) {
    CqMeasurementRecord doubles{};
    CqMeasurementRecord integers{};
    for (std::size_t i = 0; i < kWavelengthCount; ++i) {
        store(doubles, 8 + 8 * i, std::bit_cast<std::uint64_t>(0.01 * static_cast<double>(i)));
        store(integers, 194 + 2 * i, static_cast<std::uint16_t>(300 * i));
    }
    const auto fromDoubles = readSpectrum(doubles, parse(R"({"offset": 8, "format": "float64"})"));
    const auto fromIntegers = readSpectrum(
        integers, parse(R"({"offset": 194, "count": 31, "format": "uint16", "scale": 0.0001,
                            "start": 400, "step": 10})"));
    ASSERT_TRUE(fromDoubles.spectrum) << fromDoubles.problem;
    ASSERT_TRUE(fromIntegers.spectrum) << fromIntegers.problem;
    for (std::size_t i = 0; i < kWavelengthCount; ++i) {
        EXPECT_FLOAT_EQ((*fromDoubles.spectrum)[i], 0.01F * static_cast<float>(i));
        EXPECT_FLOAT_EQ((*fromIntegers.spectrum)[i], 0.03F * static_cast<float>(i));
    }
}

TEST(RecordLayout, FindsNameKindAndTimeWhereTheyAreDescribed) {
    CqMeasurementRecord record{};
    std::memcpy(record.bytes + 200, "Rouge", 5);
    record.bytes[255] = 'T';
    store(record, 4, std::uint32_t{86400});
    const RecordLayout layout = parse(R"({"offset": 64, "format": "float32",
        "name": {"offset": 200, "size": 8}, "time": {"offset": 4},
        "kind": {"offset": 255, "standard": 83, "trial": 84}})");
    const RecordDetails details = readDetails(record, layout);
    EXPECT_EQ(details.name, "Rouge");
    EXPECT_EQ(details.time, 86400U);
    EXPECT_EQ(details.isStandard, false);
    record.bytes[255] = 0;
    EXPECT_FALSE(readDetails(record, layout).isStandard);
    // Another maker's record is not taken for a virtual instrument's.
    EXPECT_EQ(readDetails(record, {}).time, std::nullopt);
}

TEST(RecordLayout, RefusesWhatItCannotCarryOut) {
    const struct {
        const char* json;
        const char* problem;
    } cases[] = {
        {"offset = 64", "layout.json is not JSON (at byte 1)"},
        {"[64]", "is not a JSON object"},
        {R"({"format": "float32"})", "has no 'offset'"},
        {R"({"offset": 64})", "has no 'format'"},
        {R"({"offset": 64, "format": "float16"})", "gives the format as \"float16\""},
        {R"({"offset": 133, "format": "float32"})", "take 124 of the record's 256 bytes"},
        {R"({"offset": -1, "format": "float32"})", "gives the offset as -1"},
        {R"({"offset": 1.5, "format": "float32"})", "gives the offset as 1.5"},
        {R"({"offset": 18446744073709551615, "format": "float32"})", "so it can be 0 to 132"},
        {R"({"offset": 64, "format": "float32", "count": 39})", "gives count as 39; supported are"},
        {R"({"offset": 64, "format": "float32", "scale": 0})", "gives the scale as 0"},
        {R"({"offset": 64, "format": "float32", "scale": 1e400})", "a number that is too large"},
        {R"({"offset": 64, "format": "float32", "name": {"offset": 250, "size": 7}})",
         "'size' of 'name' as a whole number from 0 to 6"},
        {R"({"offset": 64, "format": "float32", "kind": 6})", "'offset' of 'kind'"},
        {R"({"offset": 64, "format": "float32", "ofset": 1})", "'ofset' that means nothing"},
    };
    for (const auto& [json, problem] : cases) {
        EXPECT_THAT(problemOf(json), HasSubstr(problem)) << json;
    }
    EXPECT_EQ(problemOf(R"({"offset": 132, "format": "float32"})"), "");
}

TEST(RecordLayout, DoesNotTakeAnythingForASpectrum) {
    const float badValues[] = {std::numeric_limits<float>::quiet_NaN(),
                               std::numeric_limits<float>::infinity(), -0.11F, 2.01F};
    for (const float bad : badValues) {
        Spectrum spectrum = rampSpectrum();
        spectrum[3] = bad;
        const auto read = readSpectrum(recordOf(spectrum), RecordLayout{});
        EXPECT_FALSE(read.spectrum);
        EXPECT_THAT(read.problem, HasSubstr("at 430 nm"));
    }
    Spectrum edge = rampSpectrum();
    edge[0] = -0.09F;
    edge[30] = 1.99F;
    EXPECT_TRUE(readSpectrum(recordOf(edge), RecordLayout{}).spectrum);
}

}  // namespace
}  // namespace cqtool
