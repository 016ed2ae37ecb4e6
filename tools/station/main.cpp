#include <boost/asio/ip/address.hpp>
#include <boost/asio/ip/host_name.hpp>

#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>

#include "Failure.h"
#include "Options.h"
#include "Publisher.h"
#include "Server.h"
#include "system/ChildProcess.h"
#include "system/Files.h"
#include "system/Interrupt.h"
#include "system/Terminal.h"
#include "text/Text.h"
#include "text/Time.h"

namespace {

using namespace station;
using cqtool::Failure;

constexpr std::size_t kShortestToken = 16;

std::string tokenFor(const Options& options) {
    if (options.tokenFile.empty()) {
        return Access::randomToken();
    }
    const std::string content = cqtool::readFile(options.tokenFile);
    std::string token(cqtool::trimmed(content));
    const bool isPlain = token.find_first_not_of(
                             "0123456789abcdefghijklmnopqrstuvwxyz"
                             "ABCDEFGHIJKLMNOPQRSTUVWXYZ-_") == std::string::npos;
    if (token.size() < kShortestToken || !isPlain) {
        throw Failure("the token in " + options.tokenFile + " is too short, or no plain word",
                      "put 16 or more letters, digits, '-' and '_' there: openssl rand -hex 32");
    }
    return token;
}

/// The job that is used unless another is named: today's, with a usual tolerance.
std::shared_ptr<Journal> jobFor(const Options& options, Jobs& jobs) {
    if (!options.job.empty()) {
        return jobs.openFile(options.job);
    }
    const std::string name = "bench-" + cqtool::nowText().substr(0, 10);
    for (const std::string& known : jobs.names()) {
        if (known == name) {
            return jobs.open(name);
        }
    }
    cqtool::Job job;
    job.title = "Bench " + cqtool::nowText().substr(0, 10);
    job.viewing.illuminants = {cqtool::illuminantNamed("D65")};
    job.limits = {cqtool::limitOf("dE00<=1.0", false), cqtool::limitOf("dE00<=0.8", true)};
    return jobs.create(name, job);
}

std::string addressOf(const Options& options, std::uint16_t port) {
    const auto address = boost::asio::ip::make_address(options.server.address);
    std::string host =
        address.is_unspecified() ? boost::asio::ip::host_name() : options.server.address;
    if (!address.is_unspecified() && address.is_v6()) {
        host = "[" + host + "]";
    }
    return "http://" + host + ":" + std::to_string(port) + "/";
}

void serve(const Options& options, cqtool::Interrupt& interrupt) {
    const auto listening = boost::asio::ip::make_address(options.server.address);
    std::vector<std::string> hosts = options.hosts;
    hosts.push_back(boost::asio::ip::host_name());
    Access access(tokenFor(options), listening.is_loopback(), hosts);
    Server server(options.server, access);

    std::filesystem::path folder = options.jobFolder;
    if (folder.empty()) {
        folder = options.job.has_parent_path() ? options.job.parent_path() : ".";
    }
    Jobs jobs(folder, [&server] { server.wake(); });
    States states([&server] { server.wake(); });
    Ports ports(options.ports);
    const std::string job = jobFor(options, jobs)->name();
    std::optional<Publisher> publisher;
    if (!options.broker.host.empty()) {
        publisher.emplace(options.broker, options.station, folder, jobs, states);
    }

    Api::Workers workers;
    for (Place place : options.places) {
        if (place.job.empty()) {
            place.job = job;
        }
        const std::string name = place.name;
        workers[name] =
            std::make_unique<Worker>(std::move(place), Worker::Shared{jobs, states, ports});
    }
    Api api(jobs, states, workers);

    const std::string address = addressOf(options, server.port());
    std::cout << "page: " << address
              << (options.tokenFile.empty() ? "?token=" + access.token() : std::string())
              << std::endl;
    if (options.opensBrowser) {
        cqtool::openInBrowser(address + "?once=" + access.once(), [] {
            std::cerr << "cq: no browser could be started\nopen the page's address in one\n";
        });
    }
    {
        const auto stop = interrupt.onInterrupt([&server] { server.stop(); });
        server.run(api, jobs, states, [&jobs] { jobs.refresh(); });
    }
    for (const auto& [name, worker] : workers) {
        worker->end();
    }
}

}  // namespace

int main(int argc, char** argv) {
    cqtool::prepareTerminal();
    cqtool::Interrupt interrupt;
    int exitCode = 0;
    try {
        if (const auto options = parseCommandLine(argc, argv, exitCode)) {
            serve(*options, interrupt);
        }
    } catch (const Failure& failure) {
        std::cerr << "cq: " << failure.what() << '\n';
        if (!failure.advice().empty()) {
            std::cerr << failure.advice() << '\n';
        }
        return static_cast<int>(cqtool::ExitStatus::failed);
    } catch (const std::exception& error) {
        std::cerr << "cq: " << error.what() << '\n';
        return static_cast<int>(cqtool::ExitStatus::failed);
    }
    return exitCode;
}
