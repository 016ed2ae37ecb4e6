#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Broker.h"
#include "Instrument.h"
#include "Server.h"

namespace station {

/// What the command line and the configuration say.
struct Options {
    Server::Settings server;
    std::string tokenFile;           ///< empty: a random token
    std::vector<std::string> hosts;  ///< further names of the station
    bool opensBrowser = false;
    std::filesystem::path jobFolder;  ///< empty: of the job, or else the working folder
    std::filesystem::path job;        ///< the file of the one to begin with; empty: today's
    std::vector<std::string> ports;   ///< where instruments are sought, too
    std::string station;              ///< its name for the broker
    Broker broker;                    ///< without a host: none
    std::vector<Place> places;        ///< at least one, with different names
};

/// Reads the command line, and the file that it names.
/// \param exitCode set if the program must end at once; the text for it has been written.
std::optional<Options> parseCommandLine(int argc, char** argv, int& exitCode);

/// "serial:AB12", "wireless:C4BE84A1B2C3@COM7", "virtual" or a port, with "NAME=" before it.
/// \param number of the instrument from 1, its name unless it has one.
/// Throws cqtool::UsageError.
Place placeOf(const std::string& text, std::size_t number);

/// Adds what a configuration says; docs/station.md describes it. Throws cqtool::Failure.
void addConfiguration(Options& options, const std::filesystem::path& file);

}  // namespace station
