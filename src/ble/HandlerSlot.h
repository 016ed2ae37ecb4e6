#pragma once

#include <functional>
#include <memory>
#include <mutex>
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
    void call(Arguments... arguments) const {
        const std::lock_guard lock(mutex_);
        const auto handler = handler_;  // keeps alive a handler that replaces itself
        if (handler != nullptr && *handler) {
            (*handler)(arguments...);
        }
    }

  private:
    mutable std::recursive_mutex mutex_;  // recursive for the handler that replaces itself
    std::shared_ptr<const Handler> handler_;
};

}  // namespace ovk
