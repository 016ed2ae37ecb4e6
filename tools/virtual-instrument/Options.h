#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "adapter/AdapterProtocol.h"
#include "instrument/Instrument.h"
#include "line/DelayLine.h"
#include "System.h"
#include "wired/WiredProtocol.h"

namespace vi {

/// The command line's content.
struct Options {
    struct AutomaticPress {
        std::chrono::nanoseconds period{0};
        Kind kind = Kind::standard;
    };

    LineOptions line;
    DelayLine::Pace fromHost;
    DelayLine::Pace toHost;
    Instrument::Settings instrument;
    wired::WiredProtocol::Settings protocol;
    bool isAdapter = false;  ///< wireless instead of wired
    adapter::AdapterProtocol::Settings adapter;
    std::optional<AutomaticPress> press;
    bool endsWithInput = false;
    std::string log;  ///< a path, "-" for standard error; empty for none
};

/// Reads the command line.
/// \param exitCode set if the program must end at once: 0 after --help and --version, 2 after a
///        wrong command line; the text for it has been written.
/// \return nothing if the program must end.
std::optional<Options> parseCommandLine(int argc, char** argv, int& exitCode);

}  // namespace vi
