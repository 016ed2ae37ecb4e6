#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "cqapi/CQApi.h"
#include "system/Interrupt.h"

namespace cqtool {

/// What came of asking a port for its instrument.
struct SurveyAnswer {
    std::string port;
    std::optional<CqDeviceInfo> info;
    std::string problem;  ///< why there is no information
};

/// Opens the instruments on several ports at the same time, asks each what it is, and closes it.
class Survey {
  public:
    explicit Survey(const std::vector<std::string>& ports);
    /// Waits for the answers, which an instrument that never answers keeps from coming.
    ~Survey();
    Survey(const Survey&) = delete;
    Survey& operator=(const Survey&) = delete;

    /// The answers, in the order of the ports, when all have come, or those that have when the time
    /// is over or on Ctrl-C.
    std::vector<SurveyAnswer> wait(double seconds, Interrupt& interrupt);
    /// There are ports that have not answered: the process must be ended to leave them behind.
    bool isStuck();

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<SurveyAnswer> answers_;
    std::size_t awaited_;
    std::vector<std::thread> threads_;
};

}  // namespace cqtool
