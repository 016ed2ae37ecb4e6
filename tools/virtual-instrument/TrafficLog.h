#pragma once

#include <ostream>
#include <string>
#include <string_view>
#include <utility>

#include "Bytes.h"

namespace vi {

/// Logs the traffic on the line, one line of text per packet: seconds since the start, direction,
/// the packet in words, its bytes.
class TrafficLog {
  public:
    enum class Direction { fromHost, toHost };

    /// \param out null to write nothing. Must live as long as the log.
    /// \param name what each line begins with; may be empty.
    TrafficLog(std::ostream* out, TimePoint start, std::string name = {})
        : out_(out), start_(start), name_(std::move(name)) {}

    bool isOn() const { return out_ != nullptr; }

    void packet(Direction direction, std::string_view words, ByteView bytes, TimePoint now);
    /// The instrument's remark on the line before.
    void note(std::string_view words, TimePoint now);

  private:
    std::string prefix(const char* mark, TimePoint now) const;

    std::ostream* out_;
    TimePoint start_;
    std::string name_;
};

}  // namespace vi
