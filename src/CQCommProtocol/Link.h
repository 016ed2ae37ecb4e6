#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <istream>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "api/ResultCode.h"
#include "CQCommProtocol/DataParser.h"
#include "CQCommProtocol/ICommunicationEventListener.h"
#include "CQCommProtocol/rxcontext.h"
#include "CQCommProtocol/TxContext.h"

namespace ovk {

/// The wired protocol of one instrument: takes the bytes that arrive, answers through the writer
/// and reports to the listener. Owns no thread, port, clock or lock; the owner passes the time in
/// and keeps calls apart.
class Link {
  public:
    using TimePoint = DataParser::TimePoint;
    /// Sends bytes to the instrument; false when they could not be written.
    using Writer = std::function<bool(std::span<const std::uint8_t>)>;

    enum class State : std::int32_t {
        notConnected = 0,
        shakeHandsRequested = 1,
        idle = 2,
        sending = 3,
        receiving = 4,
        closing = 5,
        lingering = 1000  // never entered; the watch treats it as closing
    };

    /// What the instrument reported when it answered the shake-hands. Kept, not interpreted.
    struct InstrumentValues {
        std::uint8_t a = 0;
        std::uint32_t b = 0;
    };

    /// How long an incomplete packet may wait for its next bytes.
    static constexpr std::chrono::milliseconds kPacketTimeout{5000};
    /// How long a silent instrument may take to answer a disconnect request.
    static constexpr std::chrono::nanoseconds kClosingTimeout{1'001'000'000};

    /// \param listener must live as long as the link.
    Link(ICommunicationEventListener& listener, Writer write);

    /// Asks the instrument for a session; the answer goes to the listener.
    void shakeHands();
    /// Asks again, if the answer has not come. An instrument that was merely slow answers each
    /// request with a new session: the last one holds.
    void repeatShakeHands();
    /// True while an answer to a shake-hands request is outstanding.
    bool awaitsShakeHands() const { return unanswered_ > 0; }

    /// Begins a transfer to the instrument: the operation code, the data, and what the stream (if
    /// any) holds from its position on.
    /// \return 0; CQ_NO_SESSION; CQ_DEVICE_IS_BUSY while another transfer runs in either direction.
    ResultCode send(std::uint8_t operation, std::span<const std::uint8_t> data,
                    std::shared_ptr<std::istream> stream, TimePoint now);

    /// Takes bytes that have arrived.
    void receive(std::span<const std::uint8_t> bytes, TimePoint now);

    /// Says goodbye; the session ends with the instrument's answer, or at once if nothing can be
    /// written.
    void requestDisconnect(TimePoint now);

    /// Gives up on a goodbye that stays unanswered. The owner calls it regularly.
    void watch(TimePoint now);

    /// Ends the session, if there is one, without a word to the instrument: the port has gone.
    void endSession();

    State state() const { return state_; }
    std::uint8_t session() const { return session_; }
    bool hasSession() const { return session_ != 0; }
    InstrumentValues instrumentValues() const { return instrumentValues_; }

    /// \param listener receives the bytes that belong to no packet, while enabled; may be null.
    void setRawDataListener(IRawDataListener* listener, bool isEnabled);

  private:
    void dispatch(TimePoint now);
    void handleShakeHandsAcknowledgement();
    void handleDisconnectRequest();
    void handleKeepAliveRequest();
    void handleData();
    void handleReceived(const RxContext::Event& event);
    void handleAcknowledgement(TimePoint now);
    void handleAbort(std::uint16_t error);
    void handleProgress(TimePoint now);

    void sendNextPacket(TimePoint now);
    void sendReceivingAcknowledgement(std::uint8_t flag, std::uint32_t sequence,
                                      const char* origin);
    /// Goes into this state, unless a goodbye has been said: then only the session's end is to come.
    void enter(State state);
    bool isSendingOver() const;
    void endSending();
    void dropSession();
    void forgetSession();
    void passOnDiscarded();

    ICommunicationEventListener& listener_;
    Writer write_;
    IRawDataListener* rawDataListener_ = nullptr;
    bool isRawDataEnabled_ = false;

    State state_ = State::notConnected;
    std::uint8_t session_ = 0;
    int unanswered_ = 0;  // requests for a session
    InstrumentValues instrumentValues_;
    TimePoint lastActivity_{};
    DataParser parser_{kPacketTimeout};
    std::vector<std::uint8_t> discarded_;  // since the last look at the raw-data listener
    RxContext rx_;
    TxContext tx_;
    std::optional<std::uint8_t> lastOperation_;  // sent in this session
};

}  // namespace ovk
