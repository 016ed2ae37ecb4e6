#pragma once

#include <chrono>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace station {

/// The ports on which instruments are sought, each by one worker at a time. For any thread.
class Ports {
  public:
    /// \param more beside the instruments' ports that the system knows.
    explicit Ports(std::vector<std::string> more) : more_(std::move(more)) {}

    /// Keeps a port from the other workers as long as it lives.
    class Claim {
      public:
        Claim() = default;
        Claim(Ports& ports, std::string port) : ports_(&ports), port_(std::move(port)) {}
        Claim(Claim&& other) noexcept
            : ports_(std::exchange(other.ports_, nullptr)), port_(std::move(other.port_)) {}
        Claim& operator=(Claim&& other) noexcept {
            std::swap(ports_, other.ports_);
            std::swap(port_, other.port_);
            return *this;
        }
        ~Claim();

        explicit operator bool() const { return ports_ != nullptr; }

      private:
        Ports* ports_ = nullptr;
        std::string port_;
    };

    /// False if another worker has it.
    Claim claim(const std::string& port);

    /// Where a wired instrument can be.
    std::vector<std::string> candidates();

  private:
    void list();

    const std::vector<std::string> more_;
    std::mutex mutex_;
    std::set<std::string> claimed_;
    std::vector<std::string> candidates_;
    std::optional<std::chrono::steady_clock::time_point> listed_;
};

}  // namespace station
