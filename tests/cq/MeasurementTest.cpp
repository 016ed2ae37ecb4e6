#include "commands/MeasurementView.h"
#include "instrument/Records.h"
#include "Samples.h"
#include "text/Json.h"

namespace cqtool {
namespace {

using testing::HasSubstr;

MeasurementView viewIn(const char* space) {
    return MeasurementView({IlluminantD65, Observer10Degree}, colorSpaceNamed(space),
                           RecordLayout{});
}

TEST(MeasurementView, SaysWhenARecordHasNoSpectrum) {
    CqMeasurementRecord noise;
    std::fill(std::begin(noise.bytes), std::end(noise.bytes), std::uint8_t{0xFF});
    const MeasurementView view = viewIn("lab");
    const Json json = readable(view.json(view.of(noise, false)));
    EXPECT_EQ(json["kind"], "trial");
    EXPECT_THAT(json["problem"].get<std::string>(),
                HasSubstr("no plausible spectrum at offset 64"));
    EXPECT_FALSE(json.contains("lab"));
    EXPECT_FALSE(json.contains("spectrum"));
    EXPECT_EQ(json["record"], std::string(512, 'f'));
}

TEST(Records, AreShownFieldByField) {
    CqDeviceInfo info{};
    std::copy_n("serial", 6, info.infoText4);
    std::fill(std::begin(info.infoText12), std::end(info.infoText12), 'x');  // without its NUL
    info.trailingValue = 0xFFFFFFFF00000123U;
    const auto texts = textsOf(info);
    EXPECT_THAT(texts,
                testing::Contains(std::pair<std::string, std::string>("infoText4", "serial")));
    EXPECT_EQ(texts.back().second, std::string(16, 'x'));
    EXPECT_EQ(standardCapacity(info), 0x123U);

    CqInstrumentStatus status{};
    auto* bytes = reinterpret_cast<std::uint8_t*>(&status);
    for (std::uint8_t i = 0; i < sizeof status; ++i) {
        bytes[i] = i;
    }
    // Each item's place in the 20 bytes.
    EXPECT_THAT(itemsOf(status),
                testing::ElementsAre(std::pair(0, 14U), std::pair(14, 6U), std::pair(15, 5U),
                                     std::pair(16, 0U), std::pair(17, 3U), std::pair(18, 7U),
                                     std::pair(19, 9U), std::pair(20, 8U)));
}

}  // namespace
}  // namespace cqtool
