// Listing what is within an adapter's reach.

#include <gtest/gtest.h>

#include <chrono>

#include "endtoend/wireless/Wireless.h"

namespace cqtest {
namespace {

constexpr const char* kSlaves = R"([
    {"name": "exactly 15 char", "address": "00A0B1C2D3E4", "rssi": -91},
    {"name": "My Meter, 2", "address": "C4BE84A1B2C3", "rssi": -7},
    {"name": "sixteen letters!", "address": "C4BE84A1B2C5", "rssi": -127},
    {"name": "x", "address": "0123456789ABCDEF", "rssi": -50}])";

struct Expected {
    const char* name;
    const char* address;
    std::int32_t rssi;
};

void expectList(const CqBleSlave* list, const std::vector<Expected>& expected) {
    ASSERT_NE(list, nullptr);
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_STREQ(list[i].name, expected[i].name) << i;
        EXPECT_STREQ(list[i].address, expected[i].address) << i;
        EXPECT_EQ(list[i].rssi, expected[i].rssi) << i;
    }
    const CqBleSlave end{};
    EXPECT_EQ(std::memcmp(list + expected.size(), &end, sizeof(end)), 0) << "ended by zeros";
}

// A text that its field cannot hold with its NUL is empty, and the entry stays.
const std::vector<Expected> kExpected{{"exactly 15 char", "00A0B1C2D3E4", -91},
                                      {"My Meter, 2", "C4BE84A1B2C3", -7},
                                      {"", "C4BE84A1B2C5", -127},
                                      {"x", "", -50}};

TEST(Scan, ListsEveryoneInTheOrderHeard) {
    const Adapter adapter("", kSlaves);
    const auto start = std::chrono::steady_clock::now();
    const Scan scan(adapter.portName());
    const auto taken = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(scan.code, CQ_NO_ERROR);
    expectList(scan.list, kExpected);
    EXPECT_LT(taken, std::chrono::seconds(5));

    const std::string log = adapter.lineLog();
    const auto first = log.find("command AT+SC");
    ASSERT_NE(first, std::string::npos);
    EXPECT_NE(log.find("command AT+SC", first + 1), std::string::npos) << "the scan was ended";
}

TEST(Scan, SurvivesAnswersThatAreAtHandOrComeInPiecesOrSlowlyAndLetsThePortGo) {
    for (const char* options : {"--scan-ready", "--fault at-split", "--scan-ready --fault at-split",
                                "--scan-ready --at-delay 40"}) {
        SCOPED_TRACE(options);
        const Adapter adapter(options, kSlaves);
        for (int round = 0; round < 2; ++round) {
            const Scan scan(adapter.portName());
            EXPECT_EQ(scan.code, CQ_NO_ERROR);
            expectList(scan.list, kExpected);
        }
    }
}

TEST(Scan, TellsWhyThereIsNoList) {
    const Adapter deserted("--scan-ready", "[]");
    const Adapter blank("--fault at-blank");
    const std::pair<const char*, std::uint32_t> cases[] = {{deserted.portName(), CQ_NO_ERROR},
                                                           {nullptr, CQ_INVALID_PARAMETER},
                                                           {"", CQ_FAIL_TO_OPEN},
                                                           {"cqapi-no-such-port", CQ_FAIL_TO_OPEN},
                                                           {blank.portName(), CQ_SYSTEM_ERROR}};
    for (const auto& [port, code] : cases) {
        const Scan scan(port);
        EXPECT_EQ(scan.code, code) << (port == nullptr ? "null" : port);
        EXPECT_EQ(scan.list, nullptr);
    }
}

}  // namespace
}  // namespace cqtest
