// What a worker does: one function an operation.

#include <algorithm>
#include <chrono>
#include <cstring>

#include "endtoend/NumberedRecords.h"
#include "peer/MeasuredRecord.h"
#include "soak/Worker.h"

namespace cqtest::soak {
namespace {

constexpr std::size_t kPortion = 8;

template <class T>
bool isSame(const T& left, const T& right) {
    return std::memcmp(&left, &right, sizeof(T)) == 0;
}

/// The code of a failure, or what was found out about the data.
std::uint32_t judged(std::uint32_t code, bool isRight) {
    return code == CQ_NO_ERROR && !isRight ? kWrong : code;
}

template <class T>
void eraseAt(std::vector<T>& list, std::size_t index) {
    list.erase(list.begin() + static_cast<std::ptrdiff_t>(index));
}

}  // namespace

std::uint32_t Worker::getInfo() {
    CqDeviceInfo info{};
    const std::uint32_t code = cqGetDeviceInfo(handle_, &info);
    return judged(code, std::strcmp(info.infoText3, "VIRTUAL-31") == 0 &&
                            std::strcmp(info.infoText4, "VI-000001") == 0 &&
                            std::strcmp(info.infoText12, memory_.whiteBoard.text) == 0 &&
                            info.trailingValue == (settings_.isWired ? kCapacity : 0));
}

std::uint32_t Worker::getStatus() {
    CqInstrumentStatus status{};
    const std::uint32_t code = cqGetInstrumentStatus(handle_, &status);
    return judged(code, status.totalStandards == memory_.standards.size() && status.item0 == 1 &&
                            status.item14 == 100 && status.item18 == 1 && status.item19 == 1);
}

std::uint32_t Worker::countStandards() {
    std::uint32_t count = 0;
    const std::uint32_t code = cqGetTotalStandards(handle_, &count);
    return judged(code, count == memory_.standards.size());
}

std::uint32_t Worker::countSamples() {
    std::uint32_t count = 0;
    const std::uint32_t code = chance(2) == 0 ? cqGetTotalSamples(handle_, &count)
                                              : cqGetSampleCount(handle_, allSamples(), &count);
    return judged(code, count == memory_.samples.size());
}

std::uint32_t Worker::calibrate() {
    return chance(2) == 0 ? cqCalibrateWhite(handle_) : cqCalibrateBlack(handle_);
}

std::uint32_t Worker::measureStandard() {
    CqMeasurementRecord record{};
    const std::uint32_t code = cqMeasureStandard(handle_, &record);
    ++memory_.standardNumber;
    return judged(code, isMeasuredRecord(record, RecordKind::standard, memory_.standardNumber));
}

std::uint32_t Worker::measureTrial() {
    CqMeasurementRecord record{};
    const std::uint32_t code = cqMeasureTrial(handle_, &record);
    ++memory_.trialNumber;
    return judged(code, isMeasuredRecord(record, RecordKind::trial, memory_.trialNumber));
}

std::uint32_t Worker::compare(const std::vector<CqMeasurementRecord>& held, std::size_t first,
                              std::size_t count) {
    statistics_.recordsCompared += count;
    for (std::size_t i = 0; i < count; ++i) {
        if (!isSame(room_[i], held[first + i])) {
            return kWrong;
        }
    }
    return CQ_NO_ERROR;
}

std::uint32_t Worker::uploadStandards() {
    const std::uint32_t first = chance(memory_.standards.size() + 1);
    const auto count = static_cast<std::uint32_t>(
        std::min<std::size_t>(chance(kPortion) + 1, memory_.standards.size() - first));
    const std::uint32_t code = cqUploadStandards(handle_, room_.data(), first, count);
    return code != CQ_NO_ERROR ? code : compare(memory_.standards, first, count);
}

std::uint32_t Worker::uploadSamples() {
    const std::uint32_t first = chance(memory_.samples.size() + 1);
    const auto count = static_cast<std::uint32_t>(
        std::min<std::size_t>(chance(kPortion) + 1, memory_.samples.size() - first));
    const std::uint32_t code = cqUploadSamples(handle_, room_.data(), allSamples(), first, count);
    return code != CQ_NO_ERROR ? code : compare(memory_.samples, first, count);
}

std::uint32_t Worker::download() {
    const std::size_t free = kCapacity - memory_.standards.size();
    const auto count = static_cast<std::uint32_t>(std::min<std::size_t>(chance(4) + 1, free));
    for (std::uint32_t i = 0; i < count; ++i) {
        room_[i] = numberedRecord(++written_);
    }
    const std::uint32_t code = cqDownloadStandards(handle_, room_.data(), count);
    memory_.standards.insert(memory_.standards.end(), room_.begin(), room_.begin() + count);
    return code;
}

std::uint32_t Worker::deleteStandard() {
    const std::uint32_t index = chance(memory_.standards.size());
    eraseAt(memory_.standards, index);
    return cqDeleteStandard(handle_, index);
}

std::uint32_t Worker::deleteSample() {
    const std::uint32_t index = chance(memory_.samples.size());
    eraseAt(memory_.samples, index);
    return cqDeleteSample(handle_, allSamples(), index);
}

std::uint32_t Worker::deleteAll() {
    memory_.standards.clear();
    memory_.samples.clear();
    return cqDeleteAllRecords(handle_);
}

std::uint32_t Worker::getWhiteBoard() {
    CqWhiteBoardParameter board{};
    const std::uint32_t code = cqGetWhiteBoardParameter(handle_, &board);
    return judged(code, isSame(board, memory_.whiteBoard));
}

// To a wireless instrument the text alone goes.
std::uint32_t Worker::setWhiteBoard() {
    CqWhiteBoardParameter board = memory_.whiteBoard;
    std::fill(std::begin(board.text), std::end(board.text), '\0');
    const std::string text = "WT-" + std::to_string(chance(10'000));
    std::copy(text.begin(), text.end(), board.text);
    if (settings_.isWired) {
        board.firstBlock[chance(sizeof(board.firstBlock))] = static_cast<std::uint8_t>(chance(256));
    }
    memory_.whiteBoard = board;
    return cqSetWhiteBoardParameter(handle_, &board);
}

std::uint32_t Worker::getParameter() {
    const auto number = static_cast<std::uint8_t>(chance(256));
    std::uint32_t value = 0xFFFF;
    const std::uint32_t code = cqGetMeasurementParameter(handle_, number, &value);
    return judged(code, value == memory_.parameters[number]);
}

std::uint32_t Worker::setParameter() {
    const auto number = static_cast<std::uint8_t>(chance(256));
    memory_.parameters[number] = static_cast<std::uint8_t>(chance(256));
    return cqSetMeasurementParameter(handle_, number, memory_.parameters[number]);
}

/// The button is pressed: the callback is called with the record, which the instrument stores.
std::uint32_t Worker::press() {
    const bool isStandard = chance(2) == 0;
    ++statistics_.callbacksExpected;
    isStandard ? instrument_.pressStandard() : instrument_.pressTrial();
    std::unique_lock lock(receivedMutex_);
    if (!arrived_.wait_for(lock, std::chrono::seconds(10), [this] { return !received_.empty(); })) {
        return CQ_RECEIVING_TIMEOUT;
    }
    const Received received = received_.front();
    const bool isOnlyOne = received_.size() == 1;
    received_.clear();
    auto& stored = isStandard ? memory_.standards : memory_.samples;
    std::uint32_t& number = isStandard ? memory_.standardNumber : memory_.trialNumber;
    ++number;
    if (stored.size() < kCapacity) {
        stored.push_back(received.record);
    }
    const RecordKind kind = isStandard ? RecordKind::standard : RecordKind::trial;
    const bool isRight = isOnlyOne && received.isStandard == isStandard &&
                         isMeasuredRecord(received.record, kind, number);
    return judged(CQ_NO_ERROR, isRight);
}

std::uint32_t Worker::close() {
    cqClose(handle_);
    const bool isClosed = !cqIsValidHandle(handle_);
    handle_ = nullptr;
    return judged(CQ_NO_ERROR, isClosed);
}

std::uint32_t Worker::open() {
    handle_ = settings_.isWired ? cqOpen(instrument_.portName())
                                : cqOpenByBleDongle(instrument_.portName(), kFirstAddress);
    return handle_ == nullptr
               ? std::uint32_t{CQ_FAIL_TO_OPEN}
               : cqSetMeasurementResultReceivedCallback(handle_, &Worker::receive, this);
}

/// Takes over what the instrument holds: at the start, and when it is no longer known.
std::uint32_t Worker::readAll() {
    {
        const std::lock_guard lock(receivedMutex_);
        received_.clear();
    }
    if (const std::uint32_t code = readRecords(); code != CQ_NO_ERROR) {
        return code;
    }
    CqMeasurementRecord standard{};
    CqMeasurementRecord trial{};
    std::uint32_t code = cqMeasureStandard(handle_, &standard);
    code = code != CQ_NO_ERROR ? code : cqMeasureTrial(handle_, &trial);
    memory_.standardNumber = runningNumber(standard);
    memory_.trialNumber = runningNumber(trial);
    memory_.whiteBoard = {};
    code = code != CQ_NO_ERROR ? code : cqGetWhiteBoardParameter(handle_, &memory_.whiteBoard);
    for (std::size_t i = 0; settings_.isWired && code == CQ_NO_ERROR && i < 256; ++i) {
        std::uint32_t value = 0;
        code = cqGetMeasurementParameter(handle_, static_cast<std::uint8_t>(i), &value);
        memory_.parameters[i] = static_cast<std::uint8_t>(value);
    }
    return code;
}

std::uint32_t Worker::readRecords() {
    std::uint32_t standards = 0;
    std::uint32_t samples = 0;
    std::uint32_t code = cqGetTotalStandards(handle_, &standards);
    code = code != CQ_NO_ERROR ? code : cqGetTotalSamples(handle_, &samples);
    if (code != CQ_NO_ERROR || standards > kCapacity || samples > kCapacity) {
        return code != CQ_NO_ERROR ? code : kWrong;
    }
    memory_.standards.resize(standards);
    memory_.samples.resize(samples);
    code = cqUploadStandards(handle_, memory_.standards.data(), 0, standards);
    return code != CQ_NO_ERROR
               ? code
               : cqUploadSamples(handle_, memory_.samples.data(), allSamples(), 0, samples);
}

/// What an instrument has stored when it starts is known.
std::uint32_t Worker::readAtStart() {
    const std::uint32_t code = readAll();
    bool isRight =
        memory_.standards.size() == kStoredAtStart && memory_.samples.size() == kStoredAtStart &&
        memory_.standardNumber == kStoredAtStart + 1 && memory_.trialNumber == kStoredAtStart + 1;
    for (std::uint32_t i = 0; isRight && i < kStoredAtStart; ++i) {
        isRight = isMeasuredRecord(memory_.standards[i], RecordKind::standard, i + 1) &&
                  isMeasuredRecord(memory_.samples[i], RecordKind::trial, i + 1);
    }
    return judged(code, isRight);
}

}  // namespace cqtest::soak
