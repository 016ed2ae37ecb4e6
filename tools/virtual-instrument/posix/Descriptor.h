#pragma once

#include <unistd.h>

#include <utility>

namespace vi {

/// Owns a file descriptor.
class Descriptor {
  public:
    explicit Descriptor(int value = -1) : value_(value) {}
    Descriptor(Descriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    ~Descriptor() {
        if (value_ >= 0) {
            ::close(value_);
        }
    }

    int get() const { return value_; }
    bool isOpen() const { return value_ >= 0; }

  private:
    int value_;
};

}  // namespace vi
