#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <utility>

#include "api/ResultCode.h"

namespace ovk {

/// A failure of the port, the link or the instrument, as a result code.
class CommunicationException : public std::exception {
  public:
    /// \param detail a second number that goes with the code.
    explicit CommunicationException(ResultCode code, std::uint32_t detail = 0)
        : code_(code), detail_(detail), message_(resultText(code)) {}
    CommunicationException(ResultCode code, std::string message)
        : code_(code), message_(std::move(message)) {}

    ResultCode code() const noexcept { return code_; }
    std::uint32_t detail() const noexcept { return detail_; }
    const char* what() const noexcept override { return message_.c_str(); }

  private:
    ResultCode code_;
    std::uint32_t detail_ = 0;
    std::string message_;
};

}  // namespace ovk
