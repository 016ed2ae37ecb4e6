#pragma once

#include <memory>
#include <optional>
#include <ostream>

#include "Bytes.h"
#include "instrument/Instrument.h"
#include "line/DelayLine.h"
#include "Options.h"
#include "Protocol.h"
#include "System.h"
#include "TrafficLog.h"

namespace vi {

/// The running program: connects the system, the line, the protocol, the instrument and the keys.
class Application {
  public:
    /// \param log null for none; must live as long as the application.
    Application(const Options& options, std::ostream* log);

    /// Serves until told to end.
    /// \throw std::runtime_error if the line cannot be created.
    void run();

  private:
    std::unique_ptr<Protocol> makeProtocol();
    void plugIn();
    void unplug();
    void receive(TimePoint now);
    bool flush(TimePoint now);
    void pressAutomatically(TimePoint now);
    std::optional<TimePoint> deadline(bool isBlocked) const;
    void handle(const System::Happening& happening, TimePoint now);
    void handleKey(char key, TimePoint now);
    void press(Kind kind, TimePoint now);

    Options options_;
    System system_;
    TrafficLog log_;
    std::optional<Instrument> instrument_;  // on the cable; the adapter has its own
    DelayLine fromHost_;
    DelayLine toHost_;
    std::unique_ptr<Protocol> protocol_;
    bool mustEnd_ = false;
    bool mustUnplug_ = false;
    std::optional<TimePoint> nextPress_;  // while a host is connected
};

}  // namespace vi
