#include "Options.h"

#include <boost/asio/ip/host_name.hpp>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <set>

#include "Failure.h"
#include "system/Files.h"
#include "text/JsonMembers.h"

namespace station {
namespace {

using cqtool::Failure;
using cqtool::JsonMembers;
using cqtool::UsageError;

constexpr const char* kDescription =
    "Owns instruments, writes what they measure into jobs, and shows it on a page.\n"
    "The first line on standard output is 'page: ' and the address to open in a browser.";

constexpr const char* kFooter =
    "Instruments, with NAME= before it if it is to have a name:\n"
    "  /dev/ttyACM0, COM5              the one on this port\n"
    "  serial:AB12                     the one with this serial number, whatever its port\n"
    "  wireless:C4BE84A1B2C3@COM7      through the adapter on this port (without @: any adapter)\n"
    "  virtual                         a virtual one\n"
    "\n"
    "Examples:\n"
    "  cq serve --virtual --open\n"
    "  cq serve --job lot12.cqjob --instrument bench=/dev/ttyACM0\n"
    "  cq serve --config hall.json --listen 192.168.1.20 --http-port 8400 --token-file token\n"
    "  cq serve --config hall.json --mqtt mqtts://broker.example --mqtt-login login\n"
    "\n"
    "Exit status: 0 ended by Ctrl-C, 1 failed, 2 wrong command line.";

constexpr const char* kVirtualOptions = "--calibrated";

constexpr std::size_t kLongestPlaceName = 40;
constexpr std::size_t kLongestStationName = 64;
constexpr std::uint64_t kLongestSettling = 86'400;  // in seconds

/// Letters, digits, '-', '_' and this one.
bool isPlainName(const std::string& name, std::size_t longest, char other = '-') {
    return !name.empty() && name.size() <= longest &&
           std::all_of(name.begin(), name.end(), [other](char letter) {
               return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') ||
                      (letter >= '0' && letter <= '9') || letter == '-' || letter == '_' ||
                      letter == other;
           });
}

std::string takePrefix(std::string& text, const std::string& separator) {
    const std::size_t place = text.find(separator);
    if (place == std::string::npos) {
        return {};
    }
    std::string before = text.substr(0, place);
    text.erase(0, place + separator.size());
    return before;
}

void setIfEmpty(std::string& text, std::string other) {
    if (text.empty()) {
        text = std::move(other);
    }
}

/// The members of a part of the configuration, which may have no others than these.
JsonMembers membersOf(const Json& object, const std::string& where,
                      const std::set<std::string>& known) {
    JsonMembers members(object, where);
    for (const auto& [name, value] : object.items()) {
        if (!known.contains(name)) {
            throw Failure(members.placeOf(name.c_str()) + " means nothing here");
        }
    }
    return members;
}

Place placeIn(const Json& object, const std::string& where, std::size_t number) {
    const JsonMembers members = membersOf(
        object, where, {"name", "port", "serial", "wireless", "adapter", "virtual", "job"});
    Place place;
    place.name = members.text("name");
    setIfEmpty(place.name, std::to_string(number));
    place.port = members.text("port");
    place.serial = members.text("serial");
    place.isWireless = members.find("wireless") != nullptr;
    place.slave = members.text("wireless");
    place.adapter = members.text("adapter");
    place.isVirtual = members.find("virtual") != nullptr;
    place.virtualOptions = members.text("virtual");
    place.job = members.text("job");
    return place;
}

void checkPlaces(const Options& options) {
    std::set<std::string> names;
    for (const Place& place : options.places) {
        if (!isPlainName(place.name, kLongestPlaceName)) {
            throw UsageError("an instrument's name has letters, digits, '-' and '_', not '" +
                             place.name + "'");
        }
        if (!names.insert(place.name).second) {
            throw UsageError("two instruments have the name '" + place.name + "'");
        }
    }
}

/// The configuration's "mqtt"; what the command line has set goes first.
void addBroker(Broker& broker, const Json& object) {
    const JsonMembers members =
        membersOf(object, "mqtt", {"url", "login", "ca", "certificate", "key", "settle"});
    try {
        if (broker.host.empty()) {
            setUrl(broker, members.text("url"));
        }
    } catch (const UsageError& error) {
        throw Failure(error.what());
    }
    setIfEmpty(broker.loginFile, members.text("login"));
    setIfEmpty(broker.authoritiesFile, members.text("ca"));
    setIfEmpty(broker.certificateFile, members.text("certificate"));
    setIfEmpty(broker.keyFile, members.text("key"));
    if (const auto settle = members.count("settle")) {
        if (*settle > kLongestSettling) {
            members.refuse("settle", "must be at most " + std::to_string(kLongestSettling) + " s");
        }
        broker.settleTime = std::chrono::seconds(static_cast<std::int64_t>(*settle));
    }
}

struct Typed {
    std::string config;
    std::string broker;
    std::vector<std::string> instruments;
    bool isVirtual = false;
    std::string virtualOptions;
    std::string job;
    std::string jobFolder;
};

void addOptions(CLI::App& app, Options& options, Typed& typed) {
    app.add_option("--instrument", typed.instruments, "An instrument, see below; repeatable")
        ->type_name("[NAME=]WHAT")
        ->expected(1)
        ->take_all();
    app.add_flag("--virtual", typed.isVirtual, "A virtual instrument");
    app.add_option("--virtual-options", typed.virtualOptions,
                   "Options of virtual instruments (default: --calibrated)")
        ->type_name("TEXT");
    app.add_option("--port", options.ports, "Seek instruments on this port, too; repeatable")
        ->type_name("PORT")
        ->expected(1)
        ->take_all();
    app.add_option("--job", typed.job, "The job to write to (default: bench-DATE.cqjob, made new)")
        ->type_name("FILE");
    app.add_option("--jobs", typed.jobFolder, "The folder with the jobs to choose from")
        ->type_name("FOLDER");
    app.add_option("--config", typed.config, "Instruments and more from a JSON file")
        ->type_name("FILE");
    app.add_option("--http-port", options.server.port, "Port of the page (default: any free one)")
        ->type_name("N");
    auto* const tokenFile =
        app.add_option("--token-file", options.tokenFile,
                       "File with the token that clients must know (default: a random one)")
            ->type_name("FILE");
    app.add_option("--listen", options.server.address,
                   "Address to listen on (default: 127.0.0.1, this machine alone)")
        ->needs(tokenFile)
        ->type_name("ADDRESS");
    app.add_option("--host", options.hosts, "A further name of this station; repeatable")
        ->type_name("NAME")
        ->expected(1)
        ->take_all();
    app.add_option(
           "--mqtt", typed.broker,
           "Publish all events to this MQTT broker: mqtt://HOST[:PORT], or mqtts:// with TLS "
           "(on Linux)")
        ->type_name("URL");
    app.add_option("--mqtt-login", options.broker.loginFile,
                   "File with two lines, the user and the password for the broker")
        ->type_name("FILE");
    app.add_option("--mqtt-ca", options.broker.authoritiesFile,
                   "Authorities that the broker's certificate may be from (default: the system's)")
        ->type_name("FILE");
    auto* const certificate =
        app.add_option("--mqtt-cert", options.broker.certificateFile, "The station's certificate")
            ->type_name("FILE");
    auto* const key = app.add_option("--mqtt-key", options.broker.keyFile, "Its private key")
                          ->needs(certificate)
                          ->type_name("FILE");
    certificate->needs(key);
    app.add_option("--station", options.station,
                   "Name of this station for the broker (default: the host's)")
        ->type_name("NAME");
    app.add_flag("--open", options.opensBrowser, "Open the page in the browser");
}

void finish(Options& options, const Typed& typed) {
    options.job = typed.job;
    options.jobFolder = typed.jobFolder;
    if (!typed.broker.empty()) {
        setUrl(options.broker, typed.broker);
    }
    if (!typed.config.empty()) {
        addConfiguration(options, typed.config);
    }
    setIfEmpty(options.station, boost::asio::ip::host_name());
    if (!isPlainName(options.station, kLongestStationName, '.')) {
        throw UsageError("a station's name has letters, digits, '-', '_' and '.', not '" +
                         options.station + "'; give it one with --station");
    }
    for (const std::string& text : typed.instruments) {
        options.places.push_back(placeOf(text, options.places.size() + 1));
    }
    if (typed.isVirtual) {
        options.places.push_back(placeOf("virtual", options.places.size() + 1));
    }
    if (options.places.empty()) {
        options.places.push_back(placeOf({}, 1));
    }
    for (Place& place : options.places) {
        if (place.isVirtual && place.virtualOptions.empty()) {
            place.virtualOptions =
                typed.virtualOptions.empty() ? kVirtualOptions : typed.virtualOptions;
        }
    }
    checkPlaces(options);
}

}  // namespace

Place placeOf(const std::string& text, std::size_t number) {
    Place place;
    std::string rest = text;
    place.name = takePrefix(rest, "=");
    if (place.name.empty()) {
        place.name = std::to_string(number);
    }
    std::string what = rest;
    const std::string kind = takePrefix(what, ":");
    if (rest == "virtual") {
        place.isVirtual = true;
    } else if (kind == "serial") {
        place.serial = what;
    } else if (kind == "wireless") {
        place.isWireless = true;
        const std::string address = takePrefix(what, "@");
        place.slave = address.empty() ? what : address;
        place.adapter = address.empty() ? std::string() : what;
    } else {
        place.port = rest;
    }
    return place;
}

void addConfiguration(Options& options, const std::filesystem::path& file) {
    const std::string content = cqtool::readFile(file);
    try {
        const Json config = cqtool::parsedObject(
            content, [](const std::string& problem) { throw Failure("it " + problem); });
        const JsonMembers members =
            membersOf(config, "", {"instruments", "ports", "job", "jobs", "station", "mqtt"});
        setIfEmpty(options.station, members.text("station"));
        if (const Json* const broker = members.find("mqtt")) {
            addBroker(options.broker, *broker);
        }
        if (options.job.empty()) {
            options.job = members.text("job");
        }
        if (options.jobFolder.empty()) {
            options.jobFolder = members.text("jobs");
        }
        for (std::string& port : members.texts("ports")) {
            options.ports.push_back(std::move(port));
        }
        const Json* const instruments = members.find("instruments");
        if (instruments != nullptr && !instruments->is_array()) {
            members.refuse("instruments", "must be a list");
        }
        for (std::size_t i = 0; instruments != nullptr && i < instruments->size(); ++i) {
            options.places.push_back(placeIn((*instruments)[i],
                                             "instruments[" + std::to_string(i) + "]",
                                             options.places.size() + 1));
        }
    } catch (const Failure& failure) {
        throw Failure(file.string() + ": " + failure.what(), "docs/station.md describes the file");
    }
}

std::optional<Options> parseCommandLine(int argc, char** argv, int& exitCode) {
    Options options;
    Typed typed;
    CLI::App app(kDescription, "cq serve");
    app.get_formatter()->column_width(34);
    app.set_version_flag("--version", std::string("cq-station ") + CQAPI_VERSION_STRING);
    app.footer(kFooter);
    addOptions(app, options, typed);
    exitCode = 0;
    try {
        app.parse(argc, argv);
        finish(options, typed);
        return options;
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error) == 0 ? 0 : static_cast<int>(cqtool::ExitStatus::usage);
    } catch (const UsageError& error) {
        std::cerr << "cq: " << error.what() << "\ncq serve --help lists the options\n";
        exitCode = static_cast<int>(cqtool::ExitStatus::usage);
    }
    return std::nullopt;
}

}  // namespace station
