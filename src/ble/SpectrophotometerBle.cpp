#include "ble/SpectrophotometerBle.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <exception>
#include <future>
#include <string_view>
#include <thread>
#include <utility>

#include "api/CommunicationException.h"
#include "api/DebugLog.h"
#include "api/LittleEndian.h"
#include "api/Module.h"

namespace ovk::cq {

/// How a command is sent.
struct BleCommand {
    std::uint8_t type;
    std::uint8_t cmd;
    std::chrono::milliseconds timeout;
};

namespace {

using namespace std::chrono_literals;
using CQBleProtocol::CmdPacket;

constexpr std::uint8_t kRecords = 1;
constexpr std::uint8_t kSettings = 2;

constexpr BleCommand kHello{kRecords, 1, 500ms};
constexpr BleCommand kGoodbye{kRecords, 2, 50ms};
constexpr BleCommand kCalibrate{kRecords, 3, 10'000ms};
constexpr BleCommand kMeasure{kRecords, 4, 8'000ms};
constexpr BleCommand kSampleCount{kRecords, 5, 2'000ms};
constexpr BleCommand kReadStandard{kRecords, 6, 1'000ms};
constexpr BleCommand kReadSample{kRecords, 7, 1'000ms};
constexpr BleCommand kWriteStandard{kRecords, 8, 2'000ms};
constexpr BleCommand kDeleteStandard{kRecords, 9, 10'000ms};
constexpr BleCommand kDeleteSample{kRecords, 10, 10'000ms};
constexpr BleCommand kStandardsTotal{kSettings, 1, 2'000ms};
constexpr BleCommand kReadWhiteBoard{kSettings, 13, 2'000ms};
constexpr BleCommand kWriteWhiteBoardText{kSettings, 23, 2'000ms};
constexpr BleCommand kWriteWhiteBoard{kSettings, 24, 2'000ms};

/// A status item or a text is asked for by its number.
constexpr BleCommand query(std::uint8_t item) {
    return {kSettings, item, 2'000ms};
}
constexpr std::uint8_t kWhiteBoardTextItem = 12;

// Measurements that the instrument sends by itself.
constexpr std::uint8_t kStandardMeasured = 4;
constexpr std::uint8_t kTrialMeasured = 5;

/// Both blocks of a CqWhiteBoardParameter, which lie one behind the other there too.
constexpr std::size_t kWhiteBoardBlockSize =
    sizeof(CqWhiteBoardParameter::firstBlock) + sizeof(CqWhiteBoardParameter::secondBlock);
constexpr std::size_t kWhiteBoardBlockOffset = offsetof(CqWhiteBoardParameter, firstBlock);
static_assert(kWhiteBoardBlockSize == 248);
static_assert(kWhiteBoardBlockOffset + kWhiteBoardBlockSize == sizeof(CqWhiteBoardParameter));

constexpr int kHelloTries = 2;

[[noreturn]] void fail(ResultCode code) {
    throw CommunicationException(code);
}

/// The numbers one behind the other, as a payload.
template <class... Numbers>
auto payloadOf(Numbers... numbers) {
    std::array<std::uint8_t, (sizeof(Numbers) + ...)> bytes{};
    std::uint8_t* place = bytes.data();
    ((storeLittleEndian(place, numbers), place += sizeof(numbers)), ...);
    return bytes;
}

CqMeasurementRecord toRecord(std::span<const std::uint8_t> payload) {
    CqMeasurementRecord record;
    std::copy_n(payload.begin(), sizeof(record.bytes), record.bytes);
    return record;
}

bool isRecord(const CmdPacket& packet) {
    return packet.payloadSize() == sizeof(CqMeasurementRecord);
}

/// Copies a text with its NUL into a field, or empties the field if it does not fit.
void storeText(std::string_view text, std::span<char> field) {
    if (text.size() >= field.size()) {
        field[0] = '\0';
        module::raiseInvalidParameter();
        fail(CQ_INVALID_PACKET);
    }
    *std::copy(text.begin(), text.end(), field.begin()) = '\0';
}

}  // namespace

SpectrophotometerBle::SpectrophotometerBle(BleAttachTiming timing) : timing_(timing) {}

void SpectrophotometerBle::attach(const std::shared_ptr<SerialPort>& port) {
    receiver_.startReceiving(port);
    std::this_thread::sleep_for(timing_.settling);
    greet();
    receiver_.setPacketHandler([this](const Packet& packet) { handlePacket(*packet); });
}

void SpectrophotometerBle::greet() {
    for (int tryNumber = 1; tryNumber <= kHelloTries; ++tryNumber) {
        try {
            exchange(kHello, {});
            return;
        } catch (const CommunicationException&) {
            if (tryNumber < kHelloTries) {
                std::this_thread::sleep_for(timing_.retryPause);
            }
        }
    }
}

std::shared_ptr<SerialPort> SpectrophotometerBle::detach() {
    try {
        exchange(kGoodbye, {});
    } catch (const std::exception&) {
        // An instrument that has gone, or is busy, is left without a goodbye.
    }
    setResultHandler({});
    auto port = receiver_.stopReceiving();
    receiver_.setPacketHandler({});
    return port;
}

std::string SpectrophotometerBle::portName() const {
    const auto port = receiver_.port();
    return port != nullptr ? port->portName() : std::string();
}

void SpectrophotometerBle::handlePacket(const CmdPacket& packet) {
    debuglog::write("received cmd packet from instrument: type = %d, cmd = %d, data_len = %d\r\n",
                    packet.type(), packet.cmd(), static_cast<int>(packet.payloadSize()));
    const bool isMeasurement =
        packet.type() == kRecords && isRecord(packet) &&
        (packet.cmd() == kStandardMeasured || packet.cmd() == kTrialMeasured);
    if (isMeasurement) {
        const auto type =
            packet.cmd() == kStandardMeasured ? RECORD_TYPE::standard : RECORD_TYPE::trial;
        resultHandler_.call(static_cast<std::int32_t>(type), toRecord(packet.payload()));
    }
}

void SpectrophotometerBle::calibrate(bool isWhite) {
    const auto reply = exchange(kCalibrate, payloadOf<std::uint8_t>(isWhite ? 1 : 0));
    if (!reply->payloadIs("OK")) {
        fail(CQ_EXECUTE_COMMAND_FAILED);
    }
}

CqMeasurementRecord SpectrophotometerBle::measure(RECORD_TYPE type) {
    const auto reply = exchange(kMeasure, payloadOf(static_cast<std::uint8_t>(type)));
    if (!isRecord(*reply)) {
        fail(CQ_EXECUTE_COMMAND_FAILED);
    }
    return toRecord(reply->payload());
}

std::uint32_t SpectrophotometerBle::getTotalStandards() {
    return requestU32(kStandardsTotal, {});
}

std::uint32_t SpectrophotometerBle::getSampleCount(std::uint32_t standardIndex) {
    return requestU32(kSampleCount, payloadOf(standardIndex));
}

void SpectrophotometerBle::uploadStandards(MeasurementRecords& records, std::int32_t start,
                                           std::int32_t count) {
    const std::int64_t first = std::max(start, 0);
    const std::int64_t end =
        count >= 0 ? first + count : static_cast<std::int32_t>(getTotalStandards());
    for (std::int64_t index = first; index < end; ++index) {
        records.push_back(
            requestRecord(kReadStandard, payloadOf(static_cast<std::uint32_t>(index))));
    }
}

void SpectrophotometerBle::uploadSamples(MeasurementRecords& records, std::uint32_t standardIndex,
                                         std::int32_t start, std::int32_t count) {
    const std::int64_t first = std::max(start, 0);
    const std::int64_t end =
        count >= 0 ? first + count : static_cast<std::int32_t>(getSampleCount(standardIndex));
    for (std::int64_t index = first; index < end; ++index) {
        records.push_back(requestRecord(
            kReadSample, payloadOf(standardIndex, static_cast<std::uint32_t>(index))));
    }
}

void SpectrophotometerBle::downloadStandards(std::span<const CqMeasurementRecord> records) {
    for (const CqMeasurementRecord& record : records) {
        exchangeChecked(kWriteStandard, record.bytes);
    }
}

void SpectrophotometerBle::deleteStandard(std::uint32_t index) {
    exchangeChecked(kDeleteStandard, payloadOf(index));
}

void SpectrophotometerBle::deleteSample(std::uint32_t standardIndex, std::uint32_t sampleIndex) {
    exchangeChecked(kDeleteSample, payloadOf(standardIndex, sampleIndex));
}

void SpectrophotometerBle::getInstrumentStatus(CqInstrumentStatus& status) {
    status.item17 = requestStatusItem(17);
    status.item16 = requestStatusItem(16);
    status.item0 = requestStatusItem(0) != 0 ? 1 : 0;
    status.item14 = requestStatusItem(14);
    status.item15 = requestStatusItem(15);
    status.item18 = requestStatusItem(18);
    status.item19 = requestStatusItem(19);
    status.item20 = requestStatusItem(20);
    status.totalStandards = static_cast<std::uint16_t>(getTotalStandards());
}

void SpectrophotometerBle::getDeviceInfo(CqDeviceInfo& info) {
    info = {};
    requestText(4, info.infoText4);
    requestText(3, info.infoText3);
    requestText(6, info.infoText6);
    requestText(7, info.infoText7);
    requestText(11, info.infoText11);
    requestText(12, info.infoText12);
}

void SpectrophotometerBle::getWhiteBoardParameter(CqWhiteBoardParameter& parameter) {
    requestText(kWhiteBoardTextItem, parameter.text);
    const auto reply = exchangeChecked(kReadWhiteBoard, {});
    if (reply->payloadSize() < kWhiteBoardBlockSize) {
        fail(CQ_INVALID_PACKET);
    }
    auto* const bytes = reinterpret_cast<std::uint8_t*>(&parameter);
    std::copy_n(reply->payload().begin(), kWhiteBoardBlockSize, bytes + kWhiteBoardBlockOffset);
}

void SpectrophotometerBle::setWhiteBoardParameter(const CqWhiteBoardParameter& parameter) {
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(&parameter);
    const auto* const textEnd = std::find(bytes, bytes + sizeof(parameter.text), std::uint8_t{0});
    exchangeChecked(kWriteWhiteBoardText, {bytes, textEnd});

    // Instruments know this command with the block's address in the host's memory as its payload,
    // never the block itself.
    std::array<std::uint8_t, kWhiteBoardBlockSize> block;
    std::copy_n(bytes + kWhiteBoardBlockOffset, block.size(), block.begin());
    const auto address = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(block.data()));
    const auto reply = exchange(kWriteWhiteBoard, payloadOf(address));
    if (reply->payloadIs("INVAL")) {
        fail(CQ_INVALID_PARAMETER);
    }
    if (!reply->payloadIs("OK")) {
        fail(CQ_EXECUTE_COMMAND_FAILED);
    }
}

SpectrophotometerBle::Packet SpectrophotometerBle::exchange(const BleCommand& command,
                                                            Payload payload) {
    try {
        return receiver_.sendPacket(CmdPacket(command.type, command.cmd, payload), command.timeout);
    } catch (const std::future_error&) {
        fail(CQ_DEVICE_IS_BUSY);  // another request has taken this one's place
    }
}

SpectrophotometerBle::Packet SpectrophotometerBle::exchangeChecked(const BleCommand& command,
                                                                   Payload payload) {
    auto reply = exchange(command, payload);
    throwIfRefused(*reply);
    return reply;
}

std::uint32_t SpectrophotometerBle::requestU32(const BleCommand& command, Payload payload) {
    const auto reply = exchangeChecked(command, payload);
    if (reply->payloadSize() < sizeof(std::uint32_t)) {
        fail(CQ_INVALID_PACKET);
    }
    return loadLittleEndian<std::uint32_t>(reply->payload().data());
}

std::uint8_t SpectrophotometerBle::requestStatusItem(std::uint8_t item) {
    const auto reply = exchangeChecked(query(item), {});
    if (reply->payloadSize() == 0) {
        fail(CQ_INVALID_PACKET);
    }
    return reply->payload()[0];
}

CqMeasurementRecord SpectrophotometerBle::requestRecord(const BleCommand& command,
                                                        Payload payload) {
    const auto reply = exchangeChecked(command, payload);
    if (!isRecord(*reply)) {
        fail(CQ_INVALID_PACKET);
    }
    return toRecord(reply->payload());
}

void SpectrophotometerBle::requestText(std::uint8_t item, std::span<char> field) {
    storeText(exchange(query(item), {})->text(), field);
}

}  // namespace ovk::cq
