#include "CQCommProtocol/ReceivingTurn.h"

#include <utility>

namespace ovk {

/// A call that waits, counted for as long as it can receive. The mutex is held at both ends.
class ReceivingTurn::Call {
  public:
    Call(ReceivingTurn& turn, bool canReceive) : turn_(turn), canReceive_(canReceive) {
        ++turn_.waiting_;  // before it looks at its outcome, so that nobody leaves it asleep
        turn_.calls_ += canReceive ? 1 : 0;
    }
    ~Call() {
        stopReceiving();
        --turn_.waiting_;
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    bool canReceive() const { return canReceive_; }
    void stopReceiving() {
        if (!std::exchange(canReceive_, false)) {
            return;
        }
        --turn_.calls_;
        ++turn_.ended_;
        turn_.reservedUntil_ = Clock::now() + kReserve;
        turn_.callsSleep_.notify_all();  // this one may have been woken to take the turn
        if (turn_.calls_ == 0 && turn_.isThreadIdle_) {
            turn_.threadsSleep_.notify_one();
        }
    }

  private:
    ReceivingTurn& turn_;
    bool canReceive_;
};

/// A call's turn, from its constructor to its destructor, between which the mutex is free.
class ReceivingTurn::CallsTurn {
  public:
    CallsTurn(ReceivingTurn& turn, Lock& lock) : turn_(turn), lock_(lock) {
        turn_.holder_ = Holder::call;
        lock_.unlock();
    }
    ~CallsTurn() {
        lock_.lock();
        turn_.holder_ = Holder::nobody;
        turn_.callsSleep_.notify_all();
    }
    CallsTurn(const CallsTurn&) = delete;
    CallsTurn& operator=(const CallsTurn&) = delete;

  private:
    ReceivingTurn& turn_;
    Lock& lock_;
};

bool ReceivingTurn::takeForThread() {
    Lock lock(mutex_);
    std::uint32_t endedBefore = ended_ - 1;  // so that the first sleep is a short one
    while (!isThreadWanted_) {
        if (holder_ == Holder::nobody && calls_ == 0 && Clock::now() >= reservedUntil_) {
            holder_ = Holder::thread;
            return true;
        }
        if (calls_ == 0) {
            threadsSleep_.wait_until(lock, reservedUntil_);
        } else if (endedBefore != ended_) {
            // Calls that end do not wake this thread: the next one mostly comes at once.
            endedBefore = ended_;
            threadsSleep_.wait_for(lock, kReserve);
        } else {
            isThreadIdle_ = true;
            threadsSleep_.wait(lock);
            isThreadIdle_ = false;
        }
    }
    isThreadWanted_ = false;
    return false;
}

void ReceivingTurn::leave() {
    const Lock lock(mutex_);
    holder_ = Holder::nobody;
    callsSleep_.notify_all();
}

void ReceivingTurn::wakeThread() {
    {
        const Lock lock(mutex_);
        isThreadWanted_ = true;
    }
    threadsSleep_.notify_one();
}

void ReceivingTurn::endReserve() {
    {
        const Lock lock(mutex_);
        reservedUntil_ = {};
    }
    threadsSleep_.notify_one();
}

bool ReceivingTurn::await(const std::atomic<bool>& isOver, Clock::time_point deadline,
                          const std::function<bool()>& receive) {
    Lock lock(mutex_);
    Call call(*this, receive != nullptr);
    while (!isOver.load() && Clock::now() < deadline) {
        if (!call.canReceive() || holder_ != Holder::nobody) {
            callsSleep_.wait_until(lock, deadline);
        } else if (!receiveInTurn(lock, receive)) {
            call.stopReceiving();
        }
    }
    return isOver.load();
}

bool ReceivingTurn::receiveInTurn(Lock& lock, const std::function<bool()>& receive) {
    const CallsTurn turn(*this, lock);
    return receive();
}

void ReceivingTurn::wakeCalls() {
    const Lock lock(mutex_);
    callsSleep_.notify_all();
}

bool ReceivingTurn::isWithCall() const {
    const Lock lock(mutex_);
    return holder_ == Holder::call;
}

}  // namespace ovk
