#pragma once

#include <windows.h>

#include <utility>

namespace vi {

/// Owns a handle; null and INVALID_HANDLE_VALUE mean none.
class Handle {
  public:
    explicit Handle(HANDLE value = nullptr) : value_(value) {}
    Handle(Handle&& other) noexcept : value_(std::exchange(other.value_, nullptr)) {}
    Handle& operator=(Handle&& other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    ~Handle() {
        if (isValid()) {
            CloseHandle(value_);
        }
    }

    HANDLE get() const { return value_; }
    bool isValid() const { return value_ != nullptr && value_ != INVALID_HANDLE_VALUE; }

  private:
    HANDLE value_;
};

}  // namespace vi
