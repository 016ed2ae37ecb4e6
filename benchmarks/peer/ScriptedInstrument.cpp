#include "peer/ScriptedInstrument.h"

#include <array>
#include <iostream>
#include <system_error>

#include "api/LittleEndian.h"
#include "api/Records.h"
#include "CQCommProtocol/WireFormat.h"
#include "spectro/Command.h"

namespace cqbench {
namespace {

namespace wire = ovk::wire;
namespace command = ovk::cq::command;

/// A type that no protocol has: tells the thread to end.
constexpr std::array<std::uint8_t, wire::kShortPacketSize> kEnd{wire::kToInstrumentFirst,
                                                                wire::kToInstrumentSecond, 0xFF, 0};

constexpr std::uint32_t kCapacity = 1'000'000;

Bytes deviceInfo() {
    Bytes info(sizeof(CqDeviceInfo));
    ovk::storeLittleEndian<std::uint64_t>(info.data() + offsetof(CqDeviceInfo, trailingValue),
                                          kCapacity);
    return info;
}

Bytes records(std::uint32_t count) {
    Bytes bytes(std::size_t{count} * sizeof(CqMeasurementRecord));
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<std::uint8_t>(i * 31 / 7);
    }
    return bytes;
}

bool isRequest(std::uint8_t operation) {
    return operation != command::kDownloadStandards.operation;
}

}  // namespace

ScriptedInstrument::ScriptedInstrument(std::uint16_t maxPacket, std::chrono::microseconds latency)
    : maxPacket_(maxPacket),
      latency_(latency),
      master_(makePseudoTerminal()),
      portName_(terminalName(master_)),
      terminal_(openTerminal(portName_)),
      acknowledgement_(acknowledgement(Sender::instrument, 0)),
      pressed_(makeTrain(Sender::instrument, maxPacket, command::kMeasureStandard.operation,
                         Bytes(sizeof(CqMeasurementRecord)))),
      thread_([this] { serve(); }) {}

ScriptedInstrument::~ScriptedInstrument() {
    try {
        terminal_.write(kEnd);
    } catch (const std::system_error&) {
        // Then the thread has met the same failure, and has ended.
    }
    thread_.join();
}

void ScriptedInstrument::serve() {
    std::array<std::uint8_t, 8192> buffer;
    std::size_t held = 0;
    try {
        for (;;) {
            held += master_.readSome(std::span(buffer).subspan(held));
            ByteView rest(buffer.data(), held);
            for (std::size_t size = packetSize(rest); size != 0 && size <= rest.size();
                 size = packetSize(rest)) {
                if (!take(rest.first(size))) {
                    return;
                }
                rest = rest.subspan(size);
            }
            held = rest.size();
            std::copy(rest.begin(), rest.end(), buffer.begin());
            if (!toSend_.empty()) {
                if (latency_.count() > 0) {
                    std::this_thread::sleep_for(2 * latency_);
                }
                master_.write(toSend_);
                toSend_.clear();
            }
        }
    } catch (const std::system_error& error) {
        std::cerr << "The scripted instrument has failed: " << error.what() << '\n';
    }
}

bool ScriptedInstrument::take(ByteView packet) {
    const auto answer = [this](const auto& bytes) {
        toSend_.insert(toSend_.end(), bytes.begin(), bytes.end());
    };
    switch (packet[wire::kTypeOffset]) {
        case wire::kShakeHandsRequest:
            answer(shakeHandsAcknowledgement(maxPacket_));
            return true;
        case wire::kDisconnectRequest:
            answer(std::array{wire::kToHostFirst, wire::kToHostSecond,
                              std::uint8_t{wire::kDisconnectAcknowledgement}, kSession});
            return true;
        case wire::kAcknowledgement:
            sendNext();
            return true;
        case wire::kData:
            takeData(packet);
            return true;
        default:
            return packet[wire::kTypeOffset] != kEnd[wire::kTypeOffset];
    }
}

void ScriptedInstrument::takeData(ByteView packet) {
    const auto control = ovk::loadLittleEndian<std::uint32_t>(packet.data() + wire::kControlOffset);
    const std::uint32_t sequence = control & wire::kSequenceMask;
    setSequence(acknowledgement_, sequence + 1);
    toSend_.insert(toSend_.end(), acknowledgement_.begin(), acknowledgement_.end());
    if (sequence == 0) {
        operation_ = packet[wire::kPayloadOffset];
    }
    if (control >> wire::kFlagShift == wire::kFlagLast && isRequest(operation_)) {
        sending_ = &replyTo(operation_, packet.subspan(wire::kPayloadOffset + 1));
        next_ = 0;
        sendNext();
    }
}

const Train& ScriptedInstrument::replyTo(std::uint8_t operation, ByteView data) {
    const bool isUpload = operation == command::kUploadStandards.operation;
    const std::uint32_t count =
        isUpload ? ovk::loadLittleEndian<std::uint32_t>(data.data() + sizeof(std::uint32_t)) : 0;
    Train& reply = replies_[{operation, count}];
    if (reply.empty()) {
        const Bytes content = isUpload                                      ? records(count)
                              : operation == command::kDeviceInfo.operation ? deviceInfo()
                              : operation == command::kInstrumentStatus.operation
                                  ? Bytes(sizeof(CqInstrumentStatus))
                                  : Bytes(sizeof(std::uint32_t));
        reply = makeTrain(Sender::instrument, maxPacket_, operation, content);
    }
    return reply;
}

void ScriptedInstrument::sendNext() {
    if (sending_ == nullptr) {
        return;
    }
    if (next_ == sending_->size()) {
        const bool isNext = isPressed_ && sending_ != &pressed_;
        sending_ = isNext ? &pressed_ : nullptr;
        if (!isNext) {
            return;
        }
        next_ = 0;
        pressedAt_ = Clock::now();
    }
    const Bytes& packet = (*sending_)[next_++];
    toSend_.insert(toSend_.end(), packet.begin(), packet.end());
}

}  // namespace cqbench
