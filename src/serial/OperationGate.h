#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace ovk {

/// Keeps a handle from being closed under the threads that use it: they pass the gate on their way
/// in and out, and closing waits until nobody is inside.
class OperationGate {
  public:
    /// One thread's stay inside; empty when the gate is shut.
    class Pass {
      public:
        explicit Pass(OperationGate& gate) : gate_(gate.enter() ? &gate : nullptr) {}
        ~Pass() {
            if (gate_ != nullptr) {
                gate_->leave();
            }
        }
        Pass(const Pass&) = delete;
        Pass& operator=(const Pass&) = delete;

        explicit operator bool() const { return gate_ != nullptr; }

      private:
        OperationGate* gate_;
    };

    /// Lets threads in.
    void open() { state_.fetch_and(~kShut); }

    /// Lets nobody in any more. Returns false if the gate was shut already.
    bool shut() { return (state_.fetch_or(kShut) & kShut) == 0; }

    /// Returns when the last thread has left. The gate must be shut, and the caller outside.
    void waitUntilEmpty() {
        std::unique_lock lock(mutex_);
        emptied_.wait(lock, [this] { return state_.load() == kShut; });
    }

    bool isOpen() const { return (state_.load() & kShut) == 0; }

  private:
    /// Beside it in the state: how many threads are inside.
    static constexpr std::uint32_t kShut = 0x8000'0000;

    bool enter() {
        const bool isIn = (state_.fetch_add(1) & kShut) == 0;
        if (!isIn) {
            leave();
        }
        return isIn;
    }

    void leave() {
        std::uint32_t state = state_.load();
        while ((state & kShut) == 0) {
            if (state_.compare_exchange_weak(state, state - 1)) {
                return;
            }
        }
        // Who waits may destroy the gate as soon as it is empty: the mutex keeps it until then.
        const std::lock_guard guard(mutex_);
        if (state_.fetch_sub(1) == kShut + 1) {
            emptied_.notify_all();
        }
    }

    std::atomic<std::uint32_t> state_{kShut};
    std::mutex mutex_;
    std::condition_variable emptied_;
};

}  // namespace ovk
