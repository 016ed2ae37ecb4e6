#include "ble/SlaveDevice.h"

#include <gtest/gtest.h>

namespace ovk {

bool operator==(const SlaveDevice& left, const SlaveDevice& right) {
    return left.name == right.name && left.address == right.address && left.rssi == right.rssi;
}

namespace {

TEST(ScanLine, IsReadAsNameAddressAndSignalStrength) {
    struct Case {
        std::string line;
        std::optional<SlaveDevice> expected;
    };
    const SlaveDevice meter{"My Meter 2", "C4BE84A1B2C3", -67};
    const std::string longName(1'000'000, ',');
    const Case cases[]{
        {"SR=3:My Meter 2,C4BE84A1B2C3,-67", meter},
        {"SR=0123456789012345678901234567890:My Meter 2,C4BE84A1B2C3,-67", meter},
        {"SR=3:My Meter 2,C4BE84A1B2C3,-67 dBm, and more", meter},
        {"SR=3:a,b,0f,-1", SlaveDevice{"a,b", "0f", -1}},
        {"SR=3:a,AA,-5,BB,-6", SlaveDevice{"a,AA,-5", "BB", -6}},
        {"SR=3:a,AA,-5,BB,6", SlaveDevice{"a", "AA", -5}},
        {"SR=3:,,AA,-5", SlaveDevice{",", "AA", -5}},
        {"SR=3: ,AA,-0", SlaveDevice{" ", "AA", 0}},
        {"SR=3:\xE6\xB5\x8B,AA,-5", SlaveDevice{"\xE6\xB5\x8B", "AA", -5}},
        {"SR=3:a,AA,-2147483648", SlaveDevice{"a", "AA", -2147483647 - 1}},
        {"SR=3:a,AA,-2147483649", std::nullopt},
        {"SR=3:a,AA,-5,BB,-99999999999999999999", std::nullopt},
        {"SR=3:My Meter 2,C4BE84A1B2C3,67", std::nullopt},
        {"SR=3:My\tMeter,C4BE84A1B2C3,-67", std::nullopt},
        {"SR=3:a,AA,-", std::nullopt},
        {"SR=3:a,AG,-5", std::nullopt},
        {"SR=3:a,,-5", std::nullopt},
        {"SR=3:,AA,-5", std::nullopt},
        {"SR=:a,AA,-5", std::nullopt},
        {" SR=3:a,AA,-5", std::nullopt},
        {"sr=3:a,AA,-5", std::nullopt},
        {"+INQE", std::nullopt},
        {"", std::nullopt},
        {"SR=3:" + longName + "a,AA,-5", SlaveDevice{longName + "a", "AA", -5}},
        {"SR=3:a" + longName, std::nullopt},
    };
    for (const Case& each : cases) {
        EXPECT_TRUE(parseScanLine(each.line) == each.expected) << each.line.substr(0, 80);
    }
}

}  // namespace
}  // namespace ovk
