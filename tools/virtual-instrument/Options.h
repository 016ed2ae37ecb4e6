#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

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
    std::size_t fleet = 1;  ///< how many such instruments
    std::string control;    ///< a path of a file with commands; empty for none
    std::string log;        ///< a path, "-" for standard error; empty for none
};

/// The options of each instrument of a fleet: links, pipes, serial numbers and seeds count up.
std::vector<Options> fleetOf(const Options& options);

/// Reads the command line.
/// \param exitCode set if the program must end at once: 0 after --help and --version, 2 after a
///        wrong command line; the text for it has been written.
/// \return nothing if the program must end.
std::optional<Options> parseCommandLine(int argc, char** argv, int& exitCode);

}  // namespace vi
