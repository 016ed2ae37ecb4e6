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
#include "Worker.h"

namespace {

using namespace cqtest::soak;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

struct Choice {
    double minutes = 0;
    unsigned wired = 8;
    unsigned wireless = 4;
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
        const Worker::Settings settings{
            .kind = number < choice.wired ? cqtest::Kind::wired : cqtest::Kind::wireless,
            .isPressed = isOdd,
            .number = number,
            .maxPacket = number % 4 < 2 ? 64U : 1024U};
        workers.push_back(std::make_unique<Worker>(settings, statistics, mustStop));
    }
    return workers;
}

/// What the process took once it had taken all that it takes only once, and at the end.
struct Growth {
    Reading settled;
    Reading last;
};

/// Watches until the time is up or somebody wants an end.
Growth watch(std::chrono::seconds duration, const Statistics& statistics) {
    const sigset_t signals = endingSignals();
    const std::chrono::seconds period = isatty(STDOUT_FILENO) != 0 ? 10s : 60s;
    const auto settled = std::min<std::chrono::seconds>(2min, duration / 10);
    const auto start = Clock::now();
    auto nextProgress = period;
    Growth growth{Reading::now(0s), Reading::now(0s)};
    while (growth.last.at < duration) {
        const timespec wait{1, 0};
        if (sigtimedwait(&signals, nullptr, &wait) > 0) {
            break;
        }
        growth.last =
            Reading::now(std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - start));
        if (growth.last.at <= settled) {
            growth.settled = growth.last;
        }
        if (growth.last.at >= nextProgress) {
            nextProgress += period;
            std::cout << toText(growth.last) << ", " << statistics.operations() << " operations, "
                      << statistics.failed() << " failed" << std::endl;
        }
    }
    return growth;
}

/// \return true when nothing was lost, wrong or left behind.
bool judge(const Statistics& statistics, const Growth& growth, const Reading& before,
           const Reading& after) {
    constexpr std::int64_t kAllowedGrowth = 1'000'000;  // bytes
    statistics.print();
    std::printf("\nbefore   %s\nsettled  %s\nlast     %s\nafter    %s\n", toText(before).c_str(),
                toText(growth.settled).c_str(), toText(growth.last).c_str(), toText(after).c_str());
    const bool isRight = statistics.failed() == 0 && statistics.operations() > 0 &&
                         after.descriptors == before.descriptors &&
                         after.threads == before.threads &&
                         growth.last.rssBytes - growth.settled.rssBytes < kAllowedGrowth;
    std::printf(
        "%llu operations. %s\n", static_cast<unsigned long long>(statistics.operations()),
        isRight ? "Nothing was lost, wrong or left behind." : "FAILED: see the numbers above.");
    return isRight;
}

int soak(const Choice& choice) {
    const sigset_t signals = endingSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    const std::chrono::seconds duration(
        std::max<std::int64_t>(1, static_cast<std::int64_t>(choice.minutes * 60)));
    const auto statistics = std::make_unique<Statistics>();
    std::atomic<bool> mustStop{false};
    auto workers = startInstruments(choice, *statistics, mustStop);

    const Reading before = Reading::now(0s);
    std::thread all(
        [&] { cqtest::atOnce(workers.size(), [&](std::size_t i) { workers[i]->run(); }); });
    const Growth growth = watch(duration, *statistics);
    mustStop = true;
    all.join();
    const Reading after = Reading::now(growth.last.at);
    workers.clear();
    return judge(*statistics, growth, before, after) ? 0 : 1;
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
