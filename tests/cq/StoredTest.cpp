#include <cstring>
#include <filesystem>
#include <limits>

#include "commands/MeasurementSeries.h"
#include "instrument/Storage.h"
#include "instrument/WhiteBoard.h"
#include "Samples.h"
#include "terminal/StatusLine.h"
#include "text/IndexList.h"
#include "text/Json.h"

namespace cqtool {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

TEST(IndexList, NamesIndicesAndRanges) {
    EXPECT_THAT(indicesOf({"3", "7-9", "8", "0"}), ElementsAre(9, 8, 7, 3, 0));
    EXPECT_THAT(indicesOf({"4-4"}), ElementsAre(4));
    for (const char* wrong : {"", "x", "1x", "-1", "3-", "9-7", "1-2-3", "1000000", "4294967297"}) {
        EXPECT_THAT(thrownBy<UsageError>([wrong] { indicesOf({wrong}); }),
                    HasSubstr("not '" + std::string(wrong) + "'"));
    }
    EXPECT_EQ(rangeText(7, 1), "7");
    EXPECT_EQ(rangeText(7, 3), "7 to 9");
}

TEST(Portion, FitsTheLine) {
    Portion portion;
    EXPECT_EQ(portion.size(), 1U);
    portion.took(1, std::chrono::milliseconds(2));
    EXPECT_EQ(portion.size(), 50U);
    portion.took(50, std::chrono::seconds(5));
    EXPECT_EQ(portion.size(), 5U);
    portion.took(5, std::chrono::minutes(1));
    EXPECT_EQ(portion.size(), 1U);
    portion.took(1, std::chrono::nanoseconds(0));
    EXPECT_EQ(portion.size(), 50U);
}

TEST(StatusLine, ShowsHowFarSomethingIs) {
    EXPECT_EQ(progressText("reading", 0, 10), "reading  [--------------------]  0 of 10");
    EXPECT_EQ(progressText("reading", 999, 1000), "reading  [###################-]  999 of 1000");
    EXPECT_EQ(progressText("reading", 0, 0), "reading  [####################]  0 of 0");
}

TEST(MeasurementSeries, AveragesSpectraAndTellsTheSpread) {
    const MeasurementView view({IlluminantD65, Observer10Degree}, colorSpace(ColorSpaceLab), {});
    Spectrum dark;
    dark.fill(0.4F);
    Spectrum bright;
    bright.fill(0.6F);
    const std::vector<Measurement> measurements{view.of(recordOf(dark), true),
                                                view.of(recordOf(bright), true)};
    const Average average = averageOf(measurements, view);
    EXPECT_FLOAT_EQ(average.measurement.spectrum->at(30), 0.5F);
    // L* of neutrals, CIE 15:2018, equation 8.3: 69.47, 76.07 and 81.84 for 0.4, 0.5 and 0.6.
    EXPECT_NEAR(average.measurement.lab.values[0], 76.07, 0.01);
    EXPECT_NEAR(average.meanDeltaEab, (6.60 + 5.77) / 2, 0.02);
    EXPECT_NEAR(average.mostDeltaEab, 6.60, 0.02);
    EXPECT_FALSE(readable(view.json(average.measurement)).contains("record"));

    CqMeasurementRecord noise;
    std::fill(std::begin(noise.bytes), std::end(noise.bytes), std::uint8_t{0xFF});
    EXPECT_THAT(thrownBy<Failure>([&] {
                    averageOf({measurements[0], view.of(noise, true)}, view);
                }),
                HasSubstr("no plausible spectrum"));
}

TEST(MeasurementSeries, NumbersFilesInOrder) {
    EXPECT_EQ(numberedFile("a/red.record", 3, 12),
              (std::filesystem::path("a") / "red-03.record").string());
    EXPECT_EQ(numberedFile("red", 12, 12), "red-12");
}

CqWhiteBoardParameter oddBoard() {
    CqWhiteBoardParameter board{};
    std::copy_n("WT-0001", 7, board.text);
    board.reserved[15] = 255;
    const float values[] = {0.1F, -0.0F, 1e-40F, std::numeric_limits<float>::max()};
    std::memcpy(board.firstBlock, values, sizeof values);
    std::memcpy(board.secondBlock + 120, &values[0], sizeof(float));
    return board;
}

TEST(WhiteBoard, ComesBackFromJsonAndBytesAsItWas) {
    const CqWhiteBoardParameter board = oddBoard();
    const std::string bytes = whiteBoardBytes(board);
    const Json json = readable(whiteBoardJson(board));
    EXPECT_EQ(json["firstBlock"][0].dump(), "0.1");
    EXPECT_EQ(whiteBoardBytes(whiteBoardOfJson(json.dump(), "x")), bytes);
    EXPECT_EQ(whiteBoardBytes(whiteBoardOfBytes(bytes, "x")), bytes);
}

TEST(WhiteBoard, RefusesWhatCannotBeWritten) {
    const Json good = readable(whiteBoardJson(oddBoard()));
    const auto problemWith = [&good](const char* member, const Json& value) {
        Json bad = good;
        bad[member] = value;
        return thrownBy<Failure>([&bad] { whiteBoardOfJson(bad.dump(), "tile.json"); });
    };
    Json values = good["firstBlock"];
    values[30] = nullptr;
    EXPECT_THAT(problemWith("firstBlock", values), HasSubstr("tile.json: firstBlock[30] must be"));
    values[30] = 1e39;
    EXPECT_THAT(problemWith("firstBlock", values), HasSubstr("firstBlock[30] must be"));
    values.erase(30);
    EXPECT_THAT(problemWith("secondBlock", values), HasSubstr("list of 31 numbers"));
    EXPECT_THAT(problemWith("text", "sixteen letters!"), HasSubstr("at most 15 bytes"));
    EXPECT_THAT(problemWith("text", 7), HasSubstr("at most 15 bytes"));
    EXPECT_THAT(problemWith("reserved", Json::array({1, 2})), HasSubstr("list of 16"));
    EXPECT_THAT(problemWith("reserved", Json(std::vector<int>(16, 256))), HasSubstr("reserved[0]"));
    EXPECT_THAT(thrownBy<Failure>([] { whiteBoardOfJson("[]", "a"); }),
                HasSubstr("not a JSON object"));
    EXPECT_THAT(thrownBy<Failure>([] { whiteBoardOfJson("{", "a"); }), HasSubstr("not JSON"));
    EXPECT_THAT(thrownBy<Failure>([] { whiteBoardOfJson("{}", "a"); }), HasSubstr("has no 'text'"));
    EXPECT_THAT(thrownBy<Failure>([] { whiteBoardOfBytes("abc", "a.bin"); }), HasSubstr("3 bytes"));
}

}  // namespace
}  // namespace cqtool
