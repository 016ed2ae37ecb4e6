#include "instrument/Instrument.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace vi {
namespace {

constexpr const char* kModel = "VIRTUAL-31";
constexpr const char* kHardware = "HW 1.0";
constexpr const char* kFirmware = "FW 1.0";
constexpr const char* kDescription = "Virtual spectrophotometer";
constexpr const char* kWhiteTile = "WT-0001";

constexpr std::uint32_t kPreloadedTime = 1'700'000'000;  // 2023-11-14, one record a minute

/// The tile's reflectance with and without the specular component; a ceramic white is slightly
/// darker at short wavelengths.
Instrument::WhiteBoard makeWhiteBoard() {
    Bytes bytes;
    const std::string_view text = kWhiteTile;
    bytes.assign(text.begin(), text.end());
    bytes.resize(32);
    for (const float level : {0.94F, 0.90F}) {
        for (std::size_t band = 0; band < kBandCount; ++band) {
            const float dip = 0.06F / static_cast<float>(1 + band);
            put32(bytes, std::bit_cast<std::uint32_t>(level - dip));
        }
    }
    Instrument::WhiteBoard board{};
    std::copy(bytes.begin(), bytes.end(), board.begin());
    return board;
}

}  // namespace

const char* describe(Error error) {
    switch (error) {
        case Error::none:
            return "no error";
        case Error::notCalibrated:
            return "not calibrated";
        case Error::storageFull:
            return "storage full";
        case Error::noSuchRecord:
            return "no such record";
        case Error::badParameter:
            return "bad parameter";
        case Error::unknownCommand:
            return "unknown command";
        case Error::busy:
            return "busy";
        case Error::packetTooLong:
            return "packet too long";
        case Error::notAcknowledged:
            return "not acknowledged";
    }
    return "unknown error";
}

Instrument::Instrument(Settings settings, std::function<std::uint32_t()> wallClock)
    : settings_(std::move(settings)),
      wallClock_(std::move(wallClock)),
      sensor_(settings_.seed, settings_.noise),
      isWhiteCalibrated_(settings_.isCalibrated),
      isBlackCalibrated_(settings_.isCalibrated),
      whiteBoard_(makeWhiteBoard()) {
    preload();
}

void Instrument::preload() {
    for (std::uint32_t i = 0; i < settings_.standards; ++i) {
        const std::size_t patch = i % kPatchCount;
        standards_.push_back(encode({.kind = Kind::standard,
                                     .patch = static_cast<std::uint8_t>(patch + 1),
                                     .number = ++standardNumber_,
                                     .time = kPreloadedTime + 60 * i,
                                     .name = patches()[patch].name,
                                     .standardNumber = standardNumber_,
                                     .reflectance = Sensor::exactStandard(patch)}));
    }
    for (std::uint32_t i = 0; i < settings_.samples; ++i) {
        const std::uint32_t standard = settings_.standards > 0 ? i % settings_.standards : 0;
        const std::size_t patch = standard % kPatchCount;
        samples_.push_back(encode({.kind = Kind::trial,
                                   .patch = static_cast<std::uint8_t>(patch + 1),
                                   .number = ++trialNumber_,
                                   .time = kPreloadedTime + 60 * i + 30,
                                   .name = patches()[patch].name,
                                   .standardNumber = settings_.standards > 0 ? standard + 1 : 0,
                                   .reflectance = Sensor::exactTrial(patch, trialNumber_)}));
    }
}

Instrument::Outcome Instrument::calibrate(bool& isCalibrated, TimePoint now) {
    if (now < busyUntil_) {
        return {.error = Error::busy, .ready = now};
    }
    isCalibrated = true;
    busyUntil_ = now + settings_.measureTime;
    return {.error = Error::none, .ready = busyUntil_};
}

Instrument::Outcome Instrument::calibrateWhite(TimePoint now) {
    const Outcome outcome = calibrate(isWhiteCalibrated_, now);
    if (outcome.error == Error::none) {
        driftsSince_ = now;
    }
    return outcome;
}

void Instrument::setDrift(double perHour, TimePoint now) {
    driftPerHour_ = perHour;
    driftsSince_ = now;
}

Error Instrument::readiness(TimePoint now) const {
    if (now < busyUntil_) {
        return Error::busy;
    }
    return isWhiteCalibrated_ && isBlackCalibrated_ ? Error::none : Error::notCalibrated;
}

Instrument::Measurement Instrument::measure(Kind kind, TimePoint now) {
    if (const Error error = readiness(now); error != Error::none) {
        return {.error = error, .record = {}, .ready = now};
    }
    busyUntil_ = now + settings_.measureTime;
    return {.error = Error::none, .record = makeRecord(kind, now), .ready = busyUntil_};
}

Instrument::Measurement Instrument::press(Kind kind, TimePoint now) {
    Measurement measurement = measure(kind, now);
    auto& list = kind == Kind::standard ? standards_ : samples_;
    if (measurement.error == Error::none && list.size() < settings_.capacity) {
        list.push_back(measurement.record);
    }
    return measurement;
}

Record Instrument::makeRecord(Kind kind, TimePoint now) {
    const bool isStandard = kind == Kind::standard;
    const std::chrono::duration<double, std::ratio<3600>> hours = now - driftsSince_;
    sensor_.setDrift(1 + driftPerHour_ * hours.count());
    if (placedOn_) {
        lastPatch_ = *std::exchange(placedOn_, std::nullopt);
    } else if (isStandard) {
        lastPatch_ = lastPatch_ ? (*lastPatch_ + 1) % kPatchCount : 0;
    }
    if (isStandard) {
        currentStandard_ = ++standardNumber_;
    } else {
        ++trialNumber_;
    }
    const std::size_t patch = lastPatch_.value_or(0);
    return encode({.kind = kind,
                   .patch = static_cast<std::uint8_t>(patch + 1),
                   .number = isStandard ? standardNumber_ : trialNumber_,
                   .time = wallClock_(),
                   .name = patches()[patch].name,
                   .standardNumber = currentStandard_,
                   .reflectance = isStandard ? sensor_.measureStandard(patch)
                                             : sensor_.measureTrial(patch, trialNumber_)});
}

Error Instrument::append(ByteView records) {
    constexpr std::size_t size = std::tuple_size_v<Record>;
    if (records.size() % size != 0) {
        return Error::badParameter;
    }
    const std::size_t added = records.size() / size;
    if (added > settings_.capacity - standards_.size()) {
        return Error::storageFull;
    }
    for (std::size_t i = 0; i < added; ++i) {
        Record record{};
        std::copy_n(records.begin() + static_cast<std::ptrdiff_t>(i * size), size, record.begin());
        standards_.push_back(record);
    }
    return Error::none;
}

Error Instrument::erase(Kind kind, std::uint32_t index) {
    auto& list = kind == Kind::standard ? standards_ : samples_;
    if (index >= list.size()) {
        return Error::noSuchRecord;
    }
    list.erase(list.begin() + static_cast<std::ptrdiff_t>(index));
    return Error::none;
}

void Instrument::eraseAll() {
    standards_.clear();
    samples_.clear();
}

std::uint8_t Instrument::statusItem(int item) const {
    switch (item) {
        case 0:
            return isWhiteCalibrated_ && isBlackCalibrated_ ? 1 : 0;
        case 14:
            return settings_.battery;
        case 15:
            return 1;  // powered by the host
        case 16:
            return 0;  // specular component included
        case 17:
            return 8;  // aperture in millimetres
        case 18:
            return isWhiteCalibrated_ ? 1 : 0;
        case 19:
            return isBlackCalibrated_ ? 1 : 0;
        case 20:
            return settings_.capacity == 0
                       ? std::uint8_t{100}
                       : static_cast<std::uint8_t>(100 * standards_.size() / settings_.capacity);
        default:
            return 0;
    }
}

std::string Instrument::whiteBoardText() const {
    const auto end = std::find(whiteBoard_.begin(), whiteBoard_.begin() + kWhiteBoardTextSize, 0);
    return {whiteBoard_.begin(), end};
}

std::string Instrument::text(int item) const {
    switch (item) {
        case 3:
            return kModel;
        case 4:
            return settings_.serial;
        case 6:
            return kFirmware;
        case 7:
            return kDescription;
        case 11:
            return kHardware;
        case 12:
            return whiteBoardText();
        default:
            return {};
    }
}

}  // namespace vi
