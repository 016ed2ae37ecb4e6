#pragma once

#include <ostream>
#include <string>
#include <string_view>

#include "Bytes.h"

namespace vi {

/// Writes what goes over the line, one line of text a packet: seconds since the start, direction,
/// the packet in words, its bytes.
class TrafficLog {
  public:
    enum class Direction { fromHost, toHost };

    /// \param out null: nothing is written. Must live as long as the log.
    TrafficLog(std::ostream* out, TimePoint start) : out_(out), start_(start) {}

    bool isOn() const { return out_ != nullptr; }

    void packet(Direction direction, std::string_view words, ByteView bytes, TimePoint now);
    /// What the instrument thinks of the line before it.
    void note(std::string_view words, TimePoint now);

  private:
    std::string prefix(const char* mark, TimePoint now) const;

    std::ostream* out_;
    TimePoint start_;
};

}  // namespace vi
