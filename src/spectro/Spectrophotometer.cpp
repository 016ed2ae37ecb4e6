#include "spectro/Spectrophotometer.h"

#include <algorithm>
#include <chrono>
#include <future>
#include <thread>
#include <utility>

#include "api/CommunicationException.h"
#include "api/DebugLog.h"
#include "api/RemoteException.h"
#include "serial/PortDiscovery.h"

namespace ovk::cq {
namespace {

using namespace std::chrono_literals;

/// How far past the expected size a reply is still gathered, so that its true size can be logged.
constexpr std::uint64_t kReplyTolerance = 0x10000;

/// How often the wait for the shake-hands checks.
constexpr auto kConnectionPollPause = 1ms;

// Of an opening that has a deadline.
constexpr auto kRequestPeriod = 500ms;
constexpr auto kLaterAnswers = 100ms;  ///< how long they are waited for
/// No longer than the opening may be late. A request that is lost is made again.
constexpr auto kOpeningWriteTimeout = 20ms;

constexpr std::uint64_t kUnsolicitedSize = sizeof(CqMeasurementRecord);

template <class Exception>
void fail(std::promise<Spectrophotometer::Bytes>& outcome, Exception exception) {
    outcome.set_exception(std::make_exception_ptr(exception));
}

}  // namespace

/// A call that waits: for its reply, or, with nothing in it, for the acknowledgement of what it has
/// sent. Whoever takes it out of its slot, with pendingMutex_ held, gives it its outcome.
struct Spectrophotometer::Pending {
    std::uint8_t operation;
    std::uint64_t maxSize;  ///< of the reply; bytes beyond are dropped
    std::promise<Bytes> outcome{};
};

Spectrophotometer::Spectrophotometer() : client_(*this) {}

Spectrophotometer::~Spectrophotometer() = default;

ResultCode Spectrophotometer::open(const std::string& portName, const std::string& /*slaveAddress*/,
                                   std::optional<Deadline> deadline) {
    if (isConnected()) {
        return CQ_HAS_CONNECTED;
    }
    if (!portName.empty()) {
        return connect(portName, deadline);
    }
    std::vector<std::string> names;
    if (findInstrumentPorts(names) == kDiscoveryFailed) {
        return CQ_CANNOT_FOUND_DEVICE;
    }
    for (std::size_t left = names.size(); left > 0; --left) {
        const auto share = deadline ? std::optional(deadline->firstOf(left)) : std::nullopt;
        if (connect(names[names.size() - left], share) == CQ_NO_ERROR) {
            return CQ_NO_ERROR;
        }
    }
    return CQ_CANNOT_FOUND_DEVICE;
}

ResultCode Spectrophotometer::connect(const std::string& portName,
                                      std::optional<Deadline> deadline) {
    connectionFlag_.store(0);
    if (!client_.open(portName, deadline.value_or(Deadline()))) {
        return CQ_FAIL_TO_OPEN;
    }
    if (deadline) {
        client_.setWriteTimeout(kOpeningWriteTimeout);
    }
    client_.shakeHands();
    awaitConnectionResult(deadline);
    if (!isConnected()) {
        client_.close();
        return CQ_FAIL_TO_OPEN;
    }
    client_.setWriteTimeout(SerialPort::kInfinite);
    return CQ_NO_ERROR;
}

// The two sides meet when one of them finds the flag set by the other. Nothing but the port's going
// away ends the wait for an instrument that stays silent.
void Spectrophotometer::awaitConnectionResult(std::optional<Deadline> deadline) {
    int requests = 1;
    auto nextRequest = Deadline::in(kRequestPeriod);
    if (connectionFlag_.exchange(1) == 0) {
        do {
            connectionFlag_.store(0);
            std::this_thread::sleep_for(kConnectionPollPause);
            if (deadline && nextRequest.isOver()) {
                client_.repeatShakeHands();
                nextRequest = Deadline::in(kRequestPeriod);
                ++requests;
            }
        } while (connectionFlag_.exchange(1) != 1 && client_.isConnected() &&
                 !(deadline && deadline->isOver()));
    }
    connectionFlag_.store(0);
    // The answers to several requests come together; the session is that of the last one.
    const auto patience = Deadline::in(kLaterAnswers);
    while (requests > 1 && !patience.isOver() && client_.hasSession() &&
           client_.awaitsShakeHands() && !deadline->isOver()) {
        std::this_thread::sleep_for(kConnectionPollPause);
    }
}

void Spectrophotometer::connectionResult(bool /*isConnected*/) {
    while (connectionFlag_.exchange(1) != 0) {
        std::this_thread::yield();
    }
}

void Spectrophotometer::close() {
    client_.closePort();
    failPending(CQ_DEVICE_IS_CLOSED);
    client_.close();
}

bool Spectrophotometer::isConnected() {
    return client_.isConnected() && client_.hasSession();
}

ResultCode Spectrophotometer::request(const Command& command, BytesView data,
                                      std::uint64_t expectedSize, Bytes& reply) {
    const auto pending =
        std::make_shared<Pending>(Pending{command.operation, expectedSize + kReplyTolerance});
    return perform(pendingReply_, pending, data, Deadline::in(command.timeout), reply);
}

ResultCode Spectrophotometer::send(const Command& command, BytesView data) {
    Bytes nothing;
    const auto pending = std::make_shared<Pending>(Pending{command.operation, 0});
    const ResultCode code =
        perform(pendingSend_, pending, data, Deadline::in(command.timeout), nothing);
    if (code == CQ_NO_ERROR) {
        lastInstrumentError_.store(0);
    }
    return code;
}

ResultCode Spectrophotometer::perform(Slot& slot, const Slot& pending, BytesView data,
                                      Deadline deadline, Bytes& reply) {
    auto outcome = pending->outcome.get_future();
    const ResultCode begun = begin(slot, pending, data, deadline);
    if (begun != CQ_NO_ERROR) {
        return begun;
    }
    if (outcome.wait_until(deadline.moment()) != std::future_status::ready &&
        giveUp(slot, pending)) {
        return CQ_SENDING_TIMEOUT;
    }
    try {
        reply = outcome.get();
        return CQ_NO_ERROR;
    } catch (const RemoteException& refusal) {
        lastInstrumentError_.store(refusal.instrumentError());
        return CQ_EXECUTE_COMMAND_FAILED;
    } catch (const CommunicationException& failure) {
        return failure.code();
    }
}

/// Begins the transfer and lets `pending` wait for its outcome. No answer can be taken in before.
ResultCode Spectrophotometer::begin(Slot& slot, const Slot& pending, BytesView data,
                                    Deadline deadline) {
    const auto link = client_.lockLink(deadline);
    if (!link) {
        return client_.portName().empty() ? CQ_DEVICE_IS_CLOSED : CQ_SENDING_TIMEOUT;
    }
    const ResultCode sent = client_.Send(pending->operation, data);
    if (sent != CQ_NO_ERROR) {
        return sent;
    }
    const std::lock_guard lock(pendingMutex_);
    if (const auto replaced = std::exchange(slot, pending)) {
        fail(replaced->outcome, CommunicationException(CQ_DEVICE_IS_BUSY));
    }
    return CQ_NO_ERROR;
}

/// Takes the call out of its slot; false if it has its outcome.
bool Spectrophotometer::giveUp(Slot& slot, const Slot& pending) {
    const std::lock_guard lock(pendingMutex_);
    const bool isWaiting = slot == pending;
    if (isWaiting) {
        slot.reset();
    }
    return isWaiting;
}

void Spectrophotometer::failPending(ResultCode code) {
    const std::lock_guard lock(pendingMutex_);
    for (Slot* slot : {&pendingReply_, &pendingSend_}) {
        if (const auto pending = std::exchange(*slot, nullptr)) {
            fail(pending->outcome, CommunicationException(code));
        }
    }
}

// A goodbye of the instrument lets a call that waits run into its timeout.
void Spectrophotometer::disconnected() {}

/// A transfer that is aborted before its first packet has no operation yet and is the reply's.
bool Spectrophotometer::isForPendingReply(std::uint8_t operation) const {
    return pendingReply_ && (operation == pendingReply_->operation || operation == 0);
}

std::uint16_t Spectrophotometer::dataReceived(std::uint8_t operation, std::uint32_t offset,
                                              BytesView data, std::uint32_t error, bool isLast) {
    Bytes unsolicited;
    {
        const std::lock_guard lock(pendingMutex_);
        const bool isReply = isForPendingReply(operation);
        if (offset == 0) {
            replyBuffer_.clear();
        }
        const std::uint64_t maxSize = isReply ? pendingReply_->maxSize : kUnsolicitedSize + 1;
        const std::uint64_t room = maxSize - std::min<std::uint64_t>(maxSize, replyBuffer_.size());
        const auto kept =
            data.first(static_cast<std::size_t>(std::min<std::uint64_t>(room, data.size())));
        replyBuffer_.insert(replyBuffer_.end(), kept.begin(), kept.end());

        if (isReply && (error != 0 || isLast)) {
            const auto pending = std::exchange(pendingReply_, nullptr);
            if (error != 0) {
                fail(pending->outcome, RemoteException(error));
            } else {
                pending->outcome.set_value(std::exchange(replyBuffer_, {}));
            }
        } else if (isLast && error == 0) {
            unsolicited = std::exchange(replyBuffer_, {});
        }
    }
    deliverMeasurement(operation, unsolicited);
    return 0;
}

void Spectrophotometer::deliverMeasurement(std::uint8_t operation, BytesView bytes) {
    const bool isStandard = operation == command::kMeasureStandard.operation;
    if (bytes.empty() || (!isStandard && operation != command::kMeasureTrial.operation)) {
        return;
    }
    CqMeasurementRecord record;
    if (bytes.size() != sizeof(record)) {
        debuglog::write("expect size: %d, received: %d", static_cast<int>(sizeof(record)),
                        static_cast<int>(bytes.size()));
        return;
    }
    std::copy(bytes.begin(), bytes.end(), record.bytes);
    resultHandler_.call(isStandard ? RECORD_TYPE::standard : RECORD_TYPE::trial, record);
}

std::uint16_t Spectrophotometer::transferProgress(std::uint8_t operation, std::uint32_t /*total*/,
                                                  std::uint16_t error, bool isDone) {
    const std::lock_guard lock(pendingMutex_);
    if (isDone && pendingSend_ && pendingSend_->operation == operation) {
        const auto pending = std::exchange(pendingSend_, nullptr);
        if (error == 0) {
            pending->outcome.set_value({});
        } else {
            fail(pending->outcome, RemoteException(error));
        }
    }
    if (error != 0 && pendingReply_ && pendingReply_->operation == operation) {
        fail(std::exchange(pendingReply_, nullptr)->outcome, RemoteException(error));
    }
    return 0;
}

}  // namespace ovk::cq
