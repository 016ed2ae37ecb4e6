#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Bytes.h"
#include "instrument/Record.h"
#include "instrument/Sensor.h"

namespace vi {

/// The instrument's error numbers; they are sent over the wire.
enum class Error : std::uint16_t {
    none = 0,
    notCalibrated = 1,
    storageFull = 2,
    noSuchRecord = 3,
    badParameter = 4,
    unknownCommand = 5,
    busy = 6,
    packetTooLong = 7,
    notAcknowledged = 8,
};

const char* describe(Error error);

/// The instrument itself, independent of the connection: calibration, measuring, memory and device
/// information. Owns no clock: a result says when measuring has finished.
class Instrument {
  public:
    struct Settings {
        std::string serial = "VI-000001";  ///< at most 15 bytes
        std::uint8_t battery = 100;        ///< percent
        std::uint32_t capacity = 1000;     ///< standards, and as many samples
        std::uint32_t standards = 0;       ///< stored at the start, at most the capacity
        std::uint32_t samples = 0;         ///< stored at the start, at most the capacity
        bool isCalibrated = false;
        std::uint64_t seed = 1;
        double noise = 0.0005;
        std::chrono::milliseconds measureTime{300};
    };

    /// The bytes of a white-board parameter: text (16), reserved (16), two blocks of 31 floats.
    using WhiteBoard = std::array<std::uint8_t, 280>;
    static constexpr std::size_t kWhiteBoardTextSize = 16;

    struct Outcome {
        Error error = Error::none;
        TimePoint ready{};  ///< when the instrument has finished
    };
    struct Measurement {
        Error error = Error::none;
        Record record{};
        TimePoint ready{};
    };

    /// \param wallClock gives the seconds since 1970.
    Instrument(Settings settings, std::function<std::uint32_t()> wallClock);

    /// Also ends what has drifted so far.
    Outcome calibrateWhite(TimePoint now);
    Outcome calibrateBlack(TimePoint now) { return calibrate(isBlackCalibrated_, now); }

    /// Measures on a host's command; the result is not stored. Each standard is the next patch of
    /// the chart; a trial is the same patch as the last standard.
    Measurement measure(Kind kind, TimePoint now);

    /// Measures with the instrument's own button; the result is stored as long as there is room.
    Measurement press(Kind kind, TimePoint now);

    void setNoise(double noise) { sensor_.setNoise(noise); }
    /// From now on all reflectance factors drift, beginning with none.
    /// \param perHour the change in an hour as a fraction; 0 ends it.
    void setDrift(double perHour, TimePoint now);
    /// Puts the instrument on a patch: the next measurement is of it.
    /// \param patch 0..23.
    void placeOn(std::size_t patch) { placedOn_ = patch; }

    const std::vector<Record>& records(Kind kind) const {
        return kind == Kind::standard ? standards_ : samples_;
    }
    std::uint32_t count(Kind kind) const {
        return static_cast<std::uint32_t>(records(kind).size());
    }
    std::uint32_t capacity() const { return settings_.capacity; }

    /// Stores standards, all of them or none.
    /// \param records whole records, back to back.
    Error append(ByteView records);
    Error erase(Kind kind, std::uint32_t index);
    void eraseAll();

    const WhiteBoard& whiteBoard() const { return whiteBoard_; }
    void setWhiteBoard(const WhiteBoard& whiteBoard) { whiteBoard_ = whiteBoard; }
    std::uint8_t parameter(std::uint8_t number) const { return parameters_[number]; }
    void setParameter(std::uint8_t number, std::uint8_t value) { parameters_[number] = value; }

    /// One item of the status: 0 and 14 to 20; 0 for any other number.
    std::uint8_t statusItem(int item) const;
    /// One text: 3, 4, 6, 7, 11 or 12; empty for any other number.
    std::string text(int item) const;

  private:
    Outcome calibrate(bool& isCalibrated, TimePoint now);
    Error readiness(TimePoint now) const;
    Record makeRecord(Kind kind, TimePoint now);
    std::string whiteBoardText() const;
    void preload();

    Settings settings_;
    std::function<std::uint32_t()> wallClock_;
    Sensor sensor_;

    bool isWhiteCalibrated_;
    bool isBlackCalibrated_;
    TimePoint busyUntil_{};
    double driftPerHour_ = 0;
    TimePoint driftsSince_{};
    std::optional<std::size_t> lastPatch_;
    std::optional<std::size_t> placedOn_;  // until the next measurement
    std::uint32_t standardNumber_ = 0;
    std::uint32_t trialNumber_ = 0;
    std::uint32_t currentStandard_ = 0;  // the running number of the standard measured last

    std::vector<Record> standards_;
    std::vector<Record> samples_;
    WhiteBoard whiteBoard_{};
    std::array<std::uint8_t, 256> parameters_{};
};

}  // namespace vi
