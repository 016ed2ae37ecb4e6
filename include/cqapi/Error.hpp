#pragma once

/** @file
 * Result codes of CQApi.h as C++ exceptions. Included by CQApi.hpp.
 */

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "cqapi/CQApi.h"

namespace cqapi {

/** The text of a result code; codes beyond the table share that of CQ_UNKNOWN_ERROR. */
inline const char* resultText(std::uint32_t code) noexcept {
    constexpr std::array<const char*, CQ_UNKNOWN_ERROR + 1> kTexts{
        "no error",          "cannot found device", "fail to open",
        "device is closed",  "no session",          "device is busy",
        "sending timeout",   "receiving timeout",   "execute command failed",
        "system error",      "invalid packet",      "unexpected command",
        "uncalibrated",      "the storage is full", "fail to calibrate",
        "no enough storage", "invalid parameter",   "not supported",
        "has connected",     "unknown error"};
    return kTexts[std::min<std::size_t>(code, kTexts.size() - 1)];
}

/** A call that failed. what() names the call, the text and the code. */
class Error : public std::runtime_error {
  public:
    Error(std::uint32_t code, const std::string& what)
        : std::runtime_error(what + ": " + resultText(code) + " (" + std::to_string(code) + ")"),
          code_(code) {}

    /** A value of CqResult. */
    std::uint32_t code() const noexcept { return code_; }
    /** The code's text alone. */
    const char* text() const noexcept { return resultText(code_); }

  private:
    std::uint32_t code_;
};

/** @throw Error unless the code is CQ_NO_ERROR. For a program's own calls to CQApi.h. */
inline void check(std::uint32_t code, const char* call) {
    if (code != CQ_NO_ERROR) {
        throw Error(code, call);
    }
}

}  // namespace cqapi
