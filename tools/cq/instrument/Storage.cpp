#include "instrument/Storage.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "Failure.h"
#include "instrument/Records.h"
#include "text/Text.h"

namespace cqtool {
namespace {

// The library gives a wired portion 5 s, whatever its size. In between, progress is shown and Ctrl-C
// is heeded.
constexpr std::chrono::duration<double> kPortionTime{0.5};
constexpr double kMostAtOnce = 50;
constexpr double kLeastTimeOfARecord = 1e-6;  // seconds

using Clock = std::chrono::steady_clock;

/// The selection of the samples of all standards.
constexpr std::uint32_t kAllStandards = 0xFFFFFFFF;

// No record consists of only this byte, so it marks the elements that the library has not written.
constexpr std::uint8_t kUntouched = 0xA5;

bool consistsOf(const CqMeasurementRecord& record, std::uint8_t byte) {
    return std::all_of(std::begin(record.bytes), std::end(record.bytes),
                       [byte](std::uint8_t other) { return other == byte; });
}

std::uint32_t selectionOf(const RecordList& list) {
    return list.standard.value_or(kAllStandards);
}

Operation readingOf(const RecordList& list) {
    return list.isStandards ? Operation::readStandards : Operation::readSamples;
}

[[noreturn]] void refuseShort(const RecordList& list, std::size_t got, std::size_t wanted) {
    throw Failure("reading stored " + std::string(list.name()) + " failed: the instrument gave " +
                      std::to_string(got) + " of " + std::to_string(wanted) + " records",
                  "leave the instrument's buttons alone and repeat the command");
}

}  // namespace

std::uint32_t Storage::count(const RecordList& list) const {
    std::uint32_t count = 0;
    const CqHandle handle = connection_.handle();
    const std::uint32_t code = list.isStandards ? cqGetTotalStandards(handle, &count)
                               : list.standard  ? cqGetSampleCount(handle, *list.standard, &count)
                                                : cqGetTotalSamples(handle, &count);
    // An instrument that keeps samples by standard refuses one that it does not have.
    const bool isRefused = code == CQ_INVALID_PARAMETER || code == CQ_EXECUTE_COMMAND_FAILED;
    if (isRefused && list.standard) {
        requireStandard(*list.standard);
    }
    connection_.check(code, Operation::countRecords);
    return count;
}

std::optional<std::uint32_t> Storage::room() const {
    if (connection_.isWireless()) {
        return std::nullopt;
    }
    const std::uint32_t capacity = standardCapacity(connection_.deviceInfo());
    const std::uint32_t stored = count({});
    return capacity > stored ? capacity - stored : 0;
}

void Portion::took(std::uint32_t records, std::chrono::nanoseconds time) {
    const double each = std::chrono::duration<double>(time).count() / records;
    const double fitting = kPortionTime.count() / std::max(each, kLeastTimeOfARecord);
    size_ = static_cast<std::uint32_t>(std::clamp(fitting, 1.0, kMostAtOnce));
}

std::uint32_t Storage::readPortion(const RecordList& list, std::span<CqMeasurementRecord> portion,
                                   std::uint32_t first) const {
    const auto count = static_cast<std::uint32_t>(portion.size());
    std::memset(portion.data(), kUntouched, portion.size_bytes());
    connection_.check(list.isStandards
                          ? cqUploadStandards(connection_.handle(), portion.data(), first, count)
                          : cqUploadSamples(connection_.handle(), portion.data(), selectionOf(list),
                                            first, count),
                      readingOf(list));
    // The library zeroes the elements of samples that have not arrived.
    const std::uint8_t missing = list.isStandards ? kUntouched : std::uint8_t{0};
    const auto end = std::find_if(portion.begin(), portion.end(), [missing](const auto& record) {
        return consistsOf(record, missing);
    });
    return static_cast<std::uint32_t>(end - portion.begin());
}

std::vector<CqMeasurementRecord> Storage::read(const RecordList& list, std::uint32_t first,
                                               std::uint32_t most, const Progress& progress) const {
    const std::uint32_t stored = count(list);
    const std::uint32_t wanted = stored > first ? std::min(stored - first, most) : 0;
    // An instrument may claim any number: memory is taken for what comes.
    std::vector<CqMeasurementRecord> records;
    Portion portion;
    for (std::uint32_t done = 0; done < wanted;) {
        progress(done, wanted);
        const std::uint32_t asked = std::min(wanted - done, portion.size());
        records.resize(done + asked);
        const auto began = Clock::now();
        const std::uint32_t got = readPortion(list, std::span(records).subspan(done), first + done);
        portion.took(asked, Clock::now() - began);
        done += got;
        if (got < asked) {
            // A wired instrument counts the samples of all standards, whichever is asked for.
            if (!list.standard || connection_.isWireless()) {
                refuseShort(list, done, wanted);
            }
            records.resize(done);
            break;
        }
    }
    progress(records.size(), records.size());
    return records;
}

CqMeasurementRecord Storage::readStandard(std::uint32_t index) const {
    const RecordList standards;
    const auto records = read(standards, index, 1, [](std::size_t, std::size_t) {});
    if (records.empty()) {
        requireStandard(index);
    }
    return records.at(0);
}

void Storage::requireStandard(std::uint32_t index) const {
    const std::uint32_t stored = count({});
    if (index >= stored) {
        throw Failure("there is no stored standard " + std::to_string(index) +
                          ": the instrument holds " + counted(stored, "standards"),
                      "see cq standards list; indices begin with 0");
    }
}

Change Storage::write(std::span<const CqMeasurementRecord> standards, const Progress& progress) {
    const std::uint32_t before = count({});
    const Connection::KeepOpen keepOpen(connection_);
    Change change;
    Portion portion;
    while (change.done < standards.size() && !change.isInterrupted) {
        progress(change.done, standards.size());
        const auto rest = standards.subspan(change.done);
        const auto size =
            static_cast<std::uint32_t>(std::min<std::size_t>(rest.size(), portion.size()));
        const auto began = Clock::now();
        change.code =
            connection_.reasonOf(cqDownloadStandards(connection_.handle(), rest.data(), size));
        portion.took(size, Clock::now() - began);
        if (change.code != CQ_NO_ERROR) {
            settle(change, before, size);
            return change;
        }
        change.done += size;
        change.isInterrupted = change.done < standards.size() && connection_.isInterrupted();
    }
    progress(change.done, standards.size());
    return change;
}

/// Asks the instrument how much of a failed portion it has stored all the same.
void Storage::settle(Change& change, std::uint32_t before, std::uint32_t underWay) const {
    std::uint32_t after = 0;
    const bool isToldNow = cqGetTotalStandards(connection_.handle(), &after) == CQ_NO_ERROR;
    if (isToldNow && after >= before) {
        change.done = std::max(after - before, change.done);
    } else {
        change.unknown = underWay;
    }
}

Change Storage::erase(const RecordList& list, std::span<const std::uint32_t> indices,
                      const Progress& progress) {
    const Connection::KeepOpen keepOpen(connection_);
    Change change;
    for (const std::uint32_t index : indices) {
        change.isInterrupted = connection_.isInterrupted();
        if (change.isInterrupted) {
            break;
        }
        progress(change.done, indices.size());
        change.code = connection_.reasonOf(
            list.isStandards ? cqDeleteStandard(connection_.handle(), index)
                             : cqDeleteSample(connection_.handle(), selectionOf(list), index));
        if (change.code != CQ_NO_ERROR) {
            change.unknown =
                change.code == CQ_EXECUTE_COMMAND_FAILED || change.code == CQ_INVALID_PARAMETER ? 0
                                                                                                : 1;
            break;
        }
        ++change.done;
    }
    return change;
}

void Storage::eraseAll() const {
    connection_.check(cqDeleteAllRecords(connection_.handle()), Operation::deleteAllRecords);
}

}  // namespace cqtool
