#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>

#include "Jobs.h"
#include "States.h"

namespace station {

/// What one listener is told, message by message, as fast as it takes them: nothing is kept for it
/// but how far it has come, because the jobs' files have all events. For one thread.
class Feed {
  public:
    /// \param job of which events are told; empty: of all, from now on.
    /// \param after events after this number; nothing: from now on.
    /// Throws cqtool::Failure if there is no such job.
    Feed(Jobs& jobs, const States& states, const std::string& job,
         std::optional<std::uint64_t> after);

    /// The next message; nothing if there is none yet.
    std::optional<std::string> next();

  private:
    void takeEvents();

    Jobs& jobs_;
    const States& states_;
    bool isOfAll_;
    std::uint64_t version_ = 0;                               // of the states told last
    std::map<std::shared_ptr<Journal>, std::uint64_t> told_;  // the last number of each
    std::deque<std::string> ready_;
};

}  // namespace station
