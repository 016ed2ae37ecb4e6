#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "Broker.h"
#include "Jobs.h"
#include "States.h"

namespace station {

/// Publishes the events of all open jobs, and of those in the folder that it has not finished with,
/// to an MQTT broker, on a thread of its own. Measurements never wait for it: it reads the jobs' files
/// like any listener. Linux alone.
class Publisher {
  public:
    /// The jobs and states must live longer.
    /// \param station its name: letters, digits, '-', '_' and '.'.
    /// Throws cqtool::Failure for a login that cannot be read; that the broker does not answer is told
    /// on standard error, and it is tried again.
    Publisher(const Broker& broker, std::string station, const std::filesystem::path& folder,
              Jobs& jobs, const States& states);
    /// Sends what is left, for 2 s at most, and says goodbye.
    ~Publisher();
    Publisher(const Publisher&) = delete;
    Publisher& operator=(const Publisher&) = delete;

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace station
