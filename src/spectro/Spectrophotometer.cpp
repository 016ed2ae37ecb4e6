#include "spectro/Spectrophotometer.h"

#include <algorithm>
#include <atomic>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

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

/// A call that waits, and its outcome: guarded by pendingMutex_ until it is settled, the call's own
/// from then on.
struct Spectrophotometer::Pending {
    explicit Pending(std::uint8_t operationCode) : operation(operationCode) {}

    std::uint8_t operation;
    std::atomic<bool> isSettled{false};
    ResultCode code = CQ_NO_ERROR;
    std::optional<RemoteException> refusal;  ///< the instrument's, with its own number
};

struct Spectrophotometer::PendingReply : Pending {
    PendingReply(std::uint8_t operationCode, std::uint64_t gatheredSize)
        : Pending(operationCode), maxSize(gatheredSize) {}

    std::uint64_t maxSize;
    Bytes reply;
};

struct Spectrophotometer::PendingSend : Pending {
    using Pending::Pending;
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
    if (pending->code == CQ_NO_ERROR) {
        reply = std::move(pending->reply);
    } else if (pending->refusal) {
        lastInstrumentError_.store(pending->refusal->instrumentError());
    }
    return pending->code;
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
    if (pending->code == CQ_NO_ERROR) {
        lastInstrumentError_.store(0);
    } else if (pending->refusal) {
        lastInstrumentError_.store(pending->refusal->instrumentError());
    }
    return pending->code;
}

template <class Kind>
ResultCode Spectrophotometer::begin(std::shared_ptr<Kind>& slot,
                                    const std::shared_ptr<Kind>& pending, BytesView data) {
    // Until the link is let go no answer can be taken in, however soon it comes.
    const auto link = client_.lockLink();
    const ResultCode sent = client_.Send(pending->operation, data);
    if (sent != CQ_NO_ERROR) {
        return sent;
    }
    const std::lock_guard lock(pendingMutex_);
    if (slot) {
        settle(slot, CQ_DEVICE_IS_BUSY);
        client_.wakeCalls();
    }
    slot = pending;
    return CQ_NO_ERROR;
}

template <class Kind>
bool Spectrophotometer::await(std::shared_ptr<Kind>& slot, const std::shared_ptr<Kind>& pending,
                              std::chrono::milliseconds timeout) {
    if (client_.await(pending->isSettled, timeout)) {
        return true;
    }
    const std::lock_guard lock(pendingMutex_);
    if (pending->isSettled.load()) {
        return true;
    }
    slot.reset();  // nobody else's: who takes another's place settles it
    return false;
}

template <class Kind>
void Spectrophotometer::settle(std::shared_ptr<Kind>& slot, ResultCode code) {
    const auto pending = std::exchange(slot, nullptr);
    pending->code = code;
    pending->isSettled.store(true);
}

template <class Kind>
void Spectrophotometer::settle(std::shared_ptr<Kind>& slot, const RemoteException& refusal) {
    slot->refusal = refusal;
    settle(slot, CQ_EXECUTE_COMMAND_FAILED);
}

void Spectrophotometer::failPending(ResultCode code) {
    {
        const std::lock_guard lock(pendingMutex_);
        if (pendingReply_) {
            settle(pendingReply_, code);
        }
        if (pendingSend_) {
            settle(pendingSend_, code);
        }
    }
    client_.wakeCalls();
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
            settle(pendingReply_, RemoteException(error));
        } else if (isReply && isLast) {
            pendingReply_->reply = std::exchange(replyBuffer_, {});
            settle(pendingReply_, CQ_NO_ERROR);
        } else if (isLast && error == 0) {
            unsolicited = std::exchange(replyBuffer_, {});
        }
    }
    if (!unsolicited.empty() && isMeasurement(operation)) {
        const bool isStandard = operation == command::kMeasureStandard.operation;
        const auto type = isStandard ? RECORD_TYPE::standard : RECORD_TYPE::trial;
        client_.runOnReceivingThread(
            [this, type, bytes = std::move(unsolicited)] { deliverMeasurement(type, bytes); });
    }
    return 0;
}

void Spectrophotometer::deliverMeasurement(RECORD_TYPE type, BytesView bytes) {
    CqMeasurementRecord record;
    if (bytes.size() != sizeof(record)) {
        debuglog::write("expect size: %d, received: %d", static_cast<int>(sizeof(record)),
                        static_cast<int>(bytes.size()));
        return;
    }
    std::copy(bytes.begin(), bytes.end(), record.bytes);
    // A copy of the reference: the handler may replace itself.
    if (const auto handler = resultHandler_) {
        (*handler)(type, record);
    }
}

std::uint16_t Spectrophotometer::transferProgress(std::uint8_t operation, std::uint32_t /*total*/,
                                                  std::uint16_t error, bool isDone) {
    if (error == 0 && !isDone) {
        return 0;
    }
    const std::lock_guard lock(pendingMutex_);
    if (pendingSend_ && pendingSend_->operation == operation) {
        if (error == 0) {
            settle(pendingSend_, CQ_NO_ERROR);
        } else {
            settle(pendingSend_, RemoteException(error));
        }
    }
    if (error != 0 && pendingReply_ && pendingReply_->operation == operation) {
        settle(pendingReply_, RemoteException(error));
    }
    return 0;
}

}  // namespace ovk::cq
