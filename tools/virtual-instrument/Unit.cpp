#include "Unit.h"

#include <algorithm>
#include <charconv>
#include <ctime>
#include <utility>

#include "adapter/AdapterProtocol.h"
#include "wired/WiredProtocol.h"

namespace vi {
namespace {

constexpr double kMaxDrift = 1000;  // an hour

std::uint32_t wallClock() {
    return static_cast<std::uint32_t>(std::time(nullptr));
}

std::optional<double> numberIn(const std::string& text, double least, double most) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool isNumber = error == std::errc{} && end == text.data() + text.size();
    return isNumber && value >= least && value <= most ? std::optional(value) : std::nullopt;
}

/// \param text a patch's name or its number from 1.
std::optional<std::size_t> patchOf(const std::string& text) {
    const auto& all = patches();
    const auto named = std::find_if(all.begin(), all.end(),
                                    [&](const Patch& patch) { return patch.name == text; });
    if (named != all.end()) {
        return static_cast<std::size_t>(named - all.begin());
    }
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (text == std::to_string(i + 1)) {
            return i;
        }
    }
    return std::nullopt;
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text.append(text.empty() ? "" : " ").append(word);
    }
    return text;
}

}  // namespace

Unit::Unit(const Options& options, System& system, std::size_t line, std::string name,
           std::ostream* log)
    : options_(options),
      system_(system),
      line_(line),
      name_(std::move(name)),
      log_(log, std::chrono::steady_clock::now(), name_),
      fromHost_(options.fromHost),
      toHost_(options.toHost),
      protocol_(makeProtocol()) {}

std::unique_ptr<Protocol> Unit::makeProtocol() {
    const auto unplugLine = [this] { mustUnplug_ = true; };
    if (options_.isAdapter) {
        return std::make_unique<adapter::AdapterProtocol>(options_.adapter, wallClock, toHost_,
                                                          log_, unplugLine);
    }
    instrument_.emplace(options_.instrument, wallClock);
    return std::make_unique<wired::WiredProtocol>(*instrument_, toHost_, log_, options_.protocol,
                                                  unplugLine);
}

void Unit::say(const std::string& line) const {
    System::say(name_ + line);
}

void Unit::plugIn() {
    say("port: " + system_.plugIn(line_));
}

void Unit::unplug() {
    mustUnplug_ = false;
    protocol_->lineLost();
    fromHost_.clear();
    toHost_.clear();
    system_.unplug(line_);
}

void Unit::elapse(TimePoint now) {
    protocol_->elapse(now);
    pressAutomatically(now);
    if (mustUnplug_) {
        unplug();
        say("unplugged");
    }
}

void Unit::receive(ByteView bytes, TimePoint now) {
    fromHost_.push(bytes, now);
    for (ByteView due = fromHost_.due(now); !due.empty() && !mustUnplug_;
         due = fromHost_.due(now)) {
        const Bytes taken(due.begin(), due.end());
        fromHost_.consume(taken.size());
        protocol_->receive(taken, now);
    }
}

bool Unit::flush(TimePoint now) {
    for (ByteView due = toHost_.due(now); !due.empty(); due = toHost_.due(now)) {
        const std::size_t count = system_.write(line_, due);
        if (count == 0) {
            return true;
        }
        toHost_.consume(count);
    }
    return false;
}

void Unit::pressAutomatically(TimePoint now) {
    if (!options_.press || !protocol_->hasSession()) {
        nextPress_.reset();
    } else if (!nextPress_) {
        nextPress_ = now + options_.press->period;
    } else if (*nextPress_ <= now) {
        take({"press", options_.press->kind == Kind::standard ? "standard" : "trial"}, now);
        nextPress_ = now + options_.press->period;
    }
}

std::optional<TimePoint> Unit::deadline(bool isBlocked) const {
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

struct Unit::Command {
    std::string_view name;
    std::size_t least;  // arguments
    std::size_t most;
    std::string (Unit::*carryOut)(const Arguments& arguments, TimePoint now);
    const char* usage;
};

std::string Unit::obey(const Arguments& words, TimePoint now) {
    static constexpr Command kCommands[] = {
        {"press", 1, 1, &Unit::press, "press standard|trial"},
        {"keep-alive", 0, 0, &Unit::requestKeepAlive, "keep-alive"},
        {"disconnect", 0, 0, &Unit::disconnect, "disconnect"},
        {"unplug", 0, 0, &Unit::pull, "unplug"},
        {"plug", 0, 0, &Unit::plug, "plug"},
        {"faults", 0, 64, &Unit::setFaults, "faults [NAME[:N]...]"},
        {"noise", 1, 1, &Unit::setNoise, "noise SIGMA, from 0 to 1"},
        {"drift", 1, 1, &Unit::setDrift, "drift FRACTION, of an hour, from -1000 to 1000"},
        {"patch", 1, 64, &Unit::place, "patch N|NAME, of the 24 patches"},
    };
    const auto* command =
        std::find_if(std::begin(kCommands), std::end(kCommands),
                     [&](const Command& each) { return each.name == words.front(); });
    if (command == std::end(kCommands)) {
        std::string names;
        for (const Command& each : kCommands) {
            names.append(names.empty() ? "" : ", ").append(each.name);
        }
        return "refused: " + words.front() + " (there is " + names + ", quit)";
    }
    const std::vector<std::string> arguments(words.begin() + 1, words.end());
    std::string line;
    if (arguments.size() >= command->least && arguments.size() <= command->most) {
        line = (this->*command->carryOut)(arguments, now);
    }
    return line.empty() ? "refused: " + joined(words) + " (it is: " + command->usage + ")" : line;
}

void Unit::take(const std::vector<std::string>& words, TimePoint now) {
    say(obey(words, now));
}

std::string Unit::press(const Arguments& arguments, TimePoint now) {
    const std::string& name = arguments.front();
    if (name != "standard" && name != "trial") {
        return {};
    }
    const Error error = protocol_->press(name == "standard" ? Kind::standard : Kind::trial, now);
    return error == Error::none ? "pressed: " + name
                                : "refused: " + name + " (" + describe(error) + ")";
}

std::string Unit::requestKeepAlive(const Arguments&, TimePoint now) {
    return protocol_->requestKeepAlive(now) ? "sent: keep-alive request"
                                            : "refused: keep-alive request (no host is connected)";
}

std::string Unit::disconnect(const Arguments&, TimePoint now) {
    return protocol_->disconnect(now) ? "sent: disconnect request"
                                      : "refused: disconnect request (no host is connected)";
}

std::string Unit::pull(const Arguments&, TimePoint) {
    if (!system_.isPlugged(line_)) {
        return "refused: unplugged already";
    }
    unplug();
    return "unplugged";
}

std::string Unit::plug(const Arguments&, TimePoint) {
    return system_.isPlugged(line_) ? "refused: plugged in already"
                                    : "port: " + system_.plugIn(line_);
}

std::string Unit::setFaults(const Arguments& arguments, TimePoint) {
    const std::string problem = protocol_->setFaults(arguments);
    if (!problem.empty()) {
        return "refused: faults (" + problem + ")";
    }
    return "faults: " + (arguments.empty() ? "none" : joined(arguments));
}

std::string Unit::setNoise(const Arguments& arguments, TimePoint) {
    const auto sigma = numberIn(arguments.front(), 0, 1);
    if (!sigma || protocol_->instrument() == nullptr) {
        return {};
    }
    protocol_->instrument()->setNoise(*sigma);
    return "noise: " + arguments.front();
}

std::string Unit::setDrift(const Arguments& arguments, TimePoint now) {
    const auto perHour = numberIn(arguments.front(), -kMaxDrift, kMaxDrift);
    if (!perHour || protocol_->instrument() == nullptr) {
        return {};
    }
    protocol_->instrument()->setDrift(*perHour, now);
    return "drift: " + arguments.front();
}

std::string Unit::place(const Arguments& arguments, TimePoint) {
    const auto patch = patchOf(joined(arguments));
    if (!patch || protocol_->instrument() == nullptr) {
        return {};
    }
    protocol_->instrument()->placeOn(*patch);
    return "patch: " + std::to_string(*patch + 1) + " " + patches()[*patch].name;
}

}  // namespace vi
