#include "commands/Options.h"
#include "commands/SlaveList.h"
#include "Samples.h"
#include "terminal/SignalBars.h"

namespace cqtool {
namespace {

using testing::ElementsAre;

CqBleSlave entry(const std::string& name, const std::string& address, std::int32_t rssi) {
    CqBleSlave slave{};
    name.copy(slave.name, sizeof slave.name);
    address.copy(slave.address, sizeof slave.address);
    slave.rssi = rssi;
    return slave;
}

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

TEST(Slaves, AreListedTheStrongestFirst) {
    // A name fills its field; what the library could not pass on is empty, and ends no list.
    const CqBleSlave list[] = {entry("", "", -70),
                               entry("Sixteen letters!", "C4BE84A1B2C3", -81),
                               entry("First of two", "01", -50),
                               entry("Second of two", "02", -50),
                               entry("clear\x1b[2Jscreen", "", -92),
                               entry("", "", 0),
                               entry("behind the end", "03", -1)};
    const auto slaves = slavesOf(list);
    EXPECT_THAT(slaveLines(slaves, Palette(ColorDepth::none)),
                ElementsAre("name              address             dBm  signal",
                            "First of two      01                  -50  ▂▄▆█    strongest",
                            "Second of two     02                  -50  ▂▄▆█",
                            "(name too long)   (address too long)  -70  ▂▄··",
                            "Sixteen letters!  C4BE84A1B2C3        -81  ▂···",
                            "clear?[2Jscreen   (address too long)  -92  ▂···"));
    const Json json = slavesJson(slaves);
    EXPECT_EQ(json[0].dump(),
              R"({"name":"First of two","address":"01","rssi":-50,"strongest":true})");
    EXPECT_EQ(json[2].dump(), R"({"name":null,"address":null,"rssi":-70,"strongest":false})");
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
