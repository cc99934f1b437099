// What the parts of the demo switch call the same things.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "platform/types/EthAddr.h"
#include "platform/types/IntfId.h"

namespace KorvoAgent::DemoNames {

constexpr std::array<unsigned, 2> kCards{3, 4};
constexpr unsigned kPortsPerCard = 48;
/** Ports from 1 on that hosts are connected to; the others are trunks and uplinks. */
constexpr unsigned kAccessPorts = 24;

inline Bridging::IntfId ethernet(unsigned card, unsigned port) {
  return Bridging::IntfId("Ethernet" + std::to_string(card) + "/" + std::to_string(port));
}
/** The VLAN of an access port: 10, 20 or 30. */
constexpr std::uint16_t accessVlan(unsigned port) {
  constexpr std::array<std::uint16_t, 3> kVlans{10, 20, 30};
  return kVlans[port % kVlans.size()];
}

/** A locally administered address: 02:00, the kind, and a number. */
constexpr Bridging::EthAddr address(std::uint8_t kind, std::uint32_t number) {
  return Bridging::EthAddr(0x0200'0000'0000ULL | std::uint64_t{kind} << 24 | number);
}
constexpr std::uint8_t kHost = 0x01;
constexpr std::uint8_t kRemoteHost = 0x02;
constexpr std::uint8_t kPeerHost = 0x03;
constexpr std::uint8_t kServer = 0x04;
constexpr std::uint8_t kRouter = 0x0f;
/** The switch's own address and the one that it shares with its MLAG peer, both of kRouter. */
constexpr std::uint32_t kOwnRouter = 1;
constexpr std::uint32_t kVirtualRouter = 2;

/** A VLAN that VXLAN lists and does not map, and one that is on a port-channel alone. */
constexpr std::uint16_t kUnmappedVlan = 40;
constexpr std::uint16_t kLagOnlyVlan = 200;
/** The network and the virtual forwarding instance of a VLAN; instances up to 4095 are VLANs. */
constexpr std::uint32_t vniOfVlan(std::uint16_t vlan) { return 10'000U + vlan; }
constexpr std::uint16_t vfiOfVlan(std::uint16_t vlan) {
  return static_cast<std::uint16_t>(4096 + vlan);
}

constexpr const char* kVxlan = "Vxlan1";
/** The servers' port-channel, and the link to the MLAG peer. */
constexpr const char* kServerLag = "Port-Channel10";
constexpr const char* kPeerLink = "Port-Channel999";
// Names of no known kind, too wide for their column.
constexpr const char* kLongName = "uplink-to-spine-east-1";
constexpr const char* kSensor = "management-sensor";

}  // namespace KorvoAgent::DemoNames
