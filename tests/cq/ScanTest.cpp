#include "commands/Options.h"
#include "Samples.h"
#include "terminal/SignalBars.h"

namespace cqtool {
namespace {

TEST(SignalBars, RiseWithTheSignal) {
    const struct {
        std::int32_t rssi;
        const char* bars;
    } cases[] = {
        {0, "▂▄▆█"},   {-56, "▂▄▆█"}, {-57, "▂▄▆·"}, {-68, "▂▄▆·"}, {-69, "▂▄··"},
        {-80, "▂▄··"}, {-81, "▂···"}, {-92, "▂···"}, {-93, "····"}, {-2147483647, "····"},
    };
    for (const auto& [rssi, bars] : cases) {
        EXPECT_EQ(signalBars(rssi), bars) << rssi;
    }
}

TEST(SlaveAddress, IsHexadecimalDigits) {
    EXPECT_EQ(slaveAddressOf("C4BE84a1b2c3"), "C4BE84a1b2c3");
    EXPECT_EQ(slaveAddressOf("C4:BE:84-A1-B2:C3"), "C4BE84A1B2C3");
    for (const char* text : {"", ":", "C4BE84A1B2CG", "C4 BE", "0x12"}) {
        EXPECT_THAT(thrownBy<UsageError>([&] { slaveAddressOf(text); }),
                    testing::HasSubstr("not '" + std::string(text) + "'"));
    }
}

}  // namespace
}  // namespace cqtool
