#include "api/ResultCode.h"

#include <array>

namespace ovk {

const char* resultText(ResultCode code) noexcept {
    static constexpr std::array<const char*, CQ_UNKNOWN_ERROR + 1> kTexts{
        "no error",          "cannot found device", "fail to open",
        "device is closed",  "no session",          "device is busy",
        "sending timeout",   "receiving timeout",   "execute command failed",
        "system error",      "invalid packet",      "unexpected command",
        "uncalibrated",      "the storage is full", "fail to calibrate",
        "no enough storage", "invalid parameter",   "not supported",
        "has connected",     "unknown error",
    };
    return code < kTexts.size() ? kTexts[code] : kTexts[CQ_UNKNOWN_ERROR];
}

}  // namespace ovk
