#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Journal.h"

namespace station {

/// A serial number as one level of a topic; "-" for none.
std::string topicLevel(std::string serial);

/// How much of a job the broker is known to have. The job's file holds the messages; a mark beside
/// it, NAME.cqjob.sent, says up to which number they need not be sent again. It follows the
/// acknowledgements at a distance, because a broker that is killed may lose what it has
/// acknowledged last. For one thread.
class Outbox {
  public:
    using Clock = std::chrono::steady_clock;

    struct Message {
        std::uint64_t number = 0;
        std::string topic;
        std::string payload;
    };

    /// \param station its name, for topics and messages.
    /// \param settleTime after an acknowledgement, until the mark moves.
    Outbox(std::shared_ptr<Journal> journal, std::string station, std::chrono::seconds settleTime);

    /// The next messages to send, in order, as many as may be on their way.
    std::vector<Message> next();
    void acknowledge(std::uint64_t number) { unacknowledged_.erase(number); }
    /// The connection is lost: begins again behind the mark.
    void rewind();
    /// Moves the mark, now and then. Throws cqtool::Failure if it cannot be written.
    void keep(Clock::time_point now);

    /// Whether everything has been sent and acknowledged.
    bool isDone() const;

    /// Whether the job in this file may have events that its mark does not cover.
    /// \param mark an existing one.
    static bool isBehind(const std::filesystem::path& mark);
    static std::filesystem::path jobOf(const std::filesystem::path& mark);
    static bool isMark(const std::filesystem::path& file);

  private:
    Message messageOf(const std::string& told) const;
    std::uint64_t acknowledgedUpTo() const {
        return unacknowledged_.empty() ? sent_ : *unacknowledged_.begin() - 1;
    }

    std::shared_ptr<Journal> journal_;
    std::string station_;
    std::chrono::seconds settleTime_;
    std::filesystem::path mark_;
    std::string created_;                     ///< when the job was
    std::uint64_t marked_ = 0;                ///< the number in the mark
    std::uint64_t sent_ = 0;                  ///< up to which number
    std::set<std::uint64_t> unacknowledged_;  ///< of those sent
    /// Up to which number all was acknowledged at which time, not more often than once a second.
    std::deque<std::pair<Clock::time_point, std::uint64_t>> settling_;
    Clock::time_point noted_{};  ///< the last of these times
};

}  // namespace station
