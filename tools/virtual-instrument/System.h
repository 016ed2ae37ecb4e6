#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Bytes.h"

namespace vi {

struct LineOptions {
    std::string link;     ///< path of a symbolic link to the pseudo-terminal; empty for none
    std::string comPort;  ///< "COM5"; only on Windows
    std::string pipe;     ///< name of a pipe; only on Windows, any if empty and without a COM port
};

/// The interface to the operating system: the lines, the keys and the request to end. One
/// implementation per system, in posix/ and win32/. Use one object at a time, on one thread.
class System {
  public:
    struct Happening {
        std::vector<Bytes> received;  ///< from the host on each line
        std::string keys;             ///< from standard input
        std::string control;          ///< from the control file
        bool inputEnded = false;      ///< standard input has ended; reported once
        bool mustEnd = false;         ///< a signal asks the program to end
    };

    /// To be called first: opens those of the three standard streams that the parent has closed, so
    /// that nothing else gets their numbers.
    static void secureStandardStreams();

    /// \return empty, or why the options do not work on this system and what to do.
    static std::string check(const LineOptions& options);

    /// How many lines one object can have.
    static std::size_t maxLines();

    /// \param lines must have passed check().
    /// \param controlFile a growing file or, on POSIX, a FIFO to read from; empty for none.
    /// \throw std::runtime_error if the control file cannot be read.
    System(std::vector<LineOptions> lines, const std::string& controlFile);
    /// Removes the lines and restores the terminal.
    ~System();
    System(const System&) = delete;
    System& operator=(const System&) = delete;

    /// Creates a line, numbered from 0.
    /// \return the name that a host opens.
    /// \throw std::runtime_error with what went wrong.
    std::string plugIn(std::size_t line);
    void unplug(std::size_t line);
    bool isPlugged(std::size_t line) const;

    /// \return how much was accepted; 0 if nothing can be at the moment.
    std::size_t write(std::size_t line, ByteView bytes);

    /// Waits until something happens or the deadline has come.
    /// \param wantsWrite of each line: also end the wait when it accepts bytes again.
    Happening wait(std::optional<TimePoint> until, const std::vector<bool>& wantsWrite);

    /// Writes one line to standard output. A line that would block is dropped.
    static void say(std::string_view line);

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace vi
