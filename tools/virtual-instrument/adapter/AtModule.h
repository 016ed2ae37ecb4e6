#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "adapter/FaultPlan.h"
#include "adapter/Outbox.h"
#include "adapter/Slave.h"
#include "Bytes.h"
#include "TrafficLog.h"

namespace vi::adapter {

/// The adapter's radio module: answers AT commands, scans, and links to an instrument, after which
/// the line carries that instrument's bytes. Owns no clock.
class AtModule {
  public:
    struct Settings {
        std::chrono::milliseconds delay{20};  ///< before each answer
        bool isScanReady = false;             ///< a scan is answered as already done
        FaultPlan faults;
    };

    /// \param slaves, outbox and log must live as long as the module.
    /// \param unlinked is called when the link to a slave has ended.
    AtModule(const std::vector<Slave>& slaves, Outbox& outbox, TrafficLog& log, Settings settings,
             std::function<void(std::size_t slave)> unlinked);

    /// Replaces the planned faults; counts begin anew.
    void restart(const FaultPlan& plan) {
        settings_.faults = plan;
        commands_ = 0;
    }

    /// The linked slave.
    std::optional<std::size_t> linked() const { return linked_; }
    /// True while bytes are for the linked slave: from the link until the escape.
    bool isCarrying() const { return isCarrying_; }

    /// Takes a byte from the host that is for the module.
    void receive(std::uint8_t byte, TimePoint now);

    /// Checks a byte from the host that is for the slave: it may complete the escape, the only
    /// command that the module recognises in data mode.
    /// \return true if it does. The slave must then discard what it has received of the escape.
    bool watch(std::uint8_t byte, TimePoint now);

    void elapse(TimePoint now);
    std::optional<TimePoint> deadline() const;

    /// The slave leaves: it receives nothing from now on, and the module reports it at that time.
    void dropLink(TimePoint when) { dropAt_ = when; }
    bool isDropping() const { return dropAt_.has_value(); }
    /// The module loses power.
    void powerOff();

  private:
    struct Command {
        std::string_view name;
        void (AtModule::*run)(const std::string& argument, TimePoint now);
    };
    static const Command kCommands[];

    struct Scan {
        std::size_t next = 0;  // the next slave to report
        TimePoint due{};
        std::chrono::nanoseconds step{};
    };

    void runCommand(const std::string& line, TimePoint now);

    void escape(const std::string& code, TimePoint now);
    void disconnect(const std::string& argument, TimePoint now);
    void setMt(const std::string& argument, TimePoint now);
    void setBy(const std::string& argument, TimePoint now);
    void setExLength(const std::string& argument, TimePoint now);
    void setExMode(const std::string& argument, TimePoint now);
    void readAr(const std::string& argument, TimePoint now);
    void scan(const std::string& argument, TimePoint now);
    void readScanResults(const std::string& argument, TimePoint now);
    void connect(const std::string& address, TimePoint now);

    void answerSetting(const std::string& prefix, const std::string& value, TimePoint now);
    void answer(const std::string& line, TimePoint now);
    void tell(const std::string& words, const std::string& text, TimePoint due);
    TimePoint answerTime(TimePoint now) const;
    std::string scanLine(std::size_t slave) const;
    void endLink();

    const std::vector<Slave>& slaves_;
    Outbox& outbox_;
    TrafficLog& log_;
    Settings settings_;
    std::function<void(std::size_t)> unlinked_;

    std::string line_;      // the host's, as far as received
    std::string recently_;  // the last bytes that were carried, as long as the escape
    std::uint32_t commands_ = 0;

    bool isScanning_ = false;
    std::optional<Scan> scan_;  // while there is something to report
    std::optional<std::size_t> linked_;
    bool isCarrying_ = false;
    std::optional<std::size_t> connecting_;
    TimePoint connectAt_{};
    std::optional<TimePoint> dropAt_;
};

}  // namespace vi::adapter
