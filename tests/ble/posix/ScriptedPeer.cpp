#include "ScriptedPeer.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace ovk::bletest {
namespace {

using namespace std::chrono_literals;

/// Long enough for the port to read one answer before the next one comes.
constexpr auto kPauseBetweenAnswers = 30ms;
constexpr auto kPatience = 10s;

int check(int result, const char* what) {
    if (result < 0) {
        throw std::system_error(errno, std::generic_category(), what);
    }
    return result;
}

}  // namespace

ScriptedPeer::ScriptedPeer(Script script)
    : script_(std::move(script)),
      master_(check(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK), "posix_openpt")),
      stopEvent_(check(eventfd(0, EFD_CLOEXEC), "eventfd")) {
    check(grantpt(master_), "grantpt");
    check(unlockpt(master_), "unlockpt");
    portName_ = ptsname(master_);
    slave_ = check(open(portName_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC), "open");
    thread_ = std::thread([this] { run(); });
}

ScriptedPeer::~ScriptedPeer() {
    unplug();
    close(slave_);
    close(stopEvent_);
}

void ScriptedPeer::send(const std::string& bytes) const {
    if (::write(master_, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
        throw std::system_error(errno, std::generic_category(), "write");
    }
}

void ScriptedPeer::awaitSteps(std::size_t count) const {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (stepsDone_.load() < count) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("the port has not sent what the script awaits");
        }
        std::this_thread::sleep_for(1ms);
    }
}

std::string ScriptedPeer::finish() {
    if (thread_.joinable()) {
        eventfd_write(stopEvent_, 1);
        thread_.join();
        readAvailable();
    }
    return received_;
}

void ScriptedPeer::unplug() {
    finish();
    if (master_ >= 0) {
        close(std::exchange(master_, -1));
    }
}

std::string ScriptedPeer::awaitedBy(const Script& script) {
    std::string all;
    for (const Step& step : script) {
        all += step.awaited;
    }
    return all;
}

void ScriptedPeer::run() {
    std::array<pollfd, 2> entries{pollfd{master_, POLLIN, 0}, pollfd{stopEvent_, POLLIN, 0}};
    while (poll(entries.data(), entries.size(), -1) > 0 && entries[1].revents == 0) {
        readAvailable();
        playSteps();
    }
}

void ScriptedPeer::playSteps() {
    while (stepsDone_ < script_.size()) {
        const Step& step = script_[stepsDone_];
        if (received_.size() < answered_ + step.awaited.size()) {
            return;
        }
        answered_ += step.awaited.size();
        for (const std::string& answer : step.answers) {
            if (&answer != &step.answers.front()) {
                std::this_thread::sleep_for(kPauseBetweenAnswers);
            }
            send(answer);
        }
        ++stepsDone_;
    }
}

void ScriptedPeer::readAvailable() {
    std::array<char, 4096> buffer{};
    for (ssize_t count = 0; (count = read(master_, buffer.data(), buffer.size())) > 0;) {
        received_.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

}  // namespace ovk::bletest
