#include "adapter/PacketLine.h"

#include "adapter/Packet.h"

namespace vi::adapter {
namespace {

using namespace std::chrono_literals;

constexpr auto kPacketSplitPause = 100ms;
constexpr auto kLongPause = 1200ms;

/// The same packet with a payload of the wrong size.
Bytes withWrongLength(const Bytes& packet) {
    const PacketView view(packet);
    const ByteView payload = view.payload();
    if (payload.empty()) {
        return makePacket(view.type(), view.cmd(), std::array<std::uint8_t, 1>{});
    }
    return makePacket(view.type(), view.cmd(), payload.first(payload.size() - 1));
}

}  // namespace

PacketLine::Verdict PacketLine::admit() {
    ++fromHost_;
    if (plan_.unplug == fromHost_) {
        return Verdict::unplug;
    }
    if (plan_.bleSilent && fromHost_ > *plan_.bleSilent) {
        return Verdict::swallow;
    }
    if (plan_.bleFail.contains(fromHost_)) {
        return Verdict::fail;
    }
    return plan_.bleInval.contains(fromHost_) ? Verdict::inval : Verdict::pass;
}

TimePoint PacketLine::sendReply(Bytes packet, TimePoint due) {
    ++replies_;
    if (plan_.bleLength.contains(replies_)) {
        packet = withWrongLength(packet);
    }
    if (plan_.bleJoined.contains(replies_)) {
        const Bytes second = packet;
        packet.insert(packet.end(), second.begin(), second.end());
    }
    return send("reply", std::move(packet), due + plan_.bleLate);
}

TimePoint PacketLine::sendNotification(Bytes packet, TimePoint due) {
    return send("notification", std::move(packet), due);
}

TimePoint PacketLine::send(std::string_view role, Bytes packet, TimePoint due) {
    ++toHost_;
    Outbox::Message message;
    message.words = describe(role, packet);
    message.bytes = std::move(packet);
    if (plan_.blePause.contains(toHost_) || plan_.bleSplit) {
        message.firstPiece = message.bytes.size() / 2;
        message.pause = plan_.blePause.contains(toHost_) ? kLongPause : kPacketSplitPause;
    }
    message.isByteByByte = plan_.bleBytes;
    return outbox_.send(std::move(message), due);
}

}  // namespace vi::adapter
