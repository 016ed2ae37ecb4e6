#pragma once

#include <deque>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "Bytes.h"
#include "Options.h"
#include "System.h"
#include "Unit.h"

namespace vi {

/// The running program: connects the system, the instruments on their lines, the keys and the
/// commands.
class Application {
  public:
    /// \param log null for none; must live as long as the application.
    Application(const Options& options, std::ostream* log);

    /// Serves until told to end.
    /// \throw std::runtime_error if a line cannot be created.
    void run();

  private:
    std::optional<TimePoint> deadline() const;
    void handle(const System::Happening& happening, TimePoint now);
    void handleKey(char key, TimePoint now);
    void handleLine(const std::string& line, TimePoint now);
    void handleCommand(std::vector<std::string> words, TimePoint now);

    Options options_;
    System system_;
    std::deque<Unit> units_;
    std::vector<bool> isBlocked_;  // of each unit: its line accepts no more
    bool mustEnd_ = false;
    std::optional<std::string> typed_;  // a command on standard input, as far as typed
    std::string control_;               // the last line of the control file, as far as read
};

}  // namespace vi
