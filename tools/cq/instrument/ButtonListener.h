#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>

#include "instrument/Connection.h"

namespace cqtool {

/// A measurement made with the instrument's button.
struct Pressed {
    bool isStandard;
    CqMeasurementRecord record;
};

/// Receives measurements made with the instrument's button, over one connection after another: when the
/// instrument or its cable has gone, it waits for it to come back and says so.
class ButtonListener {
  public:
    /// Opens the instrument and listens.
    /// \param connected called with each connection before it listens.
    /// \param notes for where it listens, and what it waits for.
    ButtonListener(const ConnectionOptions& options, Interrupt& interrupt, std::ostream& notes,
                   std::function<void(Connection&)> connected);
    ~ButtonListener();
    ButtonListener(const ButtonListener&) = delete;
    ButtonListener& operator=(const ButtonListener&) = delete;

    /// The next measurement; after Ctrl-C those that arrive until the goodbye is answered, then nothing.
    /// Throws Failure when a virtual instrument, which is this command's own, has gone.
    /// \param whenInterrupted the exit status after Ctrl-C while it waits for the instrument to come
    /// back, which ends the process.
    std::optional<Pressed> next(ExitStatus whenInterrupted);

  private:
    class Queue;

    void open();
    void reopen(ExitStatus whenInterrupted);

    ConnectionOptions options_;
    Interrupt& interrupt_;
    std::ostream& notes_;
    std::function<void(Connection&)> connected_;
    std::unique_ptr<Queue> queue_;  // of the connection below, or with what it has brought
    std::unique_ptr<Connection> connection_;
};

}  // namespace cqtool
