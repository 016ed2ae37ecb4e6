#pragma once

#include <windows.h>

#include <string>

namespace vi {

/// Standard input as a source of keys: a console, a pipe, or a file.
class Keys {
  public:
    Keys();
    /// Restores the console.
    ~Keys();
    Keys(const Keys&) = delete;
    Keys& operator=(const Keys&) = delete;

    /// Signalled when there may be keys; null if only poll() can tell.
    HANDLE event() const { return isConsole_ && !hasEnded_ ? input_ : nullptr; }
    bool mustBePolled() const { return !isConsole_ && !hasEnded_; }
    bool hasEnded() const { return hasEnded_; }

    /// Never waits.
    std::string poll();

  private:
    std::string pollConsole();
    std::string pollOther();

    HANDLE input_;
    bool isConsole_ = false;
    bool hasEnded_ = false;
    DWORD modeBefore_ = 0;
};

}  // namespace vi
