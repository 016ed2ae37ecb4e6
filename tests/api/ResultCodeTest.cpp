#include "api/ResultCode.h"

#include <gtest/gtest.h>

#include "api/CommunicationException.h"

namespace ovk {
namespace {

// Hosts show these texts and compare with their own copy, so each letter counts.
TEST(ResultCode, HasAFixedText) {
    const char* const texts[]{"no error",          "cannot found device", "fail to open",
                              "device is closed",  "no session",          "device is busy",
                              "sending timeout",   "receiving timeout",   "execute command failed",
                              "system error",      "invalid packet",      "unexpected command",
                              "uncalibrated",      "the storage is full", "fail to calibrate",
                              "no enough storage", "invalid parameter",   "not supported",
                              "has connected",     "unknown error",       "unknown error"};
    for (ResultCode code = 0; code < std::size(texts); ++code) {
        EXPECT_STREQ(cqGetResultText(code), texts[code]) << code;
    }
    EXPECT_STREQ(cqGetResultText(0xFFFFFFFF), "unknown error");
    EXPECT_STREQ(cqGetVersion(), CQAPI_VERSION_STRING);
}

TEST(CommunicationException, CarriesItsMessageThroughACopy) {
    for (const auto& [failure, text] :
         {std::pair(CommunicationException(CQ_RECEIVING_TIMEOUT, 995), "receiving timeout"),
          std::pair(CommunicationException(CQ_SYSTEM_ERROR, "serial port detached"),
                    "serial port detached")}) {
        try {
            std::rethrow_exception(std::make_exception_ptr(failure));
        } catch (const std::exception& copy) {
            EXPECT_STREQ(copy.what(), text);
        }
    }
    EXPECT_EQ(CommunicationException(CQ_RECEIVING_TIMEOUT, 995).detail(), 995U);
}

}  // namespace
}  // namespace ovk
