#pragma once

#include <condition_variable>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

namespace cqtool {

/// Ctrl-C and the request to terminate, for a program that wants to end in good order: the first
/// one sets a flag and runs the actions registered here, on a thread of this object; a second one
/// ends the process at once. Make one, in main(), before other threads.
class Interrupt {
  public:
    using Action = std::function<void()>;

    Interrupt();
    ~Interrupt();
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;

    bool happened() const noexcept;
    /// Throws Interrupted once it has happened.
    void throwIfHappened() const;

    /// Keeps an action registered; its end waits for the action when that is running.
    class Registration {
      public:
        Registration(Interrupt& interrupt, std::list<Action>::iterator place)
            : interrupt_(interrupt), place_(place) {}
        ~Registration();
        Registration(const Registration&) = delete;
        Registration& operator=(const Registration&) = delete;

      private:
        Interrupt& interrupt_;
        std::list<Action>::iterator place_;
    };

    /// \param action runs once, soon after the interruption, or at once on the caller's thread if
    /// that has already happened. Must not register or end a registration.
    [[nodiscard]] std::unique_ptr<Registration> onInterrupt(Action action);

  private:
    void watch();

    std::mutex mutex_;
    std::list<Action> actions_;
    bool haveActionsRun_ = false;
    bool isEnding_ = false;
    std::condition_variable ending_;
    std::thread watcher_;
};

}  // namespace cqtool
