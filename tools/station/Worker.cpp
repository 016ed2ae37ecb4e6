#include "Worker.h"

#include <chrono>
#include <iostream>
#include <utility>

#include "exchange/Exchange.h"
#include "Failure.h"
#include "job/JobEvents.h"
#include "Results.h"
#include "text/Text.h"
#include "text/Time.h"

namespace station {
namespace {

using cqtool::Failure;

/// How often it looks whether the instrument has come back, and whether it is still there.
constexpr std::chrono::milliseconds kSeekInterval{500};
constexpr std::chrono::milliseconds kLookInterval{1000};
/// Every so many looks the instrument is asked, too.
constexpr int kLooksPerQuestion = 5;
constexpr std::size_t kMostRequests = 16;

constexpr const char* kNotWritten = "a measurement is not written yet: ";

}  // namespace

Worker::Worker(Place place, Shared shared) : place_(std::move(place)), shared_(shared) {
    tell();
    thread_ = std::thread([this] { run(); });
}

Worker::~Worker() {
    end();
    thread_.join();
}

void Worker::end() {
    std::shared_ptr<Instrument> open;
    {
        const std::scoped_lock lock(mutex_);
        isEnding_ = true;
        open = closable_;
    }
    wake_.notify_all();
    // Not under the lock, which the callback takes that closing waits for.
    if (open != nullptr) {
        open->close();
    }
}

void Worker::ask(Task task, Reply reply) {
    std::unique_lock lock(mutex_);
    if (isEnding_ || requests_.size() >= kMostRequests) {
        lock.unlock();
        reply({false, "too much is waiting for this instrument already", {}});
        return;
    }
    requests_.push_back([task = std::move(task), reply = std::move(reply)] {
        Outcome outcome;
        try {
            outcome = task();
        } catch (const Failure& failure) {
            outcome = {false, failure.what(), {}};
            if (!failure.advice().empty()) {
                outcome.answer["advice"] = failure.advice();
            }
        } catch (const std::exception& error) {
            outcome = {false, error.what(), {}};
        }
        reply(outcome);
    });
    wake_.notify_all();
}

void Worker::measure(bool isStandard, std::string name, Reply reply) {
    ask([this, isStandard, name = std::move(name)] { return measureNow(isStandard, name); },
        std::move(reply));
}

void Worker::calibrate(bool isWhite, Reply reply) {
    ask([this, isWhite] { return calibrateNow(isWhite); }, std::move(reply));
}

void Worker::setNextName(std::string name, Reply reply) {
    ask(
        [this, name = std::move(name)] {
            nextName_ = name;
            tell();
            return Outcome{};
        },
        std::move(reply));
}

void Worker::setJob(std::string name, Reply reply) {
    ask(
        [this, name = std::move(name)] {
            journal_ = shared_.jobs.open(name);
            standard_.reset();
            nextName_.clear();
            rememberCalibration();
            tell();
            return Outcome{};
        },
        std::move(reply));
}

void Worker::setStandard(std::optional<std::uint64_t> number, Reply reply) {
    ask(
        [this, number] {
            const bool isThere = !number || journal().with([&](const cqtool::Job& job) {
                const auto* const standard = job.find(*number);
                return standard != nullptr && standard->entry.isStandard && !standard->struckOutBy;
            });
            if (!isThere) {
                throw Failure("the job has no standard of this number");
            }
            standard_ = number;
            tell();
            return Outcome{};
        },
        std::move(reply));
}

void Worker::run() {
    try {
        if (!place_.job.empty()) {
            journal_ = shared_.jobs.open(place_.job);
        }
    } catch (const std::exception& error) {
        problem_ = error.what();
    }
    tell();
    look();
    while (waitForWork()) {
        work();
    }
    if (instrument_ != nullptr) {
        instrument_->close();  // measurements arrive until the goodbye is answered
    }
    writePressed();
    if (!pressed_.empty()) {
        std::cerr << "cq: " << pressed_.size() << " measurements of " << place_.name
                  << " are lost, " << problem_ << std::endl;
    }
}

/// \return false at the end. Looks after the instrument while there is nothing to do.
bool Worker::waitForWork() {
    std::unique_lock lock(mutex_);
    const auto isWoken = [this] {
        return isEnding_ || !requests_.empty() || (!pressed_.empty() && problem_.empty());
    };
    // What could not be written is tried again as often as it is sought.
    const bool isWell = instrument_ != nullptr && problem_.empty();
    if (!wake_.wait_for(lock, isWell ? kLookInterval : kSeekInterval, isWoken)) {
        lock.unlock();
        look();
        lock.lock();
    }
    return !isEnding_;
}

void Worker::work() {
    writePressed();
    std::function<void()> request;
    {
        const std::scoped_lock lock(mutex_);
        if (requests_.empty()) {
            return;
        }
        request = std::move(requests_.front());
        requests_.pop_front();
    }
    request();
}

void Worker::look() {
    try {
        if (instrument_ == nullptr) {
            find();
        } else if (!instrument_->isThere()) {
            lose("it was unplugged");
        } else if (++looks_ % kLooksPerQuestion == 0 && !instrument_->isAnswering()) {
            lose("it has ended the connection");
        }
    } catch (const std::exception& error) {
        // Such as an instrument that goes just as it has been found: it is sought again.
        problem_ = error.what();
        tell();
    }
}

void Worker::find() {
    if (place_.isVirtual && virtual_ == nullptr) {
        virtual_ = std::make_unique<cqtool::VirtualInstrument>(
            cqtool::VirtualInstrument::Kind::instrument,
            cqtool::splitArguments(place_.virtualOptions));
    }
    if (place_.isVirtual) {
        tryPort(virtual_->portName());
        return;
    }
    if (place_.isWireless) {
        tryPort(place_.adapter);
        return;
    }
    // Its own port may hold any instrument; another one only the same as before.
    if (!place_.port.empty() && tryPort(place_.port)) {
        return;
    }
    const bool isKnown = !place_.serial.empty() || !identity_.serial.empty();
    for (const std::string& port : shared_.ports.candidates()) {
        if ((isKnown || place_.port.empty()) && port != place_.port && tryPort(port)) {
            return;
        }
    }
}

bool Worker::tryPort(const std::string& port) {
    Ports::Claim claim = shared_.ports.claim(port);
    if (!claim) {
        return false;
    }
    const std::shared_ptr<Instrument> opened = Instrument::open(place_, port);
    if (opened == nullptr) {
        return false;
    }
    const std::string& wanted = !place_.serial.empty() ? place_.serial : identity_.serial;
    const bool isAnyWelcome = place_.serial.empty() && (wanted.empty() || port == place_.port);
    if (!place_.isWireless && !isAnyWelcome && opened->identity().serial != wanted) {
        return false;
    }
    opened->listen([this](bool isStandard, const CqMeasurementRecord& record) {
        const std::scoped_lock lock(mutex_);
        pressed_.push_back({isStandard, record});
        wake_.notify_all();
    });
    {
        const std::scoped_lock lock(mutex_);
        closable_ = opened;
    }
    claim_ = std::move(claim);
    instrument_ = opened;
    if (identity_ != instrument_->identity()) {
        identity_ = instrument_->identity();
        calibrated_.clear();
    }
    rememberCalibration();
    problem_.clear();
    tell("ready");
    return true;
}

void Worker::lose(const std::string& why) {
    {
        const std::scoped_lock lock(mutex_);
        closable_.reset();
    }
    instrument_.reset();
    claim_ = {};
    virtual_.reset();
    problem_ = why;
    tell("searching");
}

/// Writes what was measured with the button. What cannot be written, as on a full disk, is kept and
/// tried again.
void Worker::writePressed() {
    for (;;) {
        Pressed next{};
        {
            const std::scoped_lock lock(mutex_);
            if (pressed_.empty()) {
                break;
            }
            next = pressed_.front();
        }
        try {
            write(next.isStandard, next.record, {});
        } catch (const std::exception& error) {
            problem_ = std::string(kNotWritten) + error.what();
            return tell();
        }
        const std::scoped_lock lock(mutex_);
        pressed_.pop_front();
    }
    if (problem_.starts_with(kNotWritten)) {
        problem_.clear();
        tell();
    }
}

Worker::Outcome Worker::measureNow(bool isStandard, const std::string& name) {
    Instrument& instrument = opened();
    Journal& job = journal();
    tell("measuring");
    try {
        const CqMeasurementRecord record = instrument.measure(isStandard);
        const std::uint64_t number = write(isStandard, record, name);
        tell("ready");
        return {true, {}, {{"job", job.name()}, {"number", number}}};
    } catch (...) {
        instrument.isThere() ? tell("ready") : lose("it was unplugged");
        throw;
    }
}

std::uint64_t Worker::write(bool isStandard, const CqMeasurementRecord& record,
                            const std::string& name) {
    cqtool::JobMeasurement measurement;
    measurement.instrument = identity_;
    measurement.program = std::string("cq-station ") + CQAPI_VERSION_STRING;
    const auto white = calibrated_.find("white");
    if (white != calibrated_.end()) {
        measurement.calibrationAge = static_cast<double>(*cqtool::secondsOf(cqtool::nowText()) -
                                                         *cqtool::secondsOf(white->second));
    }
    const std::uint64_t number = journal().append([&](const cqtool::Job& job) {
        std::string given = name.empty() ? nextName_ : name;
        if (given.empty()) {
            given = job.nextName(isStandard);
        }
        measurement.entry =
            cqtool::entryOf(record, 0, isStandard, {}, job.viewing.primary(), given);
        measurement.entry.isStandard = isStandard;
        const auto* const current = job.currentStandard();
        const auto* const chosen = standard_ ? job.find(*standard_) : nullptr;
        const auto* const standard = chosen != nullptr && !chosen->struckOutBy ? chosen : current;
        if (!isStandard && standard != nullptr) {
            measurement.standard = standard->number;
        }
        return measurementEvent(measurement);
    });
    nextName_.clear();
    if (isStandard) {
        standard_.reset();
    }
    return number;
}

Worker::Outcome Worker::calibrateNow(bool isWhite) {
    Instrument& instrument = opened();
    const std::string target = isWhite ? "white" : "black";
    tell("calibrating");
    try {
        instrument.calibrate(isWhite);
        calibrated_[target] = cqtool::nowText();
        if (journal_ != nullptr) {
            journal_->append(
                [&](const cqtool::Job&) { return calibratedEvent(identity_, target); });
        }
    } catch (...) {
        instrument.isThere() ? tell("ready") : lose("it was unplugged");
        throw;
    }
    tell("ready");
    return {};
}

/// As far as the job knows: it may have been written yesterday.
void Worker::rememberCalibration() {
    const std::string known = journal_ == nullptr || identity_.serial.empty()
                                  ? std::string()
                                  : journal_->calibrationOf(identity_);
    if (known > calibrated_["white"]) {
        calibrated_["white"] = known;
    }
    std::erase_if(calibrated_, [](const auto& each) { return each.second.empty(); });
}

Instrument& Worker::opened() {
    if (instrument_ == nullptr) {
        throw Failure("the instrument is not connected", "plug it in and switch it on");
    }
    return *instrument_;
}

Journal& Worker::journal() {
    if (journal_ == nullptr) {
        throw Failure("there is no job to write to", "choose one");
    }
    return *journal_;
}

void Worker::tell(const std::string& state) {
    state_ = state;
    tell();
}

void Worker::tell() {
    Json calibrated = Json::object();
    for (const auto& [target, time] : calibrated_) {
        calibrated[target] = time;
    }
    shared_.states.set(place_.name,
                       {{"name", place_.name},
                        {"kind", place_.kind()},
                        {"state", state_},
                        {"problem", textOrNull(problem_)},
                        {"port", instrument_ == nullptr ? Json() : Json(instrument_->port())},
                        {"model", textOrNull(identity_.model)},
                        {"serial", textOrNull(identity_.serial)},
                        {"firmware", textOrNull(identity_.firmware)},
                        {"calibrated", std::move(calibrated)},
                        {"job", journal_ == nullptr ? Json() : Json(journal_->name())},
                        {"standard", standard_ ? Json(*standard_) : Json()},
                        {"nextName", textOrNull(nextName_)}});
}

}  // namespace station
