#include <algorithm>

#include "exchange/Exchange.h"
#include "Samples.h"
#include "text/Encoding.h"

namespace cqtool {
namespace {

using testing::HasSubstr;

constexpr auto kQtx = ExchangeFormat::qtx;

RecordSet readQtxText(const std::string& content) {
    return parsedRecords(content, kQtx, "file");
}

/// Percent values beginning with 10, one more each time.
std::string values(int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += (i == 0 ? "" : ",") + std::to_string(10 + i);
    }
    return text;
}

RecordEntry ramp(const std::string& name, std::uint32_t index, bool isStandard) {
    return entryOf(recordOf(rampSpectrum()), index, isStandard, {}, {IlluminantA, Observer2Degree},
                   name);
}

TEST(Qtx, GivesBackWhatWasWritten) {
    RecordSet set;
    set.viewing = {IlluminantA, Observer2Degree};
    set.entries = {ramp("foncé,", 3, true), ramp("one\ntwo", 1, false), ramp("second", 4, true),
                   ramp("three", 2, false)};
    set.entries[1].time = "2024-05-01T10:00:00Z";
    set.entries[3].spectrum.reset();
    const std::string content = writtenRecords(set, kQtx);
    EXPECT_THAT(content, HasSubstr("STD_NAME=fonc\xE9,,\r\n"));
    const RecordSet read = readQtxText(content);
    EXPECT_EQ(read.viewing.illuminant, IlluminantA);
    ASSERT_EQ(read.entries.size(), 4U);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(read.entries[i].index, set.entries[i].index);
        EXPECT_EQ(read.entries[i].isStandard, set.entries[i].isStandard);
        EXPECT_EQ(read.entries[i].spectrum, set.entries[i].spectrum);
        EXPECT_EQ(read.entries[i].time, set.entries[i].time);
        EXPECT_NEAR(read.entries[i].lab->values[1], set.entries[i].lab->values[1], 1e-3);
    }
    EXPECT_EQ(read.entries[0].name, "foncé,");
    EXPECT_EQ(read.entries[1].name, "one?two");
    set.entries[0].name = "Ω";
    EXPECT_EQ(readQtxText(writtenRecords(set, kQtx)).entries[0].name, "Ω");
    set.entries[0].spectrum.reset();
    set.entries[0].lab.reset();
    EXPECT_THAT(thrownBy<Failure>([&] { writtenRecords(set, kQtx); }), HasSubstr("hold 'Ω'"));
}

TEST(Qtx, ReadsFilesOfOtherPrograms) {
    const RecordSet set = readQtxText(
        "[HEADER]\nanything\n[BATCH_DATA 7]\nSTD_NAME=wine,\nBAT_NAME=early,\nBAT_R=" + values(31) +
        ",\n[STANDARD_DATA]\nSTD_NAME = ros\xE9 \nSTD_DATETIME=1700000000,\n"
        "STD_REFLPOINTS=35,\nSTD_REFLINTERVAL=10\nSTD_REFLLOW=360\nCMC_l=2\nSTD_R=" +
        values(35) + "\n[batch]\nbat_r=" + values(31) +
        "\n[STANDARD 0]\nBAT_NAME=wine\nBAT_VIEWING=F11 10\xB0\nBAT_X=40\nBAT_Y=42\nBAT_Z=\n"
        "BAT_R=" +
        values(31) + "\n[BATCH_DATA 8]\nSTD_NAME=unknown\nBAT_R=" + values(31) + "\n");
    ASSERT_EQ(set.entries.size(), 5U);
    // The first is of a standard that is not there, and so of none.
    const char* names[] = {"trial 8", "rosé", "trial 1", "wine", "early"};
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(set.entries[i].name, names[i]);
        EXPECT_EQ(set.entries[i].isStandard, i == 1 || i == 3);
    }
    EXPECT_FLOAT_EQ(set.entries[1].spectrum->front(), 0.14F);
    EXPECT_FLOAT_EQ(set.entries[2].spectrum->back(), 0.40F);
    EXPECT_EQ(set.entries[1].time, "2023-11-14T22:13:20Z");
    EXPECT_EQ(set.viewing.illuminant, IlluminantF11);
}

TEST(Qtx, SaysWhatIsWrong) {
    const std::string head = "[STANDARD_DATA 0]\nSTD_NAME=x\n";
    const struct {
        std::string content;
        const char* says;
    } cases[] = {
        {"", "not a QTX file"},
        {head, "file line 1: 'x' has neither"},
        {head + "STD_R=" + values(30), "nothing gives the wavelengths of the 30 values"},
        {head + "STD_R=" + values(31) + "\nSTD_REFLPOINTS=16", "has 31 values, but"},
        {head + "STD_R=" + values(16) + "\nSTD_REFLLOW=400\nSTD_REFLINTERVAL=20", "at 410 nm"},
        {head + "STD_R=" + values(31) + "\nSTD_REFLLOW=405", "at 400 nm"},
        {head + "STD_R=" + values(31) + "\nSTD_REFLINTERVAL=0", "at 400 nm"},
        {head + "STD_R=" + values(20) + ",,20\nSTD_X=1", "STD_R must be a number, not ''"},
        {head + "STD_R=9" + values(31), "with 910 at 400 nm is not a reflectance"},
        {head + "torn", "file line 3: KEY=value is expected, not 'torn'"},
        {head + "STD_X=4\nSTD_Y=1e9\nSTD_Z=4", "no surface has"},
        {head + "STD_X=4\nSTD_Y=4\nSTD_Z=4\n[BATCH]\nBAT_VIEWING=A/2\nBAT_X=4\nBAT_Y=4\nBAT_Z=4",
         "line 6: its colour is for A/2° where others are for D65/10°"},
    };
    for (const auto& one : cases) {
        EXPECT_THAT(thrownBy<Failure>([&] { readQtxText(one.content); }), HasSubstr(one.says));
    }
}

TEST(Encoding, KeepsEveryText) {
    for (const std::string text : {"plain", "foncé", "Ã©", "Ω é", "10°"}) {
        EXPECT_EQ(utf8Of(latin1Of(text)), text);
    }
    EXPECT_EQ(latin1Of("é"), "\xE9");
    EXPECT_EQ(utf8Of("\xEF\xBB\xBF"
                     "a\xED\xA0\x80"),
              "a\xC3\xAD\xC2\xA0\xC2\x80");
}

}  // namespace
}  // namespace cqtool
