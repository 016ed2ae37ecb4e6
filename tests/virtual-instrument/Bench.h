#pragma once

#include <cctype>
#include <chrono>
#include <string>
#include <utility>

#include "instrument/Instrument.h"
#include "line/DelayLine.h"
#include "TrafficLog.h"
#include "wired/WiredProtocol.h"

namespace vi::test {

using std::chrono::milliseconds;

inline constexpr TimePoint kStart{std::chrono::hours(1)};

/// "55 AA" as bytes; blanks do not matter.
inline Bytes hex(const std::string& text) {
    std::string digits;
    for (const char c : text) {
        if (std::isxdigit(static_cast<unsigned char>(c)) != 0) {
            digits += c;
        }
    }
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

inline std::string hexText(ByteView bytes) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += text.empty() ? "" : " ";
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0xF];
    }
    return text;
}

inline const std::string kShakeHands = "55 AA A1 00 00 00 02 00 02";

/// An instrument with a host's end of its cable in the test's hand, and time that stands still
/// between the steps.
class Bench {
  public:
    struct Set {
        Instrument::Settings instrument;
    };
    Bench() : Bench(Set{}) {}
    explicit Bench(Set set)
        : instrument(std::move(set.instrument), [] { return 1'700'000'000U; }),
          protocol(instrument, out_, log_, {}, [] {}) {}

    /// The host writes; gives what comes back at once.
    std::string host(const std::string& text) {
        protocol.receive(hex(text), now);
        return output();
    }

    /// Time passes; gives what comes of itself.
    std::string after(milliseconds time) {
        now += time;
        protocol.elapse(now);
        return output();
    }

    TimePoint now = kStart;
    Instrument instrument;

  private:
    std::string output() {
        Bytes bytes;
        for (ByteView due = out_.due(now); !due.empty(); due = out_.due(now)) {
            bytes.insert(bytes.end(), due.begin(), due.end());
            out_.consume(due.size());
        }
        return hexText(bytes);
    }

    TrafficLog log_{nullptr, kStart};
    DelayLine out_{DelayLine::Pace{}};

  public:
    wired::WiredProtocol protocol;
};

}  // namespace vi::test
