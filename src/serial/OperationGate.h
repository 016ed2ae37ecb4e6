#pragma once

#include <condition_variable>
#include <cstddef>
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
    void open() {
        const std::lock_guard guard(mutex_);
        isOpen_ = true;
    }

    /// Lets nobody in any more. Returns false if the gate was shut already.
    bool shut() {
        const std::lock_guard guard(mutex_);
        const bool wasOpen = isOpen_;
        isOpen_ = false;
        return wasOpen;
    }

    /// Returns when the last thread has left. The gate must be shut, and the caller outside.
    void waitUntilEmpty() {
        std::unique_lock lock(mutex_);
        emptied_.wait(lock, [this] { return inside_ == 0; });
    }

    bool isOpen() const {
        const std::lock_guard guard(mutex_);
        return isOpen_;
    }

  private:
    bool enter() {
        const std::lock_guard guard(mutex_);
        inside_ += isOpen_ ? 1 : 0;
        return isOpen_;
    }

    void leave() {
        const std::lock_guard guard(mutex_);
        if (--inside_ == 0 && !isOpen_) {
            emptied_.notify_all();
        }
    }

    mutable std::mutex mutex_;
    std::condition_variable emptied_;
    std::size_t inside_ = 0;
    bool isOpen_ = false;
};

}  // namespace ovk
