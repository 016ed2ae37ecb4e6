#include "peer/BareHost.h"

#include "api/Records.h"
#include "CQCommProtocol/WireFormat.h"
#include "spectro/Command.h"

namespace cqbench {

namespace wire = ovk::wire;
namespace command = ovk::cq::command;

BareHost::BareHost(const ScriptedInstrument& instrument)
    : maxPacket_(instrument.maxPacket()),
      terminal_(openTerminal(instrument.portName())),
      buffer_(maxPacket_),
      acknowledgement_(acknowledgement(Sender::host, 0)),
      status_(makeExchange(command::kInstrumentStatus.operation, {}, sizeof(CqInstrumentStatus))),
      deviceInfo_(makeExchange(command::kDeviceInfo.operation, {}, sizeof(CqDeviceInfo))),
      total_(makeExchange(command::kTotalStandards.operation, {}, sizeof(std::uint32_t))) {
    terminal_.write(wire::kShakeHandsRequestPacket);
    terminal_.read(std::span(buffer_).first(wire::kShakeHandsAcknowledgementSize));
    terminal_.write(wire::shortPacket(wire::kShakeHandsConfirmation, kSession));
}

BareHost::Exchange BareHost::makeExchange(std::uint8_t operation, ByteView data,
                                          std::size_t replySize) const {
    Exchange exchange{makeTrain(Sender::host, maxPacket_, operation, data), {}};
    for (const Bytes& packet :
         makeTrain(Sender::instrument, maxPacket_, operation, Bytes(replySize))) {
        exchange.sizes.push_back(packet.size());
    }
    return exchange;
}

void BareHost::prepare(std::uint32_t standards) {
    const Bytes records(std::size_t{standards} * sizeof(CqMeasurementRecord));
    upload_ = makeExchange(command::kUploadStandards.operation, rangePayload(0, standards),
                           records.size());
    download_ = makeTrain(Sender::host, maxPacket_, command::kDownloadStandards.operation, records);
}

void BareHost::send(const Train& train) {
    for (const Bytes& packet : train) {
        terminal_.write(packet);
        terminal_.read(std::span(buffer_).first(wire::kAcknowledgementSize));
    }
}

void BareHost::request(const Exchange& exchange) {
    send(exchange.request);
    std::uint32_t sequence = 0;
    for (const std::size_t size : exchange.sizes) {
        terminal_.read(std::span(buffer_).first(size));
        setSequence(acknowledgement_, ++sequence);
        terminal_.write(acknowledgement_);
    }
}

void BareHost::requestStatus() {
    request(status_);
}

void BareHost::upload() {
    request(upload_);
}

void BareHost::download() {
    request(deviceInfo_);
    request(total_);
    send(download_);
}

}  // namespace cqbench
