#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "cqapi/CQApi.h"
#include "peer/MeasuredRecord.h"
#include "peer/VirtualInstrument.h"

namespace cqtest {

using std::chrono::milliseconds;

enum class Kind { wired, wireless };

/// A stored record: one that the instrument measured, or one that a host has written.
struct Held {
    bool isMeasured;
    std::uint32_t number;

    bool is(const CqMeasurementRecord& record, RecordKind kind) const;
};

/// What an instrument holds, as far as its host knows: each operation is checked against it, and
/// changes it.
struct Model {
    explicit Model(std::uint32_t standardCount = 5, std::uint32_t sampleCount = 15);

    std::vector<Held>& stored(RecordKind kind) {
        return kind == RecordKind::standard ? standards : samples;
    }
    std::uint32_t& lastNumber(RecordKind kind) {
        return kind == RecordKind::standard ? lastStandard : lastTrial;
    }

    std::vector<Held> standards;
    std::vector<Held> samples;
    std::uint32_t lastStandard;  ///< running numbers of the last measurements
    std::uint32_t lastTrial;
    std::uint32_t written = 0;  ///< how many records hosts have written
    std::uint32_t capacity = 1000;
    std::array<std::uint8_t, 256> parameters{};
    CqWhiteBoardParameter whiteBoard;
};

/// Where operations run.
struct Session {
    Kind kind;
    VirtualInstrument* instrument;
    Model model{};
    std::minstd_rand* random = nullptr;  ///< chooses what the operations work with, if it is there
    milliseconds afterPress{300};        ///< to wait for what a pressed button must not do
    std::size_t struckStep = 0;          ///< of a wireless operation
    std::string textFault{};             ///< what a fault does to the text of that step
    CqHandle handle = nullptr;
    std::vector<std::string> problems{};

    bool isWired() const { return kind == Kind::wired; }
    /// The options of an instrument that holds what the model says.
    std::string options() const;
    void open();
    void check(bool isRight, const std::string& problem) {
        if (!isRight) {
            problems.push_back(problem);
        }
    }
    /// A number from 0 to below `end` by chance, or the usual one.
    std::uint32_t pick(std::size_t end, std::uint32_t usual) {
        return random == nullptr || end == 0 ? usual
                                             : static_cast<std::uint32_t>((*random)() % end);
    }
};

/// Reads all that is stored, and checks it.
void checkHeld(Session& session);

}  // namespace cqtest
