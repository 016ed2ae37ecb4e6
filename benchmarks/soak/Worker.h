#pragma once

#include <atomic>
#include <memory>
#include <random>
#include <string>

#include "Statistics.h"

namespace cqtest::soak {

/// One instrument and the thread that works with it: operations by chance, one after another, each
/// checked against what the instrument must hold.
class Worker {
  public:
    struct Settings {
        Kind kind;
        bool isPressed;           ///< its button is pressed now and then
        unsigned number;          ///< tells the workers apart, and is the seed
        std::uint32_t maxPacket;  ///< of a wired instrument
    };

    /// Starts the instrument.
    Worker(const Settings& settings, Statistics& statistics, const std::atomic<bool>& mustStop);

    /// Opens, works until it is told to stop, checks all that is stored, and closes.
    void run();

  private:
    void startInstrument();
    const Operation& choose();
    bool canDo(const std::string& operation) const;
    void perform(const Operation& operation);

    Settings settings_;
    Statistics& statistics_;
    const std::atomic<bool>& mustStop_;
    std::minstd_rand random_;
    std::discrete_distribution<std::size_t> byWeight_;  // of the operations
    std::unique_ptr<VirtualInstrument> instrument_;
    Session session_;
};

}  // namespace cqtest::soak
