#include "ScriptedPeer.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <utility>

#include "peer/WaitUntil.h"

namespace ovk::bletest {

using namespace std::chrono_literals;

ScriptedPeer::ScriptedPeer(Script script)
    : script_(std::move(script)),
      portsSide_(open(portName().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC)),
      thread_([this] { run(); }) {}

ScriptedPeer::~ScriptedPeer() {
    unplug();
    close(portsSide_);
}

void ScriptedPeer::awaitSteps(std::size_t count) const {
    if (!cqtest::waitUntil([&] { return stepsDone_ >= count; })) {
        throw std::runtime_error("the port has not sent what the script awaits");
    }
}

void ScriptedPeer::play(Script script) {
    const std::lock_guard lock(mutex_);
    script_ = std::move(script);
    received_.clear();
    answered_ = 0;
    stepsDone_ = 0;
}

std::string ScriptedPeer::received() {
    const std::size_t before = idleRounds_;
    cqtest::waitUntil([&] { return idleRounds_ > before + 1; });
    const std::lock_guard lock(mutex_);
    return received_;
}

std::string ScriptedPeer::finish() {
    if (thread_.joinable()) {
        mustStop_ = true;
        thread_.join();
    }
    return received_;
}

void ScriptedPeer::unplug() {
    finish();
    terminal_.hangUp();
}

std::string ScriptedPeer::awaitedBy(const Script& script) {
    std::string all;
    for (const Step& step : script) {
        all += step.awaited;
    }
    return all;
}

void ScriptedPeer::run() {
    for (test::Bytes bytes; !mustStop_ || !bytes.empty();) {
        bytes = terminal_.receiveSome(2ms);
        const std::lock_guard lock(mutex_);
        received_.append(bytes.begin(), bytes.end());
        idleRounds_ += bytes.empty() ? 1 : 0;
        playSteps();
    }
}

void ScriptedPeer::playSteps() {
    // Long enough for the port to read one answer before the next one comes.
    constexpr auto kPauseBetweenAnswers = 30ms;
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

}  // namespace ovk::bletest
