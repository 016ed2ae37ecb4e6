#include "instrument/ButtonListener.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

#include "system/Terminal.h"

namespace cqtool {
namespace {

using LossClock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kListenInterval{50};
constexpr std::chrono::seconds kAskForLossInterval{1};
constexpr std::chrono::milliseconds kReopenInterval{250};

}  // namespace

/// Passes measurements from the library's thread to the command's, over one connection, which must be
/// closed before this goes.
class ButtonListener::Queue {
  public:
    Queue(const Connection& connection, Interrupt& interrupt)
        : connection_(connection), interrupt_(interrupt), wake_(interrupt.onInterrupt([this] {
              const std::scoped_lock lock(mutex_);
              changed_.notify_all();
          })) {
        connection_.check(
            cqSetMeasurementResultReceivedCallback(connection_.handle(), &Queue::receive, this),
            Operation::listenForMeasurements);
    }
    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;

    /// Waits for the next measurement; nothing after Ctrl-C, or when the connection has ended, of
    /// which lossCode() tells.
    std::optional<Pressed> next() {
        std::unique_lock lock(mutex_);
        const auto isWoken = [this] { return !waiting_.empty() || interrupt_.happened(); };
        while (!changed_.wait_for(lock, kListenInterval, isWoken)) {
            // The lock must be free for a measurement that arrives meanwhile, or the reply would
            // wait for it.
            lock.unlock();
            lossCode_ = lookForLoss();
            lock.lock();
            if (lossCode_ != CQ_NO_ERROR && !isWoken()) {
                return std::nullopt;
            }
        }
        return front();
    }

    /// A measurement that has come, if there is one.
    std::optional<Pressed> take() {
        const std::scoped_lock lock(mutex_);
        return front();
    }

    std::uint32_t lossCode() const { return lossCode_; }

  private:
    std::uint32_t lookForLoss() {
        if (connection_.reasonOf(CQ_NO_SESSION) == CQ_DEVICE_IS_CLOSED ||
            !portExists(connection_.portName())) {
            return CQ_DEVICE_IS_CLOSED;
        }
        // Over the cable replies are recognised by their operation; over the air a measurement that
        // arrives at this moment would be taken for the reply.
        if (connection_.isWireless() || LossClock::now() - asked_ < kAskForLossInterval) {
            return CQ_NO_ERROR;
        }
        asked_ = LossClock::now();
        std::uint32_t ignored = 0;
        const std::uint32_t code = cqGetTotalStandards(connection_.handle(), &ignored);
        // An instrument that is busy or slow is not gone.
        return code == CQ_NO_SESSION || code == CQ_DEVICE_IS_CLOSED ? code
                                                                    : std::uint32_t{CQ_NO_ERROR};
    }

    std::optional<Pressed> front() {
        if (waiting_.empty()) {
            return std::nullopt;
        }
        const Pressed pressed = waiting_.front();
        waiting_.pop_front();
        return pressed;
    }

    static void receive(bool isStandard, const CqMeasurementRecord* record, void* user) {
        auto& queue = *static_cast<Queue*>(user);
        const std::scoped_lock lock(queue.mutex_);
        queue.waiting_.push_back({isStandard, *record});
        queue.changed_.notify_all();
    }

    const Connection& connection_;
    Interrupt& interrupt_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Pressed> waiting_;
    std::uint32_t lossCode_ = CQ_NO_ERROR;
    LossClock::time_point asked_ = LossClock::now();
    std::unique_ptr<Interrupt::Registration> wake_;
};

ButtonListener::ButtonListener(const ConnectionOptions& options, Interrupt& interrupt,
                               std::ostream& notes, std::function<void(Connection&)> connected)
    : options_(options), interrupt_(interrupt), notes_(notes), connected_(std::move(connected)) {
    open();
    notes_ << "listening on " << connection_->portName()
           << "; press the instrument's button, Ctrl-C ends" << std::endl;
}

ButtonListener::~ButtonListener() = default;

void ButtonListener::open() {
    connection_ = std::make_unique<Connection>(options_, interrupt_);
    connected_(*connection_);
    queue_ = std::make_unique<Queue>(*connection_, interrupt_);
}

std::optional<Pressed> ButtonListener::next(ExitStatus whenInterrupted) {
    for (;;) {
        if (connection_ != nullptr) {
            if (auto pressed = queue_->next()) {
                return pressed;
            }
            if (options_.useVirtual && !interrupt_.happened()) {
                check(queue_->lossCode(), Operation::listenForMeasurements);
            }
            connection_.reset();  // measurements arrive until the goodbye is answered
        }
        if (auto pressed = queue_->take()) {
            return pressed;
        }
        if (interrupt_.happened()) {
            return std::nullopt;
        }
        notes_ << "cq: " << cqGetResultText(queue_->lossCode())
               << "; waiting for the instrument to come back, Ctrl-C ends" << std::endl;
        reopen(whenInterrupted);
        notes_ << "back on " << connection_->portName() << std::endl;
    }
}

void ButtonListener::reopen(ExitStatus whenInterrupted) {
    // There is nothing to put in order.
    const auto end = interrupt_.onInterrupt([whenInterrupted] { endProcess(whenInterrupted); });
    const std::string& port = options_.isWireless ? options_.adapter : options_.port;
    while (connection_ == nullptr) {
        try {
            if (port.empty() || portExists(port)) {
                open();
                return;
            }
        } catch (const Failure&) {
            // Not yet, or not all of it: the next attempt begins anew.
            connection_.reset();
        } catch (const Interrupted&) {
            endProcess(whenInterrupted);
        }
        std::this_thread::sleep_for(kReopenInterval);
    }
}

}  // namespace cqtool
