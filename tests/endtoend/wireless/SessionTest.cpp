// The beginning and the end of a session at the adapter.

#include <gtest/gtest.h>

#include "endtoend/wireless/Wireless.h"
#include "peer/AtOnce.h"

namespace cqtest {
namespace {

/// Checks that the parts stand in the text in this order.
void expectInOrder(const std::string& text, const std::vector<std::string>& parts) {
    std::size_t at = 0;
    for (const std::string& part : parts) {
        const std::size_t found = text.find(part, at);
        ASSERT_NE(found, std::string::npos) << part << " is missing behind byte " << at << " of\n"
                                            << text;
        at = found + part.size();
    }
}

const std::string kEscape = "command AT+EX=3C9A0E57B21D4F8861A7C5E09D2B74F1";

TEST(WirelessSession, OpensAndClosesInOrder) {
    Wireless wireless;
    wireless.handle.close();
    const std::string log = wireless.adapter.lineLog();
    expectInOrder(log, {kEscape, "command AT+DC", "command AT+MT=1", "command AT+BY=02",
                        "command AT+EXM=0", "command AT+EXL=16", "command AT+AR",
                        "command AT+CT=C4BE84A1B2C3", "tells +CONNECTED>>0xC4BE84A1B2C3",
                        "request type=1 cmd=1 (hello)", "request type=1 cmd=2 (goodbye)", kEscape,
                        "answer BY=00", "command AT+DC", "answer +DISCONNECT"});
    EXPECT_EQ(log.find("no packet"), std::string::npos) << log;
}

TEST(WirelessSession, CloseEndsTheCallThatRunsAndThoseThatWaitTheirTurn) {
    Adapter adapter("--calibrated --measure-time 3000");
    const CqHandle handle = openWireless(adapter.portName());
    const auto untilItMeasures = [&] { EXPECT_TRUE(adapter.waitUntilLogged("measure")); };
    std::atomic<std::uint32_t> waiting{99};
    std::thread second([&] {
        untilItMeasures();
        std::uint32_t count = 0;
        waiting = cqGetTotalStandards(handle, &count);
    });
    EXPECT_EQ(closeWhileMeasuring(handle, untilItMeasures), CQ_DEVICE_IS_CLOSED);
    second.join();
    EXPECT_TRUE(waiting == CQ_DEVICE_IS_CLOSED || waiting == CQ_NOT_SUPPORTED) << waiting;
}

// Nothing in a reply says what it replies to: the driver lets one call run at a time.
TEST(WirelessSession, GivesEachThreadItsOwnAnswer) {
    Wireless wireless("--standards 5 --samples 9");
    atOnce(3, [&](std::size_t thread) {
        for (int round = 0; round < 30; ++round) {
            std::uint32_t count = 0;
            CqMeasurementRecord record{};
            if (thread == 0) {
                EXPECT_EQ(cqGetTotalStandards(wireless.handle, &count), CQ_NO_ERROR);
                EXPECT_EQ(count, 5U);
            } else if (thread == 1) {
                EXPECT_EQ(cqGetTotalSamples(wireless.handle, &count), CQ_NO_ERROR);
                EXPECT_EQ(count, 9U);
            } else {
                EXPECT_EQ(cqUploadStandards(wireless.handle, &record, 0, 1), CQ_NO_ERROR);
                EXPECT_EQ(std::memcmp(record.bytes, "VMR1", 4), 0);
            }
        }
    });
}

}  // namespace
}  // namespace cqtest
