#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace ovk {

/// Holds the function that a thread calls while other threads may replace it.
template <class... Arguments>
class HandlerSlot {
  public:
    using Handler = std::function<void(Arguments...)>;

    /// Replaces the handler; an empty one removes it. When this returns an earlier handler has
    /// ended and is not called again, unless it is the handler itself that calls.
    void set(Handler handler) {
        auto replacement = std::make_shared<const Handler>(std::move(handler));
        const std::lock_guard lock(mutex_);
        handler_.swap(replacement);
    }

    /// Calls the handler, if there is one.
    void call(Arguments... arguments) {
        const std::lock_guard lock(mutex_);
        const auto handler = handler_;  // keeps alive a handler that replaces itself
        if (handler != nullptr && *handler) {
            caller_.store(std::this_thread::get_id());
            (*handler)(arguments...);
            caller_.store({});
        }
    }

    /// True in the handler.
    bool isCalledHere() const { return caller_.load() == std::this_thread::get_id(); }

  private:
    std::recursive_mutex mutex_;  // recursive for the handler that replaces itself
    std::shared_ptr<const Handler> handler_;
    std::atomic<std::thread::id> caller_{};
};

}  // namespace ovk
