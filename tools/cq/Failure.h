#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace cqtool {

/// The exit status of the process.
enum class ExitStatus {
    success = 0,
    failed = 1,          ///< the instrument refused, or an operation or a file failed
    usage = 2,           ///< the command line is wrong
    outOfTolerance = 3,  ///< done, and --check was given: a trial has failed
    interrupted = 130    ///< ended by Ctrl-C before it was done, as shells number it
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

/// Thrown by a command with --check once it is done and has told all, if a trial has failed.
struct OutOfTolerance {};

/// What the user reads of an interruption.
inline constexpr const char* kEndedByInterrupt = "cq: ended by Ctrl-C\n";

}  // namespace cqtool
