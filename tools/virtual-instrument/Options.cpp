#include "Options.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

namespace vi {
namespace {

using std::chrono::nanoseconds;

constexpr int kUsageError = 2;
constexpr std::uint32_t kMaxCapacity = 1'000'000;
constexpr double kMinSeconds = 0.001;
constexpr double kMaxSeconds = 86'400;
constexpr double kMaxLineRate = 100e6;
constexpr double kMaxLatencyMs = 60'000;
constexpr int kMaxAtDelayMs = 60'000;
constexpr int kBitsPerByte = 10;  // a start bit, eight data bits, a stop bit

constexpr const char* kDescription =
    "A spectrophotometer in software: it speaks the wired protocol on a pseudo-terminal (on\n"
    "Windows: a named pipe) and measures the 24 patches of a colour chart.\n"
    "With --adapter it is a wireless adapter with several such instruments within reach.\n"
    "The first line on standard output is 'port: ' and the name that the host opens.";

constexpr const char* kKeys =
    "Keys (characters on standard input):\n"
    "  s  press the standard button      t  press the trial button\n"
    "  k  send a keep-alive request      d  send a disconnect request\n"
    "  u  unplug                         p  plug in again\n"
    "  q  quit                           ?  list the keys\n"
    "  :  and a line: a command, one of\n"
    "\n"
    "Commands (lines of --control FILE, or behind ':' on standard input):\n"
    "  press standard|trial    keep-alive    disconnect    unplug    plug    quit\n"
    "  faults [NAME[:N]...]    these instead of the earlier ones; counts begin anew\n"
    "  noise SIGMA             as --noise\n"
    "  drift FRACTION          of the reflectance an hour, until calibrated on white\n"
    "  patch N|NAME            the next measurement is of this patch\n"
    "In a fleet a command goes to all, or to one: 3 press trial.\n";

/// Values as typed, before conversion.
struct Typed {
    double lineRate = 0;
    double latencyMs = 0;
    double keepAliveSeconds = 0;
    int measureTimeMs = 300;
    int batteryPercent = 100;
    int atDelayMs = 20;
    std::string slaves;
    std::string pressEvery;
    std::vector<std::string> faults;
};

/// Also refuses text that is not a number, which CLI::Range accepts.
CLI::Validator within(double min, double max) {
    std::ostringstream range;
    range << "[" << min << " - " << std::fixed << std::setprecision(0) << max << "]";
    return CLI::Validator(
        [min, max, text = range.str()](const std::string& typed) {
            double value = 0;
            const bool isWithin =
                CLI::detail::lexical_cast(typed, value) && value >= min && value <= max;
            return isWithin ? std::string() : "'" + typed + "' is not a number in " + text;
        },
        "in " + range.str());
}

nanoseconds fromSeconds(double seconds) {
    return nanoseconds(static_cast<std::int64_t>(std::llround(seconds * 1e9)));
}

Options::AutomaticPress parsePress(const std::string& text) {
    const std::size_t colon = text.find(':');
    const std::string kind = colon == std::string::npos ? "standard" : text.substr(colon + 1);
    double seconds = 0;
    if (!CLI::detail::lexical_cast(text.substr(0, colon), seconds) || !(seconds >= kMinSeconds) ||
        seconds > kMaxSeconds) {
        throw std::invalid_argument("--press-every takes seconds from 0.001 to 86400, not '" +
                                    text.substr(0, colon) + "'");
    }
    if (kind != "standard" && kind != "trial") {
        throw std::invalid_argument("--press-every takes ':standard' or ':trial', not ':" + kind +
                                    "'");
    }
    return {fromSeconds(seconds), kind == "standard" ? Kind::standard : Kind::trial};
}

void addLineOptions(CLI::App& app, Options& options, Typed& typed) {
    app.add_option("--link", options.line.link,
                   "Also make this symbolic link to the pseudo-terminal; removed at the end")
        ->type_name("PATH");
    app.add_option("--pipe", options.line.pipe,
                   "Windows: name of the pipe; the host opens \\\\.\\pipe\\NAME")
        ->type_name("NAME");
    app.add_option("--com", options.line.comPort,
                   "Windows: serve this COM port, linked to the host's, instead of a pipe")
        ->type_name("COMn");
    app.add_flag("--until-eof", options.endsWithInput, "End when standard input is closed");
    app.add_option("--max-packet", options.protocol.engine.maxPacket,
                   "Largest packet in bytes, for both directions")
        ->check(CLI::Range(static_cast<int>(wired::kMinMaxPacket), 65535))
        ->capture_default_str()
        ->type_name("N");
    app.add_option("--line-rate", typed.lineRate,
                   "Limit the speed to this line rate, 10 bits per byte")
        ->check(within(1, kMaxLineRate))
        ->type_name("BAUD");
    app.add_option("--latency", typed.latencyMs, "Delay each direction, in milliseconds")
        ->check(within(0, kMaxLatencyMs))
        ->type_name("MS");
    app.add_option("--keep-alive", typed.keepAliveSeconds,
                   "Send a keep-alive request at this interval")
        ->check(within(kMinSeconds, kMaxSeconds))
        ->type_name("SECONDS");
    app.add_option("--log", options.log, "Log every packet; '-' for standard error")
        ->type_name("FILE");
    app.add_option("--fault", typed.faults, "Simulate a fault, see below; repeatable")
        ->type_name("NAME[:N]")
        ->expected(1)
        ->take_all();
}

void addFleetOptions(CLI::App& app, Options& options) {
    app.add_option("--fleet", options.fleet,
                   "So many instruments in one process; links, pipes, serial numbers count up")
        ->check(CLI::Range(std::size_t{1}, System::maxLines()))
        ->excludes("--com")
        ->type_name("N");
    app.add_option("--control", options.control,
                   "Also take commands from this FIFO or growing file, see below")
        ->type_name("FILE");
}

void addInstrumentOptions(CLI::App& app, Options& options, Typed& typed) {
    Instrument::Settings& instrument = options.instrument;
    const auto count = CLI::Range(0U, kMaxCapacity);
    app.add_option("--capacity", instrument.capacity,
                   "How many standards can be stored, and how many samples")
        ->check(count)
        ->capture_default_str()
        ->type_name("N");
    app.add_option("--standards", instrument.standards, "Standards stored at the start")
        ->check(count)
        ->type_name("N");
    app.add_option("--samples", instrument.samples, "Samples stored at the start")
        ->check(count)
        ->type_name("N");
    app.add_flag("--calibrated", instrument.isCalibrated, "Start calibrated, white and black");
    app.add_option("--seed", instrument.seed, "Seed of the noise and of every other random choice")
        ->capture_default_str()
        ->type_name("N");
    app.add_option("--noise", instrument.noise,
                   "Standard deviation of the reflectance factors; 0 for exact values")
        ->check(within(0, 1))
        ->capture_default_str()
        ->type_name("SIGMA");
    app.add_option("--serial", instrument.serial, "Serial number, at most 15 characters")
        ->capture_default_str()
        ->type_name("TEXT");
    app.add_option("--battery", typed.batteryPercent, "Battery level in percent")
        ->check(CLI::Range(0, 100))
        ->capture_default_str()
        ->type_name("N");
    app.add_option("--measure-time", typed.measureTimeMs,
                   "How long measuring and calibrating take, in milliseconds")
        ->check(CLI::Range(0, 3'600'000))
        ->capture_default_str()
        ->type_name("MS");
    app.add_option("--press-every", typed.pressEvery,
                   "Press the button (default: standard) while a host is connected")
        ->type_name("SECONDS[:standard|trial]");
}

/// "VI-000009" and 1: "VI-000010"; without a number at its end it gets one.
std::string countedUp(const std::string& serial, std::size_t by) {
    const std::size_t digits = serial.size() - 1 - serial.find_last_not_of("0123456789");
    if (by == 0 || digits > 15) {
        return serial;
    }
    if (digits == 0) {
        return serial + "-" + std::to_string(by + 1);
    }
    const std::string start = serial.substr(serial.size() - digits);
    const std::string number = std::to_string(std::stoull(start) + by);
    return serial.substr(0, serial.size() - digits) +
           std::string(std::max(start.size(), number.size()) - number.size(), '0') + number;
}

/// \throw std::invalid_argument with what to do.
void finishInstrument(Options& options, const Typed& typed) {
    Instrument::Settings& instrument = options.instrument;
    if (countedUp(instrument.serial, options.fleet - 1).size() > 15) {
        throw std::invalid_argument("--serial takes at most 15 characters");
    }
    if (instrument.standards > instrument.capacity || instrument.samples > instrument.capacity) {
        throw std::invalid_argument(
            "--standards and --samples must not exceed --capacity, which is " +
            std::to_string(instrument.capacity));
    }
    instrument.battery = static_cast<std::uint8_t>(typed.batteryPercent);
    instrument.measureTime = std::chrono::milliseconds(typed.measureTimeMs);
    if (!typed.pressEvery.empty()) {
        options.press = parsePress(typed.pressEvery);
    }
}

void finishPace(Options& options, const Typed& typed) {
    DelayLine::Pace pace{.latency = fromSeconds(typed.latencyMs / 1e3), .perByte = nanoseconds{0}};
    if (typed.lineRate > 0) {
        pace.perByte = fromSeconds(kBitsPerByte / typed.lineRate);
    }
    options.fromHost = pace;
    options.toHost = pace;
    if (options.protocol.faults.oneByte || options.adapter.module.faults.oneByte) {
        options.toHost.isByteByByte = true;
    }
    constexpr int kAcknowledgementSize = 8;
    options.protocol.engine.acknowledgementPatience +=
        pace.latency + pace.perByte * kAcknowledgementSize;
}

void addAdapterOptions(CLI::App& app, Options& options, Typed& typed) {
    auto* const adapter = app.add_flag("--adapter", options.isAdapter,
                                       "Be a wireless adapter with instruments within reach");
    app.add_option("--slaves", typed.slaves,
                   "JSON list of the instruments within reach (default: three)")
        ->needs(adapter)
        ->type_name("FILE");
    app.add_option("--at-delay", typed.atDelayMs,
                   "How long the adapter's module takes to answer, in milliseconds")
        ->needs(adapter)
        ->check(CLI::Range(0, kMaxAtDelayMs))
        ->capture_default_str()
        ->type_name("MS");
    app.add_flag("--scan-ready", options.adapter.module.isScanReady,
                 "The module has already scanned and gives its results when asked")
        ->needs(adapter);
    for (const char* wiredOnly : {"--max-packet", "--keep-alive", "--serial", "--fleet"}) {
        app.get_option(wiredOnly)->excludes(adapter);
    }
}

/// \throw std::invalid_argument with what to do.
void addFaults(Options& options, const std::vector<std::string>& faults) {
    for (const std::string& fault : faults) {
        if (options.isAdapter && wired::hasFault(fault) && !adapter::hasFault(fault)) {
            throw std::invalid_argument("--fault: '" + fault +
                                        "' is for a wired instrument; leave out --adapter");
        }
        if (!options.isAdapter && adapter::hasFault(fault) && !wired::hasFault(fault)) {
            throw std::invalid_argument("--fault: '" + fault + "' needs --adapter");
        }
        const std::string problem = options.isAdapter
                                        ? adapter::addFault(options.adapter.module.faults, fault)
                                        : wired::addFault(options.protocol.faults, fault);
        if (!problem.empty()) {
            throw std::invalid_argument("--fault: " + problem);
        }
    }
}

/// \throw std::invalid_argument with what to do.
void finish(Options& options, const Typed& typed) {
    if (const auto problem = System::check(options.line); !problem.empty()) {
        throw std::invalid_argument(problem);
    }
    addFaults(options, typed.faults);
    finishInstrument(options, typed);
    finishPace(options, typed);
    options.adapter.module.delay = std::chrono::milliseconds(typed.atDelayMs);
    options.adapter.slaves = typed.slaves.empty()
                                 ? adapter::defaultSlaves(options.instrument)
                                 : adapter::readSlaves(typed.slaves, options.instrument);
    options.protocol.seed = options.instrument.seed;
    options.protocol.engine.keepAlive = fromSeconds(typed.keepAliveSeconds);
    // Every program start begins with another session, so that a host of an earlier start is not
    // taken for ours.
    const auto ticks = std::chrono::system_clock::now().time_since_epoch().count();
    options.protocol.engine.lastSession = static_cast<std::uint8_t>(ticks % 254);
}

}  // namespace

std::vector<Options> fleetOf(const Options& options) {
    std::vector<Options> fleet(options.fleet, options);
    for (std::size_t i = 0; i < fleet.size() && fleet.size() > 1; ++i) {
        Options& each = fleet[i];
        for (std::string* const name : {&each.line.link, &each.line.pipe}) {
            if (!name->empty()) {
                name->append("-" + std::to_string(i + 1));
            }
        }
        each.instrument.serial = countedUp(options.instrument.serial, i);
        each.instrument.seed += i;
        each.protocol.seed += i;
    }
    return fleet;
}

std::optional<Options> parseCommandLine(int argc, char** argv, int& exitCode) {
    Options options;
    Typed typed;
    CLI::App app(kDescription, "cq-virtual-instrument");
    app.get_formatter()->column_width(40);
    app.set_version_flag("--version", "cq-virtual-instrument " VI_VERSION);
    app.footer(std::string(kKeys) + "\nFaults:\n" + wired::faultHelp() +
               "\nFaults with --adapter:\n" + adapter::faultHelp());
    addLineOptions(app, options, typed);
    addFleetOptions(app, options);
    addInstrumentOptions(app, options, typed);
    addAdapterOptions(app, options, typed);
    exitCode = 0;
    try {
        app.parse(argc, argv);
        finish(options, typed);
        return options;
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error) == 0 ? 0 : kUsageError;
    } catch (const std::invalid_argument& error) {
        std::cerr << error.what() << "\nRun with --help for more information.\n";
        exitCode = kUsageError;
    }
    return std::nullopt;
}

}  // namespace vi
