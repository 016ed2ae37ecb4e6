#include "CQCommProtocol/Crc16.h"

#include <gtest/gtest.h>

#include "CQCommProtocol/WireBytes.h"

namespace ovk {
namespace {

TEST(Crc16, HasTheCatalogueCheckValue) {
    EXPECT_EQ(crc16({}), 0xFFFF);
    EXPECT_EQ(crc16(test::hex("31 32 33 34 35 36 37 38 39")), 0x29B1);
}

// The library takes eight bytes at a step and the rest one by one: every split must agree with the
// definition, and every place in a step must have its own table.
TEST(Crc16, AgreesWithItsDefinitionAtEveryLength) {
    for (std::size_t length = 0; length <= 40; ++length) {
        for (const std::size_t first : {0U, 100U, 200U}) {
            const test::Bytes bytes = test::pattern(length, first);
            EXPECT_EQ(crc16(bytes), test::crcByBits(bytes)) << length << " bytes from " << first;
        }
    }
    for (std::size_t place = 0; place < 8; ++place) {
        test::Bytes bytes(8);
        for (unsigned value = 0; value < 256; ++value) {
            bytes[place] = static_cast<std::uint8_t>(value);
            ASSERT_EQ(crc16(bytes), test::crcByBits(bytes)) << value << " at " << place;
        }
    }
}

}  // namespace
}  // namespace ovk
