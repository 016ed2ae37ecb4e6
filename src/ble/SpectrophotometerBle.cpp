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
#include "ble/BleDongleDevice.h"
#include "ble/EhMc17AtInterface.h"

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
constexpr auto kHelloPause = 1500ms;  // before the next try
constexpr auto kSettling = 1200ms;    // of the link, before the first hello

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

/// Appends the records from the first index on. Both numbers are signed on this path: a first index
/// below 0 counts as 0, a count below 0 as all.
template <class Total, class Read>
void upload(MeasurementRecords& records, std::uint32_t firstIndex, std::uint32_t count,
            const Total& total, const Read& read) {
    const std::int64_t first = std::max(static_cast<std::int32_t>(firstIndex), 0);
    const auto wanted = static_cast<std::int32_t>(count);
    const std::int64_t end = wanted >= 0 ? first + wanted : static_cast<std::int32_t>(total());
    for (std::int64_t index = first; index < end; ++index) {
        records.push_back(read(static_cast<std::uint32_t>(index)));
    }
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

ResultCode SpectrophotometerBle::open(const std::string& portName, const std::string& slaveAddress,
                                      std::optional<Deadline> deadline) {
    const Deadline whole = deadline.value_or(Deadline());
    const Deadline untilUnlinking = whole.before(BleDongleDevice::kUnlinkTime);
    BleDongleDevice adapter(whole);
    adapter.open(portName);
    adapter.connect(slaveAddress);
    attach(adapter.stopReceiving(), untilUnlinking);
    if (untilUnlinking.isOver()) {
        closeBy(whole);
        return CQ_RECEIVING_TIMEOUT;
    }
    return CQ_NO_ERROR;
}

void SpectrophotometerBle::attach(const std::shared_ptr<SerialPort>& port, Deadline deadline) {
    receiver_.startReceiving(port);
    std::this_thread::sleep_for(deadline.limit(kSettling));
    greet(deadline);
    receiver_.setPacketHandler([this](const Packet& packet) { handlePacket(*packet); });
}

void SpectrophotometerBle::greet(Deadline deadline) {
    for (int tryNumber = 1; tryNumber <= kHelloTries; ++tryNumber) {
        try {
            exchange(kHello, {}, deadline);
            return;
        } catch (const CommunicationException&) {
            if (tryNumber < kHelloTries) {
                std::this_thread::sleep_for(deadline.limit(kHelloPause));
            }
        }
    }
}

void SpectrophotometerBle::closeBy(Deadline deadline) {
    try {
        receiver_.sendLastPacket(CmdPacket(kGoodbye.type, kGoodbye.cmd), kGoodbye.timeout);
    } catch (const std::exception&) {
        // An instrument that has gone is left without a goodbye.
    }
    setResultHandler({});
    const auto port = receiver_.stopReceiving();
    receiver_.setPacketHandler({});
    if (port != nullptr) {
        EhMc17AtInterface adapter(port);
        adapter.setDeadline(deadline);
        adapter.setExCode({});
        adapter.disconnect();
        port->close();
    }
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
        resultHandler_.call(type, toRecord(packet.payload()));
    }
}

ResultCode SpectrophotometerBle::calibrate(bool isWhite) {
    const auto reply = exchange(kCalibrate, payloadOf<std::uint8_t>(isWhite ? 1 : 0));
    return reply->payloadIs("OK") ? CQ_NO_ERROR : CQ_EXECUTE_COMMAND_FAILED;
}

ResultCode SpectrophotometerBle::measure(RECORD_TYPE type, CqMeasurementRecord& record) {
    const auto reply = exchange(kMeasure, payloadOf(static_cast<std::uint8_t>(type)));
    if (!isRecord(*reply)) {
        return CQ_EXECUTE_COMMAND_FAILED;
    }
    record = toRecord(reply->payload());
    return CQ_NO_ERROR;
}

ResultCode SpectrophotometerBle::getTotalStandards(std::uint32_t& count) {
    count = requestU32(kStandardsTotal, {});
    return CQ_NO_ERROR;
}

ResultCode SpectrophotometerBle::getSampleCount(std::uint32_t standardIndex, std::uint32_t& count) {
    count = requestU32(kSampleCount, payloadOf(standardIndex));
    return CQ_NO_ERROR;
}

ResultCode SpectrophotometerBle::uploadStandards(MeasurementRecords& records,
                                                 std::uint32_t firstIndex, std::uint32_t count) {
    upload(
        records, firstIndex, count, [this] { return requestU32(kStandardsTotal, {}); },
        [this](std::uint32_t index) { return requestRecord(kReadStandard, payloadOf(index)); });
    return CQ_NO_ERROR;
}

ResultCode SpectrophotometerBle::uploadSamples(MeasurementRecords& records,
                                               std::uint32_t standardIndex,
                                               std::uint32_t firstIndex, std::uint32_t count) {
    upload(
        records, firstIndex, count,
        [&] { return requestU32(kSampleCount, payloadOf(standardIndex)); },
        [&](std::uint32_t index) {
            return requestRecord(kReadSample, payloadOf(standardIndex, index));
        });
    return CQ_NO_ERROR;
}

ResultCode SpectrophotometerBle::downloadStandards(std::span<const CqMeasurementRecord> records) {
    for (const CqMeasurementRecord& record : records) {
        exchangeChecked(kWriteStandard, record.bytes);
    }
    return CQ_NO_ERROR;
}

ResultCode SpectrophotometerBle::deleteStandard(std::uint32_t index) {
    exchangeChecked(kDeleteStandard, payloadOf(index));
    return CQ_NO_ERROR;
}

ResultCode SpectrophotometerBle::deleteSample(std::uint32_t standardIndex,
                                              std::uint32_t sampleIndex) {
    exchangeChecked(kDeleteSample, payloadOf(standardIndex, sampleIndex));
    return CQ_NO_ERROR;
}

ResultCode SpectrophotometerBle::getInstrumentStatus(CqInstrumentStatus& status) {
    status.item17 = requestStatusItem(17);
    status.item16 = requestStatusItem(16);
    status.item0 = requestStatusItem(0) != 0 ? 1 : 0;
    status.item14 = requestStatusItem(14);
    status.item15 = requestStatusItem(15);
    status.item18 = requestStatusItem(18);
    status.item19 = requestStatusItem(19);
    status.item20 = requestStatusItem(20);
    status.totalStandards = static_cast<std::uint16_t>(requestU32(kStandardsTotal, {}));
    return CQ_NO_ERROR;
}

ResultCode SpectrophotometerBle::getDeviceInfo(CqDeviceInfo& info) {
    info = {};
    requestText(4, info.infoText4);
    requestText(3, info.infoText3);
    requestText(6, info.infoText6);
    requestText(7, info.infoText7);
    requestText(11, info.infoText11);
    requestText(12, info.infoText12);
    return CQ_NO_ERROR;
}

ResultCode SpectrophotometerBle::getWhiteBoardParameter(CqWhiteBoardParameter& parameter) {
    requestText(kWhiteBoardTextItem, parameter.text);
    const auto reply = exchangeChecked(kReadWhiteBoard, {});
    if (reply->payloadSize() < kWhiteBoardBlockSize) {
        return CQ_INVALID_PACKET;
    }
    auto* const bytes = reinterpret_cast<std::uint8_t*>(&parameter);
    std::copy_n(reply->payload().begin(), kWhiteBoardBlockSize, bytes + kWhiteBoardBlockOffset);
    return CQ_NO_ERROR;
}

ResultCode SpectrophotometerBle::setWhiteBoardParameter(const CqWhiteBoardParameter& parameter) {
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
        return CQ_INVALID_PARAMETER;
    }
    return reply->payloadIs("OK") ? CQ_NO_ERROR : CQ_EXECUTE_COMMAND_FAILED;
}

ResultCode SpectrophotometerBle::getMeasurementParameter(std::uint8_t /*number*/,
                                                         std::uint32_t& value) {
    value = 0;
    return CQ_NOT_SUPPORTED;
}

ResultCode SpectrophotometerBle::setMeasurementParameter(std::uint8_t /*number*/,
                                                         std::uint8_t /*value*/) {
    return CQ_NOT_SUPPORTED;
}

SpectrophotometerBle::Packet SpectrophotometerBle::exchange(const BleCommand& command,
                                                            Payload payload, Deadline deadline) {
    try {
        return receiver_.sendPacket(CmdPacket(command.type, command.cmd, payload),
                                    deadline.limit(command.timeout));
    } catch (const std::future_error&) {
        fail(CQ_DEVICE_IS_CLOSED);  // the goodbye has taken this request's place
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
