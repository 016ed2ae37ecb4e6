#pragma once

/** @file
 * Result codes of CQApi.h as C++ exceptions. Included by CQApi.hpp.
 */

#include <cstdint>
#include <stdexcept>
#include <string>

#include "cqapi/CQApi.h"

namespace cqapi {

/** The text of a result code; "unknown error" from 20 on. */
inline const char* resultText(std::uint32_t code) noexcept {
    return cqGetResultText(code);
}

/** The version of the library that is loaded, as "1.0.0"; CQAPI_VERSION_STRING is that of the
 *  headers. */
inline const char* libraryVersion() noexcept {
    return cqGetVersion();
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
