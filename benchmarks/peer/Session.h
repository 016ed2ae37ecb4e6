#pragma once

#include <stdexcept>

#include "cqapi/CQApi.h"
#include "peer/ScriptedInstrument.h"

namespace cqbench {

/// An instrument opened through the library, for as long as this lives.
class Session {
  public:
    explicit Session(const ScriptedInstrument& instrument)
        : handle_(cqOpen(instrument.portName().c_str())) {
        if (handle_ == nullptr) {
            throw std::runtime_error("cqOpen has failed on " + instrument.portName());
        }
    }
    ~Session() { cqClose(handle_); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    CqHandle handle() const { return handle_; }

  private:
    CqHandle handle_;
};

/// \throw std::runtime_error if a call has failed: its time would mean nothing.
inline void require(std::uint32_t code) {
    if (code != CQ_NO_ERROR) {
        throw std::runtime_error("a call of the library has failed with result code " +
                                 std::to_string(code));
    }
}

}  // namespace cqbench
