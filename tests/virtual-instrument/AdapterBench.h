#pragma once

#include <algorithm>
#include <initializer_list>
#include <string>

#include "adapter/AdapterProtocol.h"
#include "Bench.h"

namespace vi::test {

/// An adapter with a host's end of its cable in the test's hand, and time that goes on only when
/// the test says so.
class AdapterBench {
  public:
    struct Set {
        Instrument::Settings instrument = quick();
    };

    explicit AdapterBench(const Set& set)
        : protocol_(
              settings(set), [] { return 1'700'000'000U; }, line_, log_, [] {}) {}

    /// The host writes; gives what comes within half a second.
    std::string write(const std::string& text) {
        protocol_.receive(Bytes(text.begin(), text.end()), now_);
        return after(milliseconds(500));
    }
    /// Gives what comes of itself.
    std::string after(milliseconds time) {
        const TimePoint until = now_ + time;
        std::string text = taken();
        for (auto due = protocol_.deadline(); due && *due <= until; due = protocol_.deadline()) {
            now_ = std::max(now_, *due);
            protocol_.elapse(now_);
            text += taken();
        }
        now_ = until;
        return text;
    }
    void press(Kind kind) { EXPECT_EQ(protocol_.press(kind, now_), Error::none); }

  private:
    static Instrument::Settings quick() {
        Instrument::Settings instrument;
        instrument.isCalibrated = true;
        instrument.noise = 0;
        instrument.measureTime = milliseconds(0);
        return instrument;
    }
    static adapter::AdapterProtocol::Settings settings(const Set& set) {
        adapter::AdapterProtocol::Settings settings;
        settings.slaves = adapter::defaultSlaves(set.instrument);
        return settings;
    }
    std::string taken() {
        std::string text;
        for (ByteView due = line_.due(now_); !due.empty(); due = line_.due(now_)) {
            text.append(due.begin(), due.end());
            line_.consume(due.size());
        }
        return text;
    }

    TimePoint now_ = kStart;
    TrafficLog log_{nullptr, kStart};
    DelayLine line_{DelayLine::Pace{}};
    adapter::AdapterProtocol protocol_;
};

}  // namespace vi::test
