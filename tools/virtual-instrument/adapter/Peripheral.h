#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>

#include "adapter/PacketLine.h"
#include "instrument/Instrument.h"

namespace vi::adapter {

/// One instrument at the far end of the link: answers command packets, and sends notifications of
/// measurements made with its button. Owns no clock.
///
/// Only silence separates packets on this line, so a notification is sent only while the line is
/// quiet and no reply is due, and nothing is sent for a while after it.
class Peripheral {
  public:
    /// How long the line must be quiet before and after a notification.
    static constexpr std::chrono::milliseconds kQuiet{50};

    /// \param line must live as long as the peripheral.
    Peripheral(Instrument::Settings settings, std::function<std::uint32_t()> wallClock,
               PacketLine& line)
        : instrument_(std::move(settings), std::move(wallClock)), line_(line) {}

    /// \param packet one whole packet from the host.
    void take(ByteView packet, PacketLine::Verdict verdict, TimePoint now);

    /// To be called while the link carries packets, and when the deadline has come.
    void elapse(TimePoint now);
    std::optional<TimePoint> deadline() const;

    /// True between hello and goodbye.
    bool isGreeted() const { return isGreeted_; }
    /// The link has ended: pending notifications are discarded.
    void unlink();

    Error press(Kind kind, TimePoint now);
    Instrument& instrument() { return instrument_; }

  private:
    struct Pressed {
        TimePoint ready;
        Bytes packet;
    };

    Instrument instrument_;
    PacketLine& line_;
    bool isGreeted_ = false;
    std::deque<Pressed> pressed_;
    TimePoint lastFromHost_{};
    TimePoint lastNotification_{};
};

}  // namespace vi::adapter
