// A wireless instrument through the C++ classes.

#include <gtest/gtest.h>

#include "cqapi/CQApi.hpp"
#include "peer/VirtualInstrument.h"

namespace {

using cqapi::Instrument;
using cqtest::VirtualInstrument;

constexpr const char* kQuick = "--adapter --at-delay 2 --scan-ready";

TEST(CppWireless, ScansWhoIsThere) {
    const VirtualInstrument peer(kQuick,
                                 R"([{"name": "Far", "address": "AA01", "rssi": -90},
            {"name": "A name of twenty-six letters", "address": "AA02", "rssi": -41}])");
    const std::vector<cqapi::Slave> slaves = cqapi::scan(peer.portName());
    ASSERT_EQ(slaves.size(), 2U);
    EXPECT_EQ(slaves[0].name, "Far");
    EXPECT_EQ(slaves[0].address, "AA01");
    EXPECT_EQ(slaves[0].rssi, -90);
    EXPECT_EQ(slaves[1].name, "") << "longer than its field, and not the end of the list";
    EXPECT_EQ(slaves[1].address, "AA02");
}

TEST(CppWireless, OpensTheOneThatIsNamedOrTheStrongest) {
    const VirtualInstrument peer(kQuick);
    const auto serialOf = [](Instrument instrument) { return instrument.deviceInfo().infoText4; };
    EXPECT_EQ(serialOf(Instrument::openWireless(peer.portName(), "C4BE84A1B2C5")), "VI-000003");
    EXPECT_EQ(serialOf(Instrument::openWireless(peer.portName())), "VI-000002");
}

}  // namespace
