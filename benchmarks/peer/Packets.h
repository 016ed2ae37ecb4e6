#pragma once

#include <cstdint>
#include <span>
#include <vector>

/// \file
/// Packets of the wired protocol, built ahead so that peers spend no time on them.

namespace cqbench {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

/// The only session that a scripted instrument gives.
inline constexpr std::uint8_t kSession = 7;

enum class Sender { host, instrument };

/// A transfer cut into its data packets.
using Train = std::vector<Bytes>;
Train makeTrain(Sender sender, std::size_t maxPacket, std::uint8_t operation, ByteView data);

/// The acknowledgement of a packet, to be sent to the sender's other side.
Bytes acknowledgement(Sender sender, std::uint32_t nextSequence);
/// Changes an acknowledgement's number.
void setSequence(Bytes& acknowledgement, std::uint32_t nextSequence);

Bytes shakeHandsAcknowledgement(std::uint16_t maxPacket);

/// The length of the packet that these bytes begin with; 0 while they are too few to tell.
std::size_t packetSize(ByteView bytes);

/// The data of a request for stored standards.
Bytes rangePayload(std::uint32_t first, std::uint32_t count);

}  // namespace cqbench
