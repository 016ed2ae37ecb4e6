// The beginning and the end of a session at the adapter.

#include <gtest/gtest.h>

#include "endtoend/wireless/Wireless.h"

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

TEST(WirelessSession, CloseWhileACallWaitsEndsTheCallWithACode) {
    Adapter adapter("--calibrated --measure-time 3000");
    const std::uint32_t code =
        closeWhileMeasuring(cqOpenByBleDongle(adapter.portName(), kFirstAddress));
    EXPECT_TRUE(code == CQ_DEVICE_IS_BUSY || code == CQ_DEVICE_IS_CLOSED) << code;
}

}  // namespace
}  // namespace cqtest
