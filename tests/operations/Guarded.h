#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace cqtest {

/// Room for records between two strips of guard bytes, all filled with one pattern, so that it can
/// be told what a call has written, and whether that was inside.
template <class T>
class Guarded {
  public:
    explicit Guarded(std::size_t count = 1)
        : size_(count * sizeof(T)), bytes_(size_ + 2 * kStrip, kPattern) {}

    T* get() { return reinterpret_cast<T*>(bytes_.data() + kStrip); }

    bool areGuardsIntact() const {
        return isPattern(0, kStrip) && isPattern(kStrip + size_, bytes_.size());
    }
    /// Neither the guards nor the records were written.
    bool isUntouched() const { return isPattern(0, bytes_.size()); }

    static constexpr std::uint8_t kPattern = 0xA5;

  private:
    static constexpr std::size_t kStrip = 512;

    bool isPattern(std::size_t from, std::size_t to) const {
        return std::all_of(bytes_.begin() + static_cast<std::ptrdiff_t>(from),
                           bytes_.begin() + static_cast<std::ptrdiff_t>(to),
                           [](std::uint8_t byte) { return byte == kPattern; });
    }

    std::size_t size_;
    std::vector<std::uint8_t> bytes_;
};

}  // namespace cqtest
