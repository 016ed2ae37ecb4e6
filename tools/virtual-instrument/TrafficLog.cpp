#include "TrafficLog.h"

#include <array>
#include <cstdio>

namespace vi {

std::string TrafficLog::prefix(const char* mark, TimePoint now) const {
    const double seconds = std::chrono::duration<double>(now - start_).count();
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%12.6f %s ", seconds, mark);
    return name_ + text.data();
}

void TrafficLog::packet(Direction direction, std::string_view words, ByteView bytes,
                        TimePoint now) {
    if (out_ == nullptr) {
        return;
    }
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string line = prefix(direction == Direction::fromHost ? "host >" : "host <", now);
    // Some of the words are the host's own, and a terminal must not obey them.
    for (const char letter : words) {
        line += letter >= ' ' && letter <= '~' ? letter : '?';
    }
    line.append(" :");
    for (const std::uint8_t byte : bytes) {
        line.append({' ', kDigits[byte >> 4], kDigits[byte & 0xF]});
    }
    // Flushed, so that the log is complete if the program is killed.
    *out_ << line << '\n' << std::flush;
}

void TrafficLog::note(std::string_view words, TimePoint now) {
    if (out_ != nullptr) {
        *out_ << prefix("      ", now).append(words) << '\n' << std::flush;
    }
}

}  // namespace vi
