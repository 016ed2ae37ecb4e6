// Works with many instruments for a long time. Nothing may be lost or wrong, and the process must
// not grow.

#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <iostream>
#include <memory>
#include <thread>
#include <vector>

#include "peer/AtOnce.h"
#include "soak/Gauges.h"
#include "soak/Report.h"
#include "soak/Statistics.h"
#include "soak/Worker.h"

namespace {

using namespace cqtest::soak;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

struct Choice {
    double minutes = 0;
    unsigned wired = 8;
    unsigned wireless = 4;
    bool isMarkdown = false;
};

/// Ctrl-C and its like are waited for, not met in the middle of something.
sigset_t endingSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        sigaddset(&signals, number);
    }
    return signals;
}

/// Instruments are started in a process group of their own, if that is possible, so that Ctrl-C in
/// the terminal does not end them before their hosts.
class OwnGroup {
  public:
    OwnGroup() : former_(getpgrp()) { isApart_ = former_ != getpid() && setpgid(0, 0) == 0; }
    ~OwnGroup() {
        if (isApart_) {
            setpgid(0, former_);
        }
    }
    OwnGroup(const OwnGroup&) = delete;
    OwnGroup& operator=(const OwnGroup&) = delete;

  private:
    pid_t former_;
    bool isApart_;
};

std::vector<std::unique_ptr<Worker>> startInstruments(const Choice& choice, Statistics& statistics,
                                                      const std::atomic<bool>& mustStop) {
    const OwnGroup group;
    std::vector<std::unique_ptr<Worker>> workers;
    for (unsigned number = 0; number < choice.wired + choice.wireless; ++number) {
        const bool isOdd = number % 2 != 0;
        const Worker::Settings settings{.isWired = number < choice.wired,
                                        .isPressed = isOdd,
                                        .number = number,
                                        .maxPacket = number % 4 < 2 ? 64U : 1024U};
        workers.push_back(std::make_unique<Worker>(settings, statistics, mustStop));
    }
    return workers;
}

void showProgress(const Reading& reading, const Statistics& statistics) {
    std::cout << toClock(reading.at) << ' ' << reading.operations << " operations, "
              << statistics.lost() << " lost, " << statistics.wrong() << " wrong, "
              << statistics.callbacksReceived << " of " << statistics.callbacksExpected
              << " callbacks, RSS " << toMegabytes(reading.rssBytes) << " MB, "
              << reading.descriptors << " descriptors, " << reading.threads << " threads"
              << std::endl;
}

/// Watches until the time is up or somebody wants an end. \return how long that was.
std::chrono::seconds watch(std::chrono::seconds duration, const Statistics& statistics,
                           Gauges& gauges) {
    const sigset_t signals = endingSignals();
    const std::chrono::seconds period = isatty(STDOUT_FILENO) != 0 ? 10s : 60s;
    const auto start = Clock::now();
    auto nextProgress = period;
    for (std::chrono::seconds at{0}; at < duration;) {
        const timespec wait{0, 100'000'000};
        if (sigtimedwait(&signals, nullptr, &wait) > 0) {
            return at;
        }
        const auto now = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - start);
        if (now == at) {
            continue;
        }
        at = now;
        gauges.add(Reading::now(at, statistics.operations()));
        if (at >= nextProgress) {
            nextProgress += period;
            showProgress(gauges.readings().back(), statistics);
        }
    }
    return duration;
}

int soak(const Choice& choice) {
    const sigset_t signals = endingSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    const std::chrono::seconds duration(
        std::max<std::int64_t>(1, static_cast<std::int64_t>(choice.minutes * 60)));
    const auto statistics = std::make_unique<Statistics>();
    Gauges gauges(duration);
    std::atomic<bool> mustStop{false};
    auto workers = startInstruments(choice, *statistics, mustStop);

    Run run{choice.wired, choice.wireless, {}, Reading::now(0s, 0), {}};
    std::thread all(
        [&] { cqtest::atOnce(workers.size(), [&](std::size_t i) { workers[i]->run(); }); });
    run.duration = watch(duration, *statistics, gauges);
    mustStop = true;
    all.join();
    run.after = Reading::now(run.duration, statistics->operations());
    workers.clear();
    return printReport(run, *statistics, gauges, choice.isMarkdown) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    Choice choice;
    CLI::App app(
        "Works with many virtual instruments at once, one thread each, and checks every answer\n"
        "against what the instrument must hold. Ctrl-C ends early.\n"
        "Exit status: 0 when nothing was lost, wrong or left behind, 1 when something was, 2 for\n"
        "a wrong command line.",
        "soak");
    app.add_option("MINUTES", choice.minutes, "How long, fractions allowed")
        ->required()
        ->check(CLI::Range(0.1, 100'000.0));
    app.add_option("--wired", choice.wired, "Wired instruments")
        ->check(CLI::Range(0, 64))
        ->capture_default_str();
    app.add_option("--wireless", choice.wireless, "Wireless instruments")
        ->check(CLI::Range(0, 64))
        ->capture_default_str();
    app.add_flag("--markdown", choice.isMarkdown, "Print the results as Markdown tables");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    if (choice.wired + choice.wireless == 0) {
        std::fprintf(stderr, "There must be at least one instrument, --wired or --wireless.\n");
        return 2;
    }
    try {
        return soak(choice);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "soak: %s\n", failure.what());
        return 1;
    }
}
