#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <random>
#include <string>
#include <vector>

#include "peer/VirtualInstrument.h"
#include "soak/Memory.h"
#include "soak/Statistics.h"

namespace cqtest::soak {

/// The result of an operation that succeeded with data that is not right.
inline constexpr std::uint32_t kWrong = 0xFFFF;

/// One instrument and the thread that works with it: operations by chance, one after another, each
/// checked against what the instrument must hold.
class Worker {
  public:
    struct Settings {
        bool isWired;
        bool isPressed;           ///< its button is pressed now and then
        unsigned number;          ///< tells the workers apart, and is the seed
        std::uint32_t maxPacket;  ///< of a wired instrument
    };

    /// Starts the instrument.
    Worker(const Settings& settings, Statistics& statistics, const std::atomic<bool>& mustStop);

    /// Opens, works until it is told to stop, and closes.
    void run();

  private:
    struct Action;
    struct Received {
        bool isStandard;
        CqMeasurementRecord record;
    };

    const Action& choose();
    bool canDo(Kind kind) const;
    void perform(const Action& action);
    void settle(Kind kind, std::uint32_t code, const std::string& name);

    // The operations: a result code, or kWrong when the data is not right.
    std::uint32_t getInfo();
    std::uint32_t getStatus();
    std::uint32_t countStandards();
    std::uint32_t countSamples();
    std::uint32_t calibrate();
    std::uint32_t measureStandard();
    std::uint32_t measureTrial();
    std::uint32_t uploadStandards();
    std::uint32_t uploadSamples();
    std::uint32_t download();
    std::uint32_t deleteStandard();
    std::uint32_t deleteSample();
    std::uint32_t deleteAll();
    std::uint32_t getWhiteBoard();
    std::uint32_t setWhiteBoard();
    std::uint32_t getParameter();
    std::uint32_t setParameter();
    std::uint32_t press();
    std::uint32_t close();
    std::uint32_t open();

    std::uint32_t compare(const std::vector<CqMeasurementRecord>& held, std::size_t first,
                          std::size_t count);
    std::uint32_t readAll();
    std::uint32_t readAtStart();
    std::uint32_t readRecords();
    void startAnew();

    /// A number from 0 to below `end`.
    std::uint32_t chance(std::size_t end);
    std::uint32_t allSamples() const { return settings_.isWired ? 0 : CQ_ALL_RECORDS; }
    static void receive(bool isStandard, const CqMeasurementRecord* record, void* user);

    static const Action kActions[];

    Settings settings_;
    Statistics& statistics_;
    const std::atomic<bool>& mustStop_;
    VirtualInstrument instrument_;
    CqHandle handle_ = nullptr;
    Memory memory_;
    std::minstd_rand random_;
    std::discrete_distribution<std::size_t> byWeight_;  // of the actions
    std::vector<CqMeasurementRecord> room_;
    std::uint32_t written_ = 0;  // tells the records apart that were downloaded

    std::mutex receivedMutex_;
    std::condition_variable arrived_;
    std::vector<Received> received_;
};

}  // namespace cqtest::soak
