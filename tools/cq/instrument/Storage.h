#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "instrument/Connection.h"

namespace cqtool {

/// One of the lists that an instrument stores.
struct RecordList {
    bool isStandards = true;
    /// Only for samples: the standard that they belong to; nothing: the samples of all standards. A
    /// wired instrument may keep a single list of samples and ignore this.
    std::optional<std::uint32_t> standard;

    const char* name() const { return isStandards ? "standards" : "samples"; }
};

/// The outcome of a change in several steps.
struct Change {
    std::uint32_t code = 0;      ///< of the step that failed; CQ_NO_ERROR if none did
    bool isInterrupted = false;  ///< ended between two steps
    std::uint32_t done = 0;      ///< how many records
    /// How many more records may have been changed: the instrument has not answered.
    std::uint32_t unknown = 0;

    bool isComplete() const { return code == 0 && !isInterrupted; }
};

/// How many records to pass at once: as many as the line has shown to carry in a fraction of the
/// library's time-outs, one at first.
class Portion {
  public:
    std::uint32_t size() const { return size_; }
    /// Told how long the last portion, of this size or less, took.
    void took(std::uint32_t records, std::chrono::nanoseconds time);

  private:
    std::uint32_t size_ = 1;
};

/// The records that an instrument stores, read and written in portions. Functions throw as
/// Connection::check() does.
class Storage {
  public:
    /// Called with the number of records done and their total.
    using Progress = std::function<void(std::size_t done, std::size_t total)>;

    explicit Storage(Connection& connection) : connection_(connection) {}

    std::uint32_t count(const RecordList& list) const;
    /// How many more standards fit; nothing if the instrument does not say, as with a wireless one.
    std::optional<std::uint32_t> room() const;

    /// Records by their indices from `first` on, at most `most`.
    /// Throws Failure if the instrument gives fewer than it has counted, Interrupted on Ctrl-C.
    std::vector<CqMeasurementRecord> read(const RecordList& list, std::uint32_t first,
                                          std::uint32_t most, const Progress& progress) const;
    /// Throws Failure if there is no such standard.
    CqMeasurementRecord readStandard(std::uint32_t index) const;

    /// Appends standards to the stored ones. Stops at the first failure, and on Ctrl-C once the
    /// current portion has been answered.
    Change write(std::span<const CqMeasurementRecord> standards, const Progress& progress);

    /// Deletes records by their indices. Stops as write() does.
    /// \param indices from the highest down, since the records after a deleted one move up.
    Change erase(const RecordList& list, std::span<const std::uint32_t> indices,
                 const Progress& progress);
    /// Deletes all standards and all samples.
    void eraseAll() const;

  private:
    void requireStandard(std::uint32_t index) const;
    std::uint32_t readPortion(const RecordList& list, std::span<CqMeasurementRecord> portion,
                              std::uint32_t first) const;
    void settle(Change& change, std::uint32_t before, std::uint32_t underWay) const;

    Connection& connection_;
};

}  // namespace cqtool
