#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Bytes.h"

namespace vi {

struct LineOptions {
    std::string link;     ///< path of a symbolic link to the pseudo-terminal; empty for none
    std::string comPort;  ///< "COM5"; only on Windows
    std::string pipe;     ///< name of a pipe; only on Windows, any if empty and without a COM port
};

/// The interface to the operating system: the line, the keys and the request to end. One
/// implementation per system, in posix/ and win32/. Use one object at a time, on one thread.
class System {
  public:
    struct Happening {
        Bytes received;           ///< from the host
        std::string keys;         ///< from standard input
        bool inputEnded = false;  ///< standard input has ended; reported once
        bool mustEnd = false;     ///< a signal asks the program to end
    };

    /// To be called first: opens those of the three standard streams that the parent has closed, so
    /// that nothing else gets their numbers.
    static void secureStandardStreams();

    /// \return empty, or why the options do not work on this system and what to do.
    static std::string check(const LineOptions& options);

    /// \param options must have passed check().
    explicit System(LineOptions options);
    /// Removes the line and restores the terminal.
    ~System();
    System(const System&) = delete;
    System& operator=(const System&) = delete;

    /// Creates the line.
    /// \return the name that a host opens.
    /// \throw std::runtime_error with what went wrong.
    std::string plugIn();
    void unplug();
    bool isPlugged() const;

    /// \return how much was accepted; 0 if nothing can be at the moment.
    std::size_t write(ByteView bytes);

    /// Waits until something happens or the deadline has come.
    /// \param wantsWrite also end the wait when the line accepts bytes again.
    Happening wait(std::optional<TimePoint> until, bool wantsWrite);

    /// Writes one line to standard output. A line that would block is dropped.
    static void say(std::string_view line);

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace vi
