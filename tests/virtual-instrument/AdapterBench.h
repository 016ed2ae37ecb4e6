#pragma once

#include <algorithm>
#include <initializer_list>
#include <sstream>
#include <string>
#include <vector>

#include "adapter/AdapterProtocol.h"
#include "Bench.h"

namespace vi::test {

// What a host says most.
inline const std::string kEscape = "AT+EX=3C9A0E57B21D4F8861A7C5E09D2B74F1";
inline const std::string kHello = "01 01 00 00";
inline const std::string kGoodbye = "01 02 00 00";
inline const std::string kCount = "02 01 00 00";
// And what it is answered.
inline const std::string kGreeted = "01 01 02 00 4F 4B";
inline const std::string kNone = "02 01 04 00 00 00 00 00";

/// An adapter with a host's end of its cable in the test's hand, and time that goes on only when
/// the test says so. An answer of the module takes 20 ms.
class AdapterBench {
  public:
    struct Set {
        Instrument::Settings instrument = quick();
        std::vector<std::string> faults;
        bool isScanReady = false;
        std::vector<adapter::Slave> slaves;  // the usual three if empty
    };
    /// A piece of what the adapter has sent.
    struct Piece {
        milliseconds at;  // since the test's last word
        std::string text;
    };

    AdapterBench() : AdapterBench(Set{}) {}
    explicit AdapterBench(Set set)
        : protocol_(
              settings(std::move(set)), [] { return 1'700'000'000U; }, line_, log_, [] {}) {}
    explicit AdapterBench(std::initializer_list<std::string> faults)
        : AdapterBench(withFaults(faults)) {}

    /// The host writes a line; gives the lines that come within the time, with | between them.
    std::string at(const std::string& command, milliseconds time = milliseconds(50)) {
        const std::string line = command + "\r\n";
        write(Bytes(line.begin(), line.end()));
        return text(after(time));
    }
    /// The host writes bytes; gives those that come within the time.
    std::string packet(const std::string& bytes, milliseconds time = milliseconds(0)) {
        write(hex(bytes));
        return bytesOf(after(time));
    }
    /// Gives what comes of itself.
    std::vector<Piece> after(milliseconds time) {
        const TimePoint from = now_;
        const TimePoint until = now_ + time;
        std::vector<Piece> pieces;
        collect(pieces, from);
        for (auto due = protocol_.deadline(); due && *due <= until; due = protocol_.deadline()) {
            now_ = std::max(now_, *due);
            protocol_.elapse(now_);
            collect(pieces, from);
        }
        now_ = until;
        return pieces;
    }

    AdapterBench& linked() {
        at("AT+CT=C4BE84A1B2C3", milliseconds(500));
        return *this;
    }
    AdapterBench& greeted() {
        linked().packet(kHello);
        return *this;
    }
    Error press(Kind kind) { return protocol_.press(kind, now_); }
    adapter::AdapterProtocol& protocol() { return protocol_; }
    std::string log() const { return logged_.str(); }

    static std::string text(const std::vector<Piece>& pieces) {
        std::string lines;
        for (const Piece& piece : pieces) {
            lines += piece.text;
        }
        for (auto at = lines.find("\r\n"); at != lines.npos; at = lines.find("\r\n")) {
            lines.replace(at, 2, "|");
        }
        return lines.ends_with('|') ? lines.substr(0, lines.size() - 1) : lines;
    }
    static std::string bytesOf(const std::vector<Piece>& pieces) {
        Bytes bytes;
        for (const Piece& piece : pieces) {
            bytes.insert(bytes.end(), piece.text.begin(), piece.text.end());
        }
        return hexText(bytes);
    }

  private:
    static Instrument::Settings quick() {
        Instrument::Settings instrument;
        instrument.isCalibrated = true;
        instrument.noise = 0;
        instrument.measureTime = milliseconds(0);
        return instrument;
    }
    static Set withFaults(std::vector<std::string> faults) {
        Set set;
        set.faults = std::move(faults);
        return set;
    }
    static adapter::AdapterProtocol::Settings settings(Set set) {
        adapter::AdapterProtocol::Settings settings;
        settings.slaves =
            set.slaves.empty() ? adapter::defaultSlaves(set.instrument) : std::move(set.slaves);
        settings.module.isScanReady = set.isScanReady;
        for (const std::string& fault : set.faults) {
            EXPECT_EQ(adapter::addFault(settings.module.faults, fault), "");
        }
        return settings;
    }
    void write(const Bytes& bytes) { protocol_.receive(bytes, now_); }
    void collect(std::vector<Piece>& pieces, TimePoint from) {
        for (ByteView due = line_.due(now_); !due.empty(); due = line_.due(now_)) {
            pieces.push_back(
                {std::chrono::duration_cast<milliseconds>(now_ - from), {due.begin(), due.end()}});
            line_.consume(due.size());
        }
    }

    TimePoint now_ = kStart;
    std::ostringstream logged_;
    TrafficLog log_{&logged_, kStart};
    DelayLine line_{DelayLine::Pace{}};
    adapter::AdapterProtocol protocol_;
};

}  // namespace vi::test
