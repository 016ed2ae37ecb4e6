#pragma once

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "Bytes.h"
#include "instrument/Instrument.h"
#include "line/DelayLine.h"
#include "Options.h"
#include "Protocol.h"
#include "System.h"
#include "TrafficLog.h"

namespace vi {

/// One instrument, or one adapter, on its line.
class Unit {
  public:
    /// \param system must live as long as the unit.
    /// \param line its number there.
    /// \param name what its lines on standard output and in the log begin with; may be empty.
    /// \param log null for none; must live as long as the unit.
    Unit(const Options& options, System& system, std::size_t line, std::string name,
         std::ostream* log);

    void plugIn();
    /// Does what is due.
    void elapse(TimePoint now);
    /// Sends what is due.
    /// \return true if the line accepts no more at the moment.
    bool flush(TimePoint now);
    std::optional<TimePoint> deadline(bool isBlocked) const;
    void receive(ByteView bytes, TimePoint now);

    /// Carries out a command, such as {"noise", "0"}, and says what it did, or why not.
    /// \param words at least the command.
    void take(const std::vector<std::string>& words, TimePoint now);

  private:
    using Arguments = std::vector<std::string>;
    struct Command;

    std::unique_ptr<Protocol> makeProtocol();
    void say(const std::string& line) const;
    void unplug();
    void pressAutomatically(TimePoint now);

    // Each returns what to say; empty if the arguments are not what the command takes.
    std::string obey(const Arguments& words, TimePoint now);
    std::string press(const Arguments& arguments, TimePoint now);
    std::string requestKeepAlive(const Arguments& arguments, TimePoint now);
    std::string disconnect(const Arguments& arguments, TimePoint now);
    std::string pull(const Arguments& arguments, TimePoint now);
    std::string plug(const Arguments& arguments, TimePoint now);
    std::string setFaults(const Arguments& arguments, TimePoint now);
    std::string setNoise(const Arguments& arguments, TimePoint now);
    std::string setDrift(const Arguments& arguments, TimePoint now);
    std::string place(const Arguments& arguments, TimePoint now);

    Options options_;
    System& system_;
    std::size_t line_;
    std::string name_;
    TrafficLog log_;
    std::optional<Instrument> instrument_;  // on the cable; the adapter has its own
    DelayLine fromHost_;
    DelayLine toHost_;
    std::unique_ptr<Protocol> protocol_;
    bool mustUnplug_ = false;
    std::optional<TimePoint> nextPress_;  // while a host is connected
};

}  // namespace vi
