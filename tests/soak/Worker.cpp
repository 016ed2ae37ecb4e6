#include "soak/Worker.h"

#include <chrono>
#include <thread>

namespace cqtest::soak {
namespace {

using namespace std::chrono_literals;

// As a host does, calls come in bursts with pauses between them: some too short for the library to
// notice, some long enough for it to go to sleep. On average, and in milliseconds.
constexpr std::size_t kBurst = 20;
constexpr std::size_t kLongestPause = 60;

std::string optionsFor(const Worker::Settings& settings) {
    const std::string stored = std::to_string(kStoredAtStart);
    const std::string common = "--calibrated --log /dev/null --capacity " +
                               std::to_string(kCapacity) + " --standards " + stored +
                               " --samples " + stored + " ";
    return settings.isWired ? common + "--max-packet " + std::to_string(settings.maxPacket)
                            : common + "--adapter";
}

}  // namespace

struct Worker::Action {
    Kind kind;
    unsigned weight;  ///< how often, in relation to the others
    std::uint32_t (Worker::*run)();
};

// What is downloaded must be deleted again in the long run, and opening a wireless instrument takes
// more than a second.
const Worker::Action Worker::kActions[] = {
    {Kind::info, 800, &Worker::getInfo},
    {Kind::status, 1200, &Worker::getStatus},
    {Kind::countStandards, 1500, &Worker::countStandards},
    {Kind::countSamples, 1000, &Worker::countSamples},
    {Kind::calibrate, 300, &Worker::calibrate},
    {Kind::measureStandard, 1000, &Worker::measureStandard},
    {Kind::measureTrial, 1000, &Worker::measureTrial},
    {Kind::uploadStandards, 800, &Worker::uploadStandards},
    {Kind::uploadSamples, 800, &Worker::uploadSamples},
    {Kind::download, 300, &Worker::download},
    {Kind::deleteStandard, 750, &Worker::deleteStandard},
    {Kind::deleteSample, 100, &Worker::deleteSample},
    {Kind::deleteAll, 5, &Worker::deleteAll},
    {Kind::getWhiteBoard, 300, &Worker::getWhiteBoard},
    {Kind::setWhiteBoard, 200, &Worker::setWhiteBoard},
    {Kind::getParameter, 400, &Worker::getParameter},
    {Kind::setParameter, 400, &Worker::setParameter},
    {Kind::pressed, 150, &Worker::press},
    {Kind::close, 2, &Worker::close},
};

Worker::Worker(const Settings& settings, Statistics& statistics, const std::atomic<bool>& mustStop)
    : settings_(settings),
      statistics_(statistics),
      mustStop_(mustStop),
      instrument_(optionsFor(settings)),
      random_(settings.number + 1),
      room_(kCapacity) {
    received_.reserve(kCapacity);
    std::vector<unsigned> weights;
    for (const Action& action : kActions) {
        weights.push_back(action.weight);
    }
    byWeight_ = {weights.begin(), weights.end()};
}

void Worker::run() {
    perform({Kind::open, 0, &Worker::open});
    settle(Kind::uploadStandards, readAtStart(), "reading what it holds at the start");
    while (!mustStop_) {
        if (handle_ == nullptr) {
            perform({Kind::open, 0, &Worker::open});
        } else {
            perform(choose());
        }
        if (chance(kBurst) == 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(chance(kLongestPause)));
        }
    }
    cqClose(handle_);
    handle_ = nullptr;
}

const Worker::Action& Worker::choose() {
    for (;;) {
        const Action& action = kActions[byWeight_(random_)];
        if (canDo(action.kind)) {
            return action;
        }
    }
}

bool Worker::canDo(Kind kind) const {
    switch (kind) {
        case Kind::download:
            return memory_.standards.size() < kCapacity;
        case Kind::deleteStandard:
            return !memory_.standards.empty();
        case Kind::deleteSample:
            // Samples come from the button alone: without it they would soon be used up.
            return settings_.isPressed && !memory_.samples.empty();
        case Kind::deleteAll:
        case Kind::pressed:
            return settings_.isPressed;
        case Kind::getParameter:
        case Kind::setParameter:
            return settings_.isWired;
        default:
            return true;
    }
}

void Worker::perform(const Action& action) {
    const auto start = std::chrono::steady_clock::now();
    const std::uint32_t code = (this->*action.run)();
    const auto taken = std::chrono::steady_clock::now() - start;
    if (code != CQ_NO_ERROR) {
        // Ctrl-C may have ended the instrument together with this program.
        std::this_thread::sleep_for(200ms);
        if (mustStop_) {
            return;
        }
    }
    statistics_.of(settings_.isWired, action.kind).times.add(taken);
    settle(action.kind, code, nameOf(action.kind));
}

/// Counts what went wrong, and begins anew with what the instrument holds then.
void Worker::settle(Kind kind, std::uint32_t code, const std::string& name) {
    if (code == CQ_NO_ERROR || mustStop_) {
        return;
    }
    auto& tally = statistics_.of(settings_.isWired, kind);
    ++(code == kWrong ? tally.wrong : tally.lost);
    statistics_.report(std::string(settings_.isWired ? "wired" : "wireless") + " instrument " +
                       std::to_string(settings_.number) + ": " + name +
                       (code == kWrong ? ": wrong data" : ": failed with " + std::to_string(code)));
    startAnew();
}

void Worker::startAnew() {
    while (!mustStop_) {
        cqClose(handle_);
        handle_ = nullptr;
        if (open() == CQ_NO_ERROR && readAll() == CQ_NO_ERROR) {
            return;
        }
        std::this_thread::sleep_for(1s);
    }
}

std::uint32_t Worker::chance(std::size_t end) {
    return end == 0 ? 0 : static_cast<std::uint32_t>(random_() % end);
}

void Worker::receive(bool isStandard, const CqMeasurementRecord* record, void* user) {
    auto* const self = static_cast<Worker*>(user);
    ++self->statistics_.callbacksReceived;
    const std::lock_guard lock(self->receivedMutex_);
    if (self->received_.size() < kCapacity) {
        self->received_.push_back({isStandard, *record});
    }
    self->arrived_.notify_one();
}

}  // namespace cqtest::soak
