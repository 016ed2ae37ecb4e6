#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace cqtool {

/// The exit status of the process.
enum class ExitStatus {
    success = 0,
    failed = 1,        ///< the instrument refused, or an operation or a file failed
    usage = 2,         ///< the command line is wrong
    interrupted = 130  ///< ended by Ctrl-C before it was done, as shells number it
};

/// An invalid command line. The message says what is wrong and what would be right.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// An operation that failed: what() says what failed, advice() what the user can try.
class Failure : public std::runtime_error {
  public:
    explicit Failure(const std::string& what, std::string advice = {})
        : std::runtime_error(what), advice_(std::move(advice)) {}

    /// Empty if there is nothing to suggest.
    const std::string& advice() const noexcept { return advice_; }

  private:
    std::string advice_;
};

/// Thrown by a command that Ctrl-C has ended.
struct Interrupted {};

}  // namespace cqtool
