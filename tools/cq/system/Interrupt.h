#pragma once

#include <condition_variable>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

#include "Failure.h"

namespace cqtool {

/// Ends the process although something still waits that cannot be woken; says so of Ctrl-C.
[[noreturn]] void endProcess(ExitStatus status);

/// Ctrl-C and the other requests to end, a closed terminal's among them, for a program that is to
/// end in good order: the first one sets a flag and runs the actions registered here, on a thread of
/// this object; a second one ends the process at once. Make one, in main(), before other threads.
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

    /// While it lives, the first Ctrl-C ends the process at once: for a wait that nothing else can
    /// end, when there is nothing to put in order. Throws Interrupted once that has happened.
    class EndsProcess {
      public:
        EndsProcess();
        ~EndsProcess();
        EndsProcess(const EndsProcess&) = delete;
        EndsProcess& operator=(const EndsProcess&) = delete;
    };

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
