#include "api/ResultCode.h"

#include <gtest/gtest.h>

#include "api/CommunicationException.h"

namespace ovk {
namespace {

struct NamedCode {
    ResultCode code;
    const char* text;
};

// Hosts show these texts and compare with their own copy, so each letter counts.
TEST(ResultCode, hasAFixedText) {
    for (const auto& [code, text] : {NamedCode{0, "no error"},
                                     NamedCode{1, "cannot found device"},
                                     NamedCode{2, "fail to open"},
                                     NamedCode{3, "device is closed"},
                                     NamedCode{4, "no session"},
                                     NamedCode{5, "device is busy"},
                                     NamedCode{6, "sending timeout"},
                                     NamedCode{7, "receiving timeout"},
                                     NamedCode{8, "execute command failed"},
                                     NamedCode{9, "system error"},
                                     NamedCode{10, "invalid packet"},
                                     NamedCode{11, "unexpected command"},
                                     NamedCode{12, "uncalibrated"},
                                     NamedCode{13, "the storage is full"},
                                     NamedCode{14, "fail to calibrate"},
                                     NamedCode{15, "no enough storage"},
                                     NamedCode{16, "invalid parameter"},
                                     NamedCode{17, "not supported"},
                                     NamedCode{18, "has connected"},
                                     NamedCode{19, "unknown error"},
                                     NamedCode{20, "unknown error"},
                                     NamedCode{0xFFFFFFFF, "unknown error"}}) {
        EXPECT_STREQ(resultText(code), text) << code;
    }
}

TEST(CommunicationException, keepsACodeThatHasNoTextOfItsOwn) {
    const CommunicationException failure(25);
    EXPECT_EQ(failure.code(), 25U);
    EXPECT_EQ(failure.detail(), 0U);
    EXPECT_STREQ(failure.what(), "unknown error");
}

TEST(CommunicationException, carriesItsMessageThroughACopy) {
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
