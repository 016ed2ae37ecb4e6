#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "Bytes.h"
#include "instrument/Instrument.h"
#include "wired/Commands.h"
#include "wired/PacketSink.h"
#include "wired/Receiver.h"
#include "wired/Transmitter.h"

namespace vi::wired {

/// The instrument's side of the wired protocol: receives the host's packets and sends its own
/// through the sink. Owns no clock. A shake-hands request begins a new session at any time.
class Engine {
  public:
    struct Settings {
        std::uint16_t maxPacket = 64;  ///< for both directions
        std::chrono::nanoseconds acknowledgementPatience{std::chrono::seconds{1}};
        std::chrono::nanoseconds keepAlive{0};  ///< 0: only on request
        std::uint8_t lastSession = 0;           ///< the first session is the one after it
    };
    /// Called with the reason why a packet was not accepted.
    using Note = std::function<void(std::string_view)>;

    /// \param instrument and sink must live as long as the engine.
    Engine(Instrument& instrument, PacketSink& sink, Settings settings, Note note);

    /// \param packet one whole packet from the host.
    void take(ByteView packet, TimePoint now);

    void elapse(TimePoint now);
    std::optional<TimePoint> deadline() const;

    bool hasSession() const { return state_ == State::open; }
    void endSession();

    Error press(Kind kind, TimePoint now);
    void requestKeepAlive(TimePoint now);
    /// Says goodbye; the session is over, whatever the host answers.
    void disconnect(TimePoint now);

  private:
    enum class State { none, offered, open, closing };

    /// What the instrument sends when it has finished an operation.
    struct Scheduled {
        TimePoint due;
        bool isTransfer;  // else an acknowledgement
        Bytes bytes;
    };
    /// A waiting transfer; a refusal carries only its number.
    struct Waiting {
        Error refusal = Error::none;
        Bytes transfer;
    };

    void shakeHands(ByteView packet, TimePoint now);
    void takeData(const PacketView& packet, TimePoint now);
    void runCommand(TimePoint now);
    void acknowledge(Flag flag, std::uint32_t number, TimePoint now);
    void refuseTransfer(Error error, TimePoint now);
    void startNext(TimePoint now);
    bool mayTellOfPress() const;

    Instrument& instrument_;
    PacketSink& sink_;
    Settings settings_;
    Note note_;

    State state_ = State::none;
    std::uint8_t session_;
    Receiver receiver_;
    Transmitter transmitter_;
    std::vector<Scheduled> scheduled_;
    std::deque<Waiting> replies_;
    std::deque<Scheduled> pressed_;  // measurements made with the button
    TimePoint nextKeepAlive_{};
};

}  // namespace vi::wired
