#include "CQCommProtocol/Link.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "api/DebugLog.h"

namespace ovk {
namespace {

// Some texts of the log are Chinese and stand there in the GBK code page, whatever the page of this
// file. Each of these ends with a full-width colon.
#define GBK_REQUEST_RETRANSMISSION "\xC7\xEB\xC7\xF3\xD6\xD8\xB4\xAB\xA3\xBA"
#define GBK_RECEIVED "\xCA\xD5\xB5\xBD\xA3\xBA"
#define GBK_SEND_OPERATION "\xB7\xA2\xCB\xCD\xB2\xD9\xD7\xF7\xC2\xEB\xA3\xBA"
#define GBK_SEND_PACKET "\xB7\xA2\xCB\xCD\xB0\xFC\xA3\xBA"

constexpr const char* kHandleReceiving = "ovk::CommunicationClient::HandleRecving";
constexpr const char* kSend = "ovk::CommunicationClient::Send";

std::uint32_t controlWordOf(std::span<const std::uint8_t> packet) {
    return loadLittleEndian<std::uint32_t>(packet.data() + wire::kControlOffset);
}

/// What the listener is told of an abort: one that names no error is a failure all the same.
template <class Error>
Error abortError(Error named) {
    constexpr Error kUnnamed = 0xFFFF;
    return named != 0 ? named : kUnnamed;
}

/// An acknowledgement names the packet that is to come next. One that names the packet sent last,
/// or one before it, repeats what has been said. Number 0 can repeat nothing, so it is taken as
/// meant for the packet sent last.
bool isStale(std::uint32_t acknowledged, std::uint32_t sent) {
    return acknowledged != 0 && acknowledged <= sent;
}

}  // namespace

Link::Link(ICommunicationEventListener& listener, Writer write)
    : listener_(listener), write_(std::move(write)) {}

void Link::shakeHands() {
    forgetSession();
    unanswered_ = 1;
    state_ = State::shakeHandsRequested;
    write_(wire::kShakeHandsRequestPacket);
}

void Link::repeatShakeHands() {
    if (state_ == State::shakeHandsRequested) {
        ++unanswered_;
        write_(wire::kShakeHandsRequestPacket);
    }
}

ResultCode Link::send(std::uint8_t operation, std::span<const std::uint8_t> data,
                      std::shared_ptr<std::istream> stream, TimePoint now) {
    if (!hasSession()) {
        return CQ_NO_SESSION;
    }
    if (state_ == State::receiving && rx_.hasSeenLast()) {
        // The listener sends a command while it is given the last packet: acknowledge that first.
        state_ = State::idle;
        sendReceivingAcknowledgement(wire::kFlagAcknowledge, rx_.nextSequence(), kSend);
        rx_.clear();
    }
    if (state_ != State::idle) {
        return CQ_DEVICE_IS_BUSY;
    }
    try {
        tx_.start(operation, data, std::move(stream));
        debuglog::write(GBK_SEND_OPERATION "%d\r\n", operation);
        sendNextPacket(now);
    } catch (...) {
        tx_.clear();  // nothing has been sent
        throw;
    }
    lastOperation_ = operation;
    return CQ_NO_ERROR;
}

void Link::receive(std::span<const std::uint8_t> bytes, TimePoint now) {
    if (debuglog::isOpen()) {
        const int count = static_cast<int>(bytes.size());
        debuglog::write("RECEIVED %d BYTES: %s\n", count, debuglog::toHex(bytes).c_str());
        debuglog::write("RECEIVED %d BYTES\n", count);
    }
    while (!bytes.empty()) {
        bytes = bytes.subspan(parser_.parse(bytes, now));
        discarded_ = parser_.takeDiscarded();
        if (parser_.isComplete()) {
            debuglog::write("parsed packet type: %02x", parser_.packetType());
            dispatch(now);
            parser_.clear();
        }
        passOnDiscarded();
    }
    lastActivity_ = now;
}

void Link::dispatch(TimePoint now) {
    assert(parser_.isComplete() && "parset_context_.isComplete()");
    switch (parser_.packetType()) {
        case wire::kShakeHandsAcknowledgement:
            return handleShakeHandsAcknowledgement();
        case wire::kDisconnectRequest:
            return handleDisconnectRequest();
        case wire::kDisconnectAcknowledgement:
            return dropSession();
        case wire::kData:
            return handleData();
        case wire::kAcknowledgement:
            return handleAcknowledgement(now);
        case wire::kKeepAliveRequest:
            return handleKeepAliveRequest();
        default:
            debuglog::write("Unexpected packet type %02x\n", parser_.packetType());
    }
}

void Link::handleShakeHandsAcknowledgement() {
    const auto packet = parser_.packet();
    const bool isFirst = state_ == State::shakeHandsRequested;
    if (!isFirst && (state_ != State::idle || unanswered_ == 0)) {
        debuglog::write("Received shake hands ack packet, but had not request\n");
        discarded_.insert(discarded_.end(), packet.begin(), packet.end());
        return;
    }
    unanswered_ = std::max(unanswered_ - 1, 0);
    const std::uint8_t session = packet[wire::kSessionOffset];
    const bool isAccepted = session >= wire::kMinSession && session <= wire::kMaxSession;
    if (isAccepted) {
        session_ = session;
        tx_.setMaxPacket(loadLittleEndian<std::uint16_t>(packet.data() + wire::kMaxPacketOffset));
        const auto values = loadLittleEndian<std::uint32_t>(packet.data() + wire::kValuesOffset);
        instrumentValues_ = {static_cast<std::uint8_t>(values), values >> 8};
        write_(wire::shortPacket(wire::kShakeHandsConfirmation, session_));
    }
    if (isFirst) {
        state_ = isAccepted ? State::idle : State::notConnected;
        listener_.connectionResult(isAccepted);
    }
}

void Link::handleDisconnectRequest() {
    write_(wire::shortPacket(wire::kDisconnectAcknowledgement, session_));
    dropSession();
}

void Link::handleKeepAliveRequest() {
    write_(wire::shortPacket(wire::kKeepAliveAnswer, session_));
}

void Link::handleData() {
    if (state_ < State::idle) {
        return;  // of a session that has ended, or was a killed host's
    }
    if (state_ == State::idle || state_ == State::sending) {
        rx_.clear();
    }
    const DataPacketView packet(parser_.packet());
    const RxContext::Event event = rx_.take(packet);
    switch (event.verdict) {
        case RxContext::Verdict::aborted:
            debuglog::write("Data transfer was aborted by remote\n");
            rx_.clear();
            enter(State::idle);
            listener_.dataReceived(event.operation, event.offset, {}, abortError(event.error),
                                   true);
            return;
        case RxContext::Verdict::invalidLength:
            debuglog::write("Invalid data len: %d\r\n", packet.length());
            return;
        case RxContext::Verdict::invalidSequence:
            debuglog::write("Invalid seq %d, expect %d\r\n", static_cast<int>(packet.sequence()),
                            static_cast<int>(rx_.nextSequence()));
            return;
        case RxContext::Verdict::crcError:
            debuglog::write("CRC error, will request retransmission\n");
            sendReceivingAcknowledgement(wire::kFlagRetransmit, rx_.nextSequence(),
                                         kHandleReceiving);
            return;
        case RxContext::Verdict::data:
            return handleReceived(event);
    }
}

void Link::handleReceived(const RxContext::Event& event) {
    enter(State::receiving);
    debuglog::write("received a packet, opt = %d, seq = %d, len = %d\n", event.operation,
                    static_cast<int>(rx_.nextSequence() - 1), static_cast<int>(event.data.size()));
    const bool mayGoOn =
        listener_.dataReceived(event.operation, event.offset, event.data, 0, event.isLast) == 0;
    if (state_ != State::receiving && state_ != State::closing) {
        return;  // the listener has sent a command, which acknowledged the transfer
    }
    // The abort word carries the sequence number, not an error code: instruments know it so.
    if (mayGoOn) {
        sendReceivingAcknowledgement(wire::kFlagAcknowledge, rx_.nextSequence(), kHandleReceiving);
    } else {
        sendReceivingAcknowledgement(wire::kFlagAbort, rx_.nextSequence() & wire::kErrorMask,
                                     kHandleReceiving);
    }
    if (event.isLast || !mayGoOn) {
        rx_.clear();
        enter(State::idle);
    }
}

void Link::handleAcknowledgement(TimePoint now) {
    const std::uint32_t control = controlWordOf(parser_.packet());
    const auto flag = static_cast<std::uint8_t>(control >> wire::kFlagShift);
    if (flag == wire::kFlagAbort) {
        return handleAbort(static_cast<std::uint16_t>(control & wire::kErrorMask));
    }
    if (isSendingOver()) {
        return;
    }
    if (flag == wire::kFlagRetransmit) {
        debuglog::write(GBK_REQUEST_RETRANSMISSION "operation=%d, seq=%d\r\n", tx_.operation(),
                        static_cast<int>(tx_.sequence()));
        write_(tx_.lastPacket()->bytes());
    } else if (flag == wire::kFlagAcknowledge &&
               !isStale(control & wire::kSequenceMask, tx_.sequence())) {
        handleProgress(now);
    }
}

/// The instrument gives up what it was sent last, be it while that goes over the line, while it
/// works on the answer, or in the middle of it.
void Link::handleAbort(std::uint16_t error) {
    if (!lastOperation_) {
        return;
    }
    debuglog::write("Remote aborted receiving\n");
    const std::uint8_t operation = *lastOperation_;
    const auto total = static_cast<std::uint32_t>(tx_.totalSize());
    endSending();
    if (state_ == State::receiving && rx_.operation() == operation) {
        rx_.clear();
        enter(State::idle);
    }
    listener_.transferProgress(operation, total, abortError(error), true);
}

void Link::handleProgress(TimePoint now) {
    debuglog::write(GBK_RECEIVED "operation=%d, seq=%d\r\n", tx_.operation(),
                    static_cast<int>(tx_.sequence()));
    const bool hasMore = tx_.hasMore();
    const std::uint16_t error = listener_.transferProgress(
        tx_.operation(), static_cast<std::uint32_t>(tx_.totalSize()), 0, !hasMore);
    if (isSendingOver()) {
        return;  // the listener has ended the session
    }
    if (hasMore && error == 0) {
        return sendNextPacket(now);
    }
    if (hasMore) {
        write_(wire::abortPacket(session_, error));
    }
    endSending();
}

void Link::sendNextPacket(TimePoint now) {
    const auto packet = tx_.buildPacket(session_);
    if (debuglog::isOpen()) {
        debuglog::write(GBK_SEND_PACKET "operation=%d, seq=%d\r\n", tx_.operation(),
                        static_cast<int>(tx_.sequence()));
        debuglog::write("%s\r\n", debuglog::toHex(packet->bytes()).c_str());
    }
    if (state_ != State::receiving) {
        enter(State::sending);
    }
    write_(packet->bytes());
    lastActivity_ = now;
}

void Link::sendReceivingAcknowledgement(std::uint8_t flag, std::uint32_t sequence,
                                        const char* origin) {
    debuglog::write("SendReceivingAckPacket in %s\r\n", origin);
    write_(wire::acknowledgementPacket(session_, wire::controlWord(flag, sequence)));
    debuglog::write("SendPackAck: opt:%d, seq:%d\r\n", rx_.operation(), static_cast<int>(sequence));
}

void Link::enter(State state) {
    if (state_ != State::closing) {
        state_ = state;
    }
}

/// True when nothing was sent that an answer could be about.
bool Link::isSendingOver() const {
    return !tx_.lastPacket();
}

void Link::endSending() {
    tx_.clear();
    // A transfer from the instrument may have begun meanwhile: that one goes on.
    if (state_ == State::sending) {
        state_ = State::idle;
    }
}

void Link::requestDisconnect(TimePoint now) {
    state_ = State::closing;
    lastActivity_ = now;
    if (!write_(wire::shortPacket(wire::kDisconnectRequest, session_))) {
        dropSession();
    }
}

void Link::watch(TimePoint now) {
    const bool isEnding = state_ == State::closing || state_ == State::lingering;
    if (isEnding && now - lastActivity_ > kClosingTimeout) {
        dropSession();
    }
}

void Link::dropSession() {
    if (state_ == State::shakeHandsRequested) {
        return;  // it was an earlier session's: the new one is still to come
    }
    endSession();
}

void Link::endSession() {
    const bool wasConnected = state_ >= State::idle;
    forgetSession();
    state_ = State::notConnected;
    if (wasConnected) {
        listener_.disconnected();
    }
}

void Link::forgetSession() {
    session_ = 0;
    unanswered_ = 0;
    discarded_.clear();
    parser_.clear();
    rx_.clear();
    tx_.clear();
    lastOperation_.reset();
}

void Link::setRawDataListener(IRawDataListener* listener, bool isEnabled) {
    rawDataListener_ = listener;
    isRawDataEnabled_ = isEnabled;
}

void Link::passOnDiscarded() {
    const auto discarded = std::exchange(discarded_, {});
    if (!discarded.empty() && rawDataListener_ != nullptr && isRawDataEnabled_) {
        rawDataListener_->rawData(discarded);
    }
}

}  // namespace ovk
