#include "Worker.h"

#include <algorithm>
#include <thread>

namespace cqtest::soak {
namespace {

using namespace std::chrono_literals;

// As a host does, calls come in bursts with pauses between them: some too short for the library to
// notice, some long enough for it to go to sleep. On average, and in milliseconds.
constexpr std::uint32_t kBurst = 20;
constexpr std::uint32_t kLongestPause = 60;

constexpr std::uint32_t kCapacity = 64;
constexpr std::uint32_t kStoredAtStart = 20;

struct Weight {
    const char* operation;
    unsigned weight;  ///< how often, in relation to the others
};

// What is downloaded must be deleted again in the long run, and opening a wireless instrument takes
// more than a second. What is not here is never chosen.
constexpr Weight kWeights[] = {
    {"info", 800},
    {"status", 1200},
    {"totalStandards", 1500},
    {"totalSamples", 500},
    {"sampleCount", 500},
    {"calibrateWhite", 150},
    {"calibrateBlack", 150},
    {"measureStandard", 1000},
    {"measureTrial", 1000},
    {"uploadStandards", 700},
    {"uploadAll", 100},
    {"uploadSamples", 800},
    {"download", 160},
    {"deleteStandard", 750},
    {"deleteSample", 100},
    {"deleteAll", 5},
    {"getWhiteBoard", 300},
    {"setWhiteBoard", 200},
    {"getParameter", 400},
    {"setParameter", 400},
    {"press", 150},
    {"close", 2},
};

}  // namespace

Worker::Worker(const Settings& settings, Statistics& statistics, const std::atomic<bool>& mustStop)
    : settings_(settings),
      statistics_(statistics),
      mustStop_(mustStop),
      random_(settings.number + 1),
      session_{settings.kind, nullptr} {
    std::vector<unsigned> weights;
    for (const Operation& operation : operations()) {
        const auto* const found = std::ranges::find_if(
            kWeights, [&](const Weight& weight) { return operation.name == weight.operation; });
        weights.push_back(found == std::end(kWeights) ? 0 : found->weight);
    }
    byWeight_ = {weights.begin(), weights.end()};
    startInstrument();
}

void Worker::startInstrument() {
    session_.model = Model(kStoredAtStart, kStoredAtStart);
    session_.model.capacity = kCapacity;
    session_.random = &random_;
    session_.afterPress = 0ms;
    instrument_ = std::make_unique<VirtualInstrument>(
        session_.options() + "--log /dev/null" +
        (session_.isWired() ? " --max-packet " + std::to_string(settings_.maxPacket) : ""));
    session_.instrument = instrument_.get();
}

void Worker::run() {
    while (!mustStop_) {
        perform(session_.handle == nullptr ? operationNamed("open") : choose());
        if (session_.pick(kBurst, 0) == 0) {
            std::this_thread::sleep_for(milliseconds(session_.pick(kLongestPause, 0)));
        }
    }
    cqClose(session_.handle);
    session_.handle = nullptr;
}

const Operation& Worker::choose() {
    for (;;) {
        const Operation& operation = operations()[byWeight_(random_)];
        if (operation.isFor(settings_.kind) && canDo(operation.name)) {
            return operation;
        }
    }
}

bool Worker::canDo(const std::string& operation) const {
    const Model& model = session_.model;
    if (operation == "deleteStandard" || operation == "uploadAll") {
        return !model.standards.empty();
    }
    if (operation == "deleteSample") {
        // Samples come from the button alone: without it they would soon be used up.
        return settings_.isPressed && !model.samples.empty();
    }
    return settings_.isPressed || (operation != "deleteAll" && operation != "press");
}

void Worker::perform(const Operation& operation) {
    const auto start = std::chrono::steady_clock::now();
    const std::string outcome = operation.run(session_);
    statistics_.add(operation, settings_.kind, std::chrono::steady_clock::now() - start);
    session_.check(outcome == operation.usual, "gave " + outcome);
    if (operation.name == "close" && !mustStop_) {
        session_.open();
        checkHeld(session_);
    }
    if (session_.problems.empty()) {
        return;
    }
    // Ctrl-C may have ended the instrument together with this program.
    std::this_thread::sleep_for(200ms);
    if (!mustStop_) {
        statistics_.fail(
            operation, settings_.kind,
            "instrument " + std::to_string(settings_.number) + ": " + session_.problems.front());
        cqClose(session_.handle);
        session_.handle = nullptr;
        startInstrument();
    }
    session_.problems.clear();
}

}  // namespace cqtest::soak
