#pragma once

#include <cstdint>
#include <exception>

namespace ovk::cq {

/// Carries the error number that the instrument reported (its own numbering, not a result code)
/// from the receive thread to the waiting call.
class RemoteException : public std::exception {
  public:
    explicit RemoteException(std::uint32_t instrumentError) : instrumentError_(instrumentError) {}

    std::uint32_t instrumentError() const noexcept { return instrumentError_; }

  private:
    std::uint32_t instrumentError_;
};

}  // namespace ovk::cq
