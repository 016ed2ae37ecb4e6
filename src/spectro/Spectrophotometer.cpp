#include "spectro/Spectrophotometer.h"

#include <algorithm>
#include <future>
#include <system_error>
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

/// How often the wait for the shake-hands looks.
constexpr auto kConnectionPollPause = 1ms;

constexpr std::uint64_t kUnsolicitedSize = sizeof(CqMeasurementRecord);

bool isMeasurement(std::uint8_t operation) {
    return operation == command::kMeasureStandard.operation ||
           operation == command::kMeasureTrial.operation;
}

}  // namespace

struct Spectrophotometer::PendingReply {
    PendingReply(std::uint8_t operationCode, std::uint64_t gatheredSize)
        : operation(operationCode), maxSize(gatheredSize) {}

    std::uint8_t operation;
    std::uint64_t maxSize;
    std::promise<Bytes> promise;
    std::future<Bytes> future = promise.get_future();
};

struct Spectrophotometer::PendingSend {
    explicit PendingSend(std::uint8_t operationCode) : operation(operationCode) {}

    std::uint8_t operation;
    std::promise<std::int32_t> promise;
    std::future<std::int32_t> future = promise.get_future();
};

Spectrophotometer::Spectrophotometer() : client_(*this) {}

Spectrophotometer::~Spectrophotometer() = default;

ResultCode Spectrophotometer::open(const std::string* portName) {
    if (isConnected()) {
        return CQ_HAS_CONNECTED;
    }
    if (portName != nullptr) {
        return connect(*portName);
    }
    std::vector<std::string> names;
    if (findInstrumentPorts(names) == kDiscoveryFailed) {
        return CQ_CANNOT_FOUND_DEVICE;
    }
    const bool isFound = std::any_of(names.begin(), names.end(), [this](const std::string& name) {
        return connect(name) == CQ_NO_ERROR;
    });
    return isFound ? CQ_NO_ERROR : CQ_CANNOT_FOUND_DEVICE;
}

ResultCode Spectrophotometer::connect(const std::string& portName) {
    connectionFlag_.store(0);
    if (!client_.open(portName)) {
        return CQ_FAIL_TO_OPEN;
    }
    client_.shakeHands();
    awaitConnectionResult();
    if (!isConnected()) {
        client_.close();
        return CQ_FAIL_TO_OPEN;
    }
    return CQ_NO_ERROR;
}

// The two sides meet when one of them finds the flag set by the other. Nothing but the port's going
// away ends the wait for an instrument that stays silent.
void Spectrophotometer::awaitConnectionResult() {
    if (connectionFlag_.exchange(1) == 0) {
        do {
            connectionFlag_.store(0);
            std::this_thread::sleep_for(kConnectionPollPause);
        } while (connectionFlag_.exchange(1) != 1 && client_.isConnected());
    }
    connectionFlag_.store(0);
}

void Spectrophotometer::connectionResult(bool /*isConnected*/) {
    while (connectionFlag_.exchange(1) != 0) {
        std::this_thread::yield();
    }
}

void Spectrophotometer::close() {
    try {
        client_.close();
    } catch (const std::system_error&) {
        // On the receiving thread: the port is closed all the same, and nobody is to wait any more.
        failPending(CQ_DEVICE_IS_CLOSED);
        throw;
    }
    failPending(CQ_DEVICE_IS_CLOSED);
}

bool Spectrophotometer::isConnected() const {
    return client_.isConnected() && client_.hasSession();
}

void Spectrophotometer::setResultHandler(ResultHandler handler) {
    auto replacement =
        handler ? std::make_shared<const ResultHandler>(std::move(handler)) : nullptr;
    const auto lock = client_.lockLink();
    resultHandler_.swap(replacement);
}

ResultCode Spectrophotometer::request(const Command& command, BytesView data,
                                      std::uint64_t expectedSize, Bytes& reply) {
    const auto pending =
        std::make_shared<PendingReply>(command.operation, expectedSize + kReplyTolerance);
    const ResultCode begun = begin(pendingReply_, pending, data);
    if (begun != CQ_NO_ERROR) {
        return begun;
    }
    if (!await(pendingReply_, pending, command.timeout)) {
        return CQ_SENDING_TIMEOUT;
    }
    try {
        reply = pending->future.get();
        return CQ_NO_ERROR;
    } catch (const RemoteException& refusal) {
        lastInstrumentError_.store(refusal.instrumentError());
        return CQ_EXECUTE_COMMAND_FAILED;
    } catch (const CommunicationException& failure) {
        return failure.code();
    }
}

ResultCode Spectrophotometer::send(const Command& command, BytesView data) {
    const auto pending = std::make_shared<PendingSend>(command.operation);
    const ResultCode begun = begin(pendingSend_, pending, data);
    if (begun != CQ_NO_ERROR) {
        return begun;
    }
    if (!await(pendingSend_, pending, command.timeout)) {
        return CQ_SENDING_TIMEOUT;
    }
    try {
        const auto instrumentError = static_cast<std::uint32_t>(pending->future.get());
        lastInstrumentError_.store(instrumentError);
        return instrumentError == 0 ? CQ_NO_ERROR : CQ_EXECUTE_COMMAND_FAILED;
    } catch (const CommunicationException& failure) {
        return failure.code();
    }
}

template <class Pending>
ResultCode Spectrophotometer::begin(std::shared_ptr<Pending>& slot,
                                    const std::shared_ptr<Pending>& pending, BytesView data) {
    // Until the link is let go no answer can be taken in, however soon it comes.
    const auto link = client_.lockLink();
    const ResultCode sent = client_.Send(pending->operation, data);
    if (sent != CQ_NO_ERROR) {
        return sent;
    }
    const std::lock_guard lock(pendingMutex_);
    if (const auto replaced = std::exchange(slot, pending)) {
        replaced->promise.set_exception(
            std::make_exception_ptr(CommunicationException(CQ_DEVICE_IS_BUSY)));
    }
    return CQ_NO_ERROR;
}

template <class Pending>
bool Spectrophotometer::await(std::shared_ptr<Pending>& slot,
                              const std::shared_ptr<Pending>& pending,
                              std::chrono::milliseconds timeout) {
    if (pending->future.wait_for(timeout) == std::future_status::ready) {
        return true;
    }
    const std::lock_guard lock(pendingMutex_);
    if (slot == pending) {
        slot.reset();
    }
    // The outcome may have come in the last moment.
    return pending->future.wait_for(0ms) == std::future_status::ready;
}

void Spectrophotometer::failPending(ResultCode code) {
    const auto failure = std::make_exception_ptr(CommunicationException(code));
    const std::lock_guard lock(pendingMutex_);
    if (const auto reply = std::exchange(pendingReply_, nullptr)) {
        reply->promise.set_exception(failure);
    }
    if (const auto sent = std::exchange(pendingSend_, nullptr)) {
        sent->promise.set_exception(failure);
    }
}

// A goodbye of the instrument lets a call that waits run into its time-out.
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

        if (isReply && error != 0) {
            std::exchange(pendingReply_, nullptr)
                ->promise.set_exception(std::make_exception_ptr(RemoteException(error)));
        } else if (isReply && isLast) {
            std::exchange(pendingReply_, nullptr)
                ->promise.set_value(std::exchange(replyBuffer_, {}));
        } else if (isLast && error == 0) {
            unsolicited = std::exchange(replyBuffer_, {});
        }
    }
    if (!unsolicited.empty() && isMeasurement(operation)) {
        deliverMeasurement(operation, unsolicited);
    }
    return 0;
}

void Spectrophotometer::deliverMeasurement(std::uint8_t operation, BytesView bytes) {
    CqMeasurementRecord record;
    if (bytes.size() != sizeof(record)) {
        debuglog::write("expect size: %d, received: %d", static_cast<int>(sizeof(record)),
                        static_cast<int>(bytes.size()));
        return;
    }
    std::copy(bytes.begin(), bytes.end(), record.bytes);
    // A copy of the reference: the handler may replace itself.
    if (const auto handler = resultHandler_) {
        const bool isStandard = operation == command::kMeasureStandard.operation;
        (*handler)(isStandard ? RECORD_TYPE::standard : RECORD_TYPE::trial, record);
    }
}

std::uint16_t Spectrophotometer::transferProgress(std::uint8_t operation, std::uint32_t /*total*/,
                                                  std::uint16_t error, bool isDone) {
    if (error == 0 && !isDone) {
        return 0;
    }
    const std::lock_guard lock(pendingMutex_);
    if (pendingSend_ && pendingSend_->operation == operation) {
        std::exchange(pendingSend_, nullptr)->promise.set_value(error);
    }
    if (error != 0 && pendingReply_ && pendingReply_->operation == operation) {
        std::exchange(pendingReply_, nullptr)
            ->promise.set_exception(std::make_exception_ptr(RemoteException(error)));
    }
    return 0;
}

}  // namespace ovk::cq
