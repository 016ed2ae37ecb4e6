#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Bytes.h"

namespace vi {

struct LineOptions {
    std::string link;     ///< path of a symbolic link to the pseudo-terminal; empty for none
    std::string comPort;  ///< "COM5"; on Windows alone
    std::string pipe;     ///< name of a pipe; on Windows alone, where empty without a COM port: any
};

/// Where the program meets the operating system: the line, the keys and the wish to end. One file a
/// system, posix/ and win32/. Use one object at a time, on one thread.
class System {
  public:
    struct Happening {
        Bytes received;           ///< from the host
        std::string keys;         ///< from standard input
        bool inputEnded = false;  ///< standard input has ended; told once
        bool mustEnd = false;     ///< a signal asks the program to end
    };

    /// To be called first: opens what the parent has closed of the three standard streams, so that
    /// nothing else gets their numbers.
    static void secureStandardStreams();

    /// \return empty, or why the options do not suit this system and what to do.
    static std::string check(const LineOptions& options);

    /// \param options must have passed check().
    explicit System(LineOptions options);
    /// Takes the line away and gives the terminal back as it was.
    ~System();
    System(const System&) = delete;
    System& operator=(const System&) = delete;

    /// Makes the line.
    /// \return the name that a host opens.
    /// \throw std::runtime_error with what went wrong.
    std::string plugIn();
    void unplug();
    bool isPlugged() const;

    /// \return how much was taken; 0 when nothing can be at the moment.
    std::size_t write(ByteView bytes);

    /// Waits until something happens or the time has come.
    /// \param wantsWrite end the wait also when the line takes bytes again.
    Happening wait(std::optional<TimePoint> until, bool wantsWrite);

    /// Writes one line to standard output. A line that would have to wait for a reader is dropped.
    static void say(std::string_view line);

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace vi
