#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>

namespace ovk {

/// Decides who reads a port: its receiving thread, or a call that waits for what arrives and so
/// needs no other thread to wake it. One thread at a time has the turn.
///
/// While calls come in quick succession they take the turn from each other; the receiving thread
/// takes it again kReserve after the last of them, or at once when it is told to.
class ReceivingTurn {
  public:
    using Clock = std::chrono::steady_clock;

    /// How long after a call the turn is kept for the next one. What the instrument sends on its own
    /// account may lie in the port for so long.
    static constexpr std::chrono::milliseconds kReserve{10};

    /// The receiving thread's: waits for the turn.
    /// \return false, without the turn, when wakeThread() was called.
    bool takeForThread();
    /// The receiving thread's: gives the turn to the calls that wait, if there are any.
    void leave();
    /// Makes takeForThread() return.
    void wakeThread();
    /// Does not keep the turn for another call.
    void endReserve();

    /// Waits for an outcome, and receives whenever the turn is free.
    /// \param isOver is set on whichever thread; wakeCalls() or leave() must follow.
    /// \param receive takes in what arrives until the outcome is there or the time is up; false when
    ///        it makes no sense to go on. Null for a call that must not receive.
    /// \return isOver.
    bool await(const std::atomic<bool>& isOver, Clock::time_point deadline,
               const std::function<bool()>& receive);
    /// Lets calls that wait look at their outcomes.
    void wakeCalls();
    /// For the call that has the turn: as above, and next to nothing while it is the only one.
    void wakeOtherCalls() {
        if (waiting_.load() > 1) {
            wakeCalls();
        }
    }
    /// True while a call has the turn.
    bool isWithCall() const;

  private:
    class Call;
    class CallsTurn;
    enum class Holder { nobody, thread, call };
    using Lock = std::unique_lock<std::mutex>;

    bool receiveInTurn(Lock& lock, const std::function<bool()>& receive);

    mutable std::mutex mutex_;
    std::condition_variable threadsSleep_;
    std::condition_variable callsSleep_;
    Holder holder_ = Holder::nobody;
    bool isThreadWanted_ = false;
    bool isThreadIdle_ = false;  // sleeps until the last call has ended
    std::uint32_t calls_ = 0;    // that can receive
    std::uint32_t ended_ = 0;    // calls that could, so far
    std::atomic<std::uint32_t> waiting_{0};
    Clock::time_point reservedUntil_{};
};

}  // namespace ovk
