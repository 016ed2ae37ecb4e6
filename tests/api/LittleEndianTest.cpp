#include "api/LittleEndian.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace ovk {
namespace {

template <class T>
struct Sample {
    T value;
    std::vector<std::uint8_t> bytes;
};

/// Reads and writes at an odd address between two bytes that must stay as they are.
template <class T>
void expectBothWays(const Sample<T>& sample) {
    constexpr std::uint8_t kGuard = 0x5C;
    std::vector<std::uint8_t> buffer(sizeof(T) + 2, kGuard);
    std::vector<std::uint8_t> expected(sizeof(T) + 2, kGuard);
    std::copy(sample.bytes.begin(), sample.bytes.end(), expected.begin() + 1);

    storeLittleEndian<T>(buffer.data() + 1, sample.value);
    EXPECT_EQ(buffer, expected);
    EXPECT_EQ(loadLittleEndian<T>(expected.data() + 1), sample.value);
}

TEST(LittleEndian, putsTheLeastSignificantByteFirst) {
    expectBothWays<std::uint8_t>({0xA6, {0xA6}});
    expectBothWays<std::uint16_t>({0x29B1, {0xB1, 0x29}});
    expectBothWays<std::uint16_t>({0xFF00, {0x00, 0xFF}});
    expectBothWays<std::uint32_t>({0x40000001, {0x01, 0x00, 0x00, 0x40}});
    expectBothWays<std::uint32_t>({0xFEDCBA98, {0x98, 0xBA, 0xDC, 0xFE}});
    expectBothWays<std::uint64_t>(
        {0x8877665544332211, {0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88}});
}

}  // namespace
}  // namespace ovk
