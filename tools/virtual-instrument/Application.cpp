#include "Application.h"

#include <algorithm>
#include <charconv>
#include <sstream>
#include <utility>

namespace vi {
namespace {

constexpr std::size_t kMaxLine = 4096;  // of a command

TimePoint currentTime() {
    return std::chrono::steady_clock::now();
}

constexpr const char* kKeyHelp =
    "keys: s standard, t trial, k keep-alive, d disconnect, u unplug, p plug in, q quit, ? help, "
    ": and a command";

std::vector<LineOptions> linesOf(const std::vector<Options>& fleet) {
    std::vector<LineOptions> lines;
    lines.reserve(fleet.size());
    for (const Options& each : fleet) {
        lines.push_back(each.line);
    }
    return lines;
}

/// What a key stands for; empty for none.
std::vector<std::string> commandOf(char key) {
    switch (key) {
        case 's':
            return {"press", "standard"};
        case 't':
            return {"press", "trial"};
        case 'k':
            return {"keep-alive"};
        case 'd':
            return {"disconnect"};
        case 'u':
            return {"unplug"};
        case 'p':
            return {"plug"};
        case 'q':
            return {"quit"};
        default:
            return {};  // line ends, and unknown keys
    }
}

}  // namespace

Application::Application(const Options& options, std::ostream* log)
    : options_(options),
      system_(linesOf(fleetOf(options)), options.control),
      isBlocked_(options.fleet) {
    for (const Options& each : fleetOf(options)) {
        const std::string name =
            options.fleet > 1 ? std::to_string(units_.size() + 1) + " " : std::string();
        units_.emplace_back(each, system_, units_.size(), name, log);
    }
}

void Application::run() {
    for (Unit& unit : units_) {
        unit.plugIn();
    }
    while (!mustEnd_) {
        const TimePoint now = currentTime();
        for (std::size_t i = 0; i < units_.size(); ++i) {
            units_[i].elapse(now);
            isBlocked_[i] = units_[i].flush(now);
        }
        const auto happening = system_.wait(deadline(), isBlocked_);
        handle(happening, currentTime());
    }
}

std::optional<TimePoint> Application::deadline() const {
    std::optional<TimePoint> first;
    for (std::size_t i = 0; i < units_.size(); ++i) {
        if (const auto due = units_[i].deadline(isBlocked_[i])) {
            first = first ? std::min(*first, *due) : *due;
        }
    }
    return first;
}

void Application::handle(const System::Happening& happening, TimePoint now) {
    // Keys and commands are handled after what the host has sent.
    for (std::size_t i = 0; i < units_.size(); ++i) {
        units_[i].receive(happening.received[i], now);
    }
    for (const char key : happening.keys) {
        handleKey(key, now);
    }
    for (const char letter : happening.control) {
        if (letter == '\n') {
            handleLine(std::exchange(control_, {}), now);
        } else if (control_.size() < kMaxLine) {
            control_ += letter;
        }
    }
    if (happening.mustEnd || (happening.inputEnded && options_.endsWithInput)) {
        mustEnd_ = true;
    }
}

void Application::handleKey(char key, TimePoint now) {
    if (typed_) {
        if (key == '\n' || key == '\r') {
            handleLine(*std::exchange(typed_, std::nullopt), now);
        } else if (typed_->size() < kMaxLine) {
            *typed_ += key;
        }
    } else if (key == ':') {
        typed_.emplace();
    } else if (key == '?') {
        System::say(kKeyHelp);
    } else if (const auto command = commandOf(key); !command.empty()) {
        handleCommand(command, now);
    }
}

void Application::handleLine(const std::string& line, TimePoint now) {
    std::istringstream in(line);
    std::vector<std::string> words;
    for (std::string word; in >> word;) {
        words.push_back(word);
    }
    if (!words.empty() && words.front()[0] != '#') {
        handleCommand(std::move(words), now);
    }
}

void Application::handleCommand(std::vector<std::string> words, TimePoint now) {
    std::size_t number = 0;
    const std::string& first = words.front();
    const auto [end, error] = std::from_chars(first.data(), first.data() + first.size(), number);
    const bool hasNumber = error == std::errc{} && end == first.data() + first.size();
    if (hasNumber && (number < 1 || number > units_.size() || words.size() < 2)) {
        System::say("refused: " + first + " (a command goes to instrument 1 to " +
                    std::to_string(units_.size()) +
                    ": NUMBER COMMAND, or without a number to all)");
    } else if (hasNumber) {
        units_[number - 1].take({words.begin() + 1, words.end()}, now);
    } else if (first == "quit") {
        mustEnd_ = true;
    } else {
        for (Unit& unit : units_) {
            unit.take(words, now);
        }
    }
}

}  // namespace vi
