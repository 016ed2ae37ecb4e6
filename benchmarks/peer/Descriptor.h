#pragma once

#include <string>
#include <utility>

#include "peer/Packets.h"

namespace cqbench {

/// Owns a file descriptor that blocks. Failures are thrown as std::system_error.
class Descriptor {
  public:
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    ~Descriptor();
    Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    Descriptor& operator=(Descriptor&&) = delete;

    int get() const { return descriptor_; }

    void write(ByteView bytes) const;
    /// Returns how many bytes it read, at least one.
    std::size_t readSome(std::span<std::uint8_t> buffer) const;
    void read(std::span<std::uint8_t> buffer) const;

  private:
    int descriptor_;
};

/// A new pseudo-terminal: its master side.
Descriptor makePseudoTerminal();
std::string terminalName(const Descriptor& master);
/// Opens the terminal for raw bytes.
Descriptor openTerminal(const std::string& name);

}  // namespace cqbench
