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

/// The result of asking a port for its instrument.
struct SurveyAnswer {
    std::string port;
    std::optional<CqDeviceInfo> info;
    std::string problem;  ///< why there is no information
};

/// Opens the instruments on several ports at the same time, reads each device information, and
/// closes them.
class Survey {
  public:
    explicit Survey(const std::vector<std::string>& ports);
    /// Waits for the answers, and so for ever if an instrument never answers.
    ~Survey();
    Survey(const Survey&) = delete;
    Survey& operator=(const Survey&) = delete;

    /// The answers in the order of the ports: all of them, or those that have arrived at the
    /// timeout or on Ctrl-C.
    std::vector<SurveyAnswer> wait(double seconds, Interrupt& interrupt);
    /// True if ports have not answered: only the end of the process leaves them behind.
    bool isStuck();

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<SurveyAnswer> answers_;
    std::size_t awaited_;
    std::vector<std::thread> threads_;
};

}  // namespace cqtool
