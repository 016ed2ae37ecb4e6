#include "Application.h"

#include <algorithm>
#include <ctime>
#include <string>

#include "adapter/AdapterProtocol.h"
#include "wired/WiredProtocol.h"

namespace vi {
namespace {

TimePoint currentTime() {
    return std::chrono::steady_clock::now();
}

std::uint32_t wallClock() {
    return static_cast<std::uint32_t>(std::time(nullptr));
}

constexpr const char* kKeyHelp =
    "keys: s standard, t trial, k keep-alive, d disconnect, u unplug, p plug in, q quit, ? help";

}  // namespace

Application::Application(const Options& options, std::ostream* log)
    : options_(options),
      system_(options.line),
      log_(log, currentTime()),
      fromHost_(options.fromHost),
      toHost_(options.toHost),
      protocol_(makeProtocol()) {}

std::unique_ptr<Protocol> Application::makeProtocol() {
    const auto unplugLine = [this] { mustUnplug_ = true; };
    if (options_.isAdapter) {
        return std::make_unique<adapter::AdapterProtocol>(options_.adapter, wallClock, toHost_,
                                                          log_, unplugLine);
    }
    instrument_.emplace(options_.instrument, wallClock);
    return std::make_unique<wired::WiredProtocol>(*instrument_, toHost_, log_, options_.protocol,
                                                  unplugLine);
}

void Application::run() {
    plugIn();
    while (true) {
        const TimePoint now = currentTime();
        protocol_->elapse(now);
        pressAutomatically(now);
        if (mustUnplug_) {
            unplug();
        }
        if (mustEnd_) {
            return;
        }
        const bool isBlocked = flush(now);
        const auto happening = system_.wait(deadline(isBlocked), isBlocked);
        handle(happening, currentTime());
    }
}

void Application::plugIn() {
    System::say("port: " + system_.plugIn());
}

void Application::unplug() {
    mustUnplug_ = false;
    protocol_->lineLost();
    fromHost_.clear();
    toHost_.clear();
    system_.unplug();
    System::say("unplugged");
}

void Application::receive(TimePoint now) {
    for (ByteView due = fromHost_.due(now); !due.empty() && !mustUnplug_;
         due = fromHost_.due(now)) {
        const Bytes bytes(due.begin(), due.end());
        fromHost_.consume(bytes.size());
        protocol_->receive(bytes, now);
    }
}

/// \return true if the line accepts no more at the moment.
bool Application::flush(TimePoint now) {
    for (ByteView due = toHost_.due(now); !due.empty(); due = toHost_.due(now)) {
        const std::size_t count = system_.write(due);
        if (count == 0) {
            return true;
        }
        toHost_.consume(count);
    }
    return false;
}

void Application::pressAutomatically(TimePoint now) {
    if (!options_.press || !protocol_->hasSession()) {
        nextPress_.reset();
    } else if (!nextPress_) {
        nextPress_ = now + options_.press->period;
    } else if (*nextPress_ <= now) {
        press(options_.press->kind, now);
        nextPress_ = now + options_.press->period;
    }
}

std::optional<TimePoint> Application::deadline(bool isBlocked) const {
    std::optional<TimePoint> first;
    const auto consider = [&first](std::optional<TimePoint> due) {
        if (due) {
            first = first ? std::min(*first, *due) : *due;
        }
    };
    consider(fromHost_.next());
    consider(protocol_->deadline());
    consider(nextPress_);
    if (!isBlocked) {
        consider(toHost_.next());
    }
    return first;
}

void Application::handle(const System::Happening& happening, TimePoint now) {
    // Keys are handled after what the host has sent.
    fromHost_.push(happening.received, now);
    receive(now);
    for (const char key : happening.keys) {
        handleKey(key, now);
    }
    if (happening.mustEnd || (happening.inputEnded && options_.endsWithInput)) {
        mustEnd_ = true;
    }
}

void Application::handleKey(char key, TimePoint now) {
    switch (key) {
        case 's':
            return press(Kind::standard, now);
        case 't':
            return press(Kind::trial, now);
        case 'k':
            return System::say(protocol_->requestKeepAlive(now)
                                   ? "sent: keep-alive request"
                                   : "refused: keep-alive request (no host is connected)");
        case 'd':
            return System::say(protocol_->disconnect(now)
                                   ? "sent: disconnect request"
                                   : "refused: disconnect request (no host is connected)");
        case 'u':
            return system_.isPlugged() ? unplug() : System::say("refused: unplugged already");
        case 'p':
            return system_.isPlugged() ? System::say("refused: plugged in already") : plugIn();
        case 'q':
            mustEnd_ = true;
            return;
        case '?':
            return System::say(kKeyHelp);
        default:
            return;  // line ends, and unknown keys
    }
}

void Application::press(Kind kind, TimePoint now) {
    const std::string name = kind == Kind::standard ? "standard" : "trial";
    const Error error = protocol_->press(kind, now);
    System::say(error == Error::none ? "pressed: " + name
                                     : "refused: " + name + " (" + describe(error) + ")");
}

}  // namespace vi
