#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "job/JobFile.h"

namespace station {

using cqtool::Json;

/// A job and what listeners are told of it: its events, from its file, each by its number. An event
/// is on the disk before anybody is told. For any thread; one lock guards all of it.
class Journal {
  public:
    /// \param name how listeners call the job.
    /// \param changed is called, under the lock, when there are new events.
    /// Throws cqtool::Failure for a file that is no job.
    Journal(std::string name, const std::filesystem::path& file, std::function<void()> changed);

    const std::string& name() const { return name_; }
    std::filesystem::path file() const { return file_.path(); }

    /// Appends an event that depends on the job as it is then.
    /// Throws cqtool::Failure with nothing written.
    /// \return its number.
    std::uint64_t append(const std::function<cqtool::JsonObject(const cqtool::Job&)>& eventFor);

    /// Takes in what other programs have appended since. Throws cqtool::Failure.
    void refresh();

    std::uint64_t numberAtOpening() const { return numberAtOpening_; }
    std::uint64_t lastNumber() const;
    /// Up to which byte of the file this event and those before it reach.
    std::uint64_t endOf(std::uint64_t number) const;
    /// The messages for listeners about events after this number, in order.
    /// \param most how many at most.
    std::vector<std::string> messagesAfter(std::uint64_t number, std::size_t most) const;

    /// Looks at the job under the lock: the result must not refer to it.
    template <typename Look>
    auto with(Look look) const {
        const std::scoped_lock lock(mutex_);
        return look(file_.job());
    }

    /// When this instrument was last calibrated, as far as the job knows; empty: unknown.
    std::string calibrationOf(const cqtool::InstrumentIdentity& instrument) const;

  private:
    void takeInNew();
    std::string messageOf(std::uint64_t number, const std::string& line) const;

    std::string name_;
    std::function<void()> changed_;
    mutable std::mutex mutex_;
    cqtool::JobFile file_;
    std::uint64_t numberAtOpening_ = 0;
    std::vector<std::uint64_t> ends_;       ///< of the events' lines, in bytes
    mutable std::uint64_t toldNumber_ = 0;  ///< the message made last, which all listeners want
    mutable std::string toldMessage_;
};

}  // namespace station
