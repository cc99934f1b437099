// What the agent knows of VXLAN: which VLANs are mapped to which network, which virtual ports carry
// them, and how routing between them is set up.
//
// Plain records that the agent changes and commands read through pointers to const.
//
// Threading: the agent's event-loop thread only; any record may change between two slices.
#pragma once

#include <cstdint>

#include "platform/base/Ptr.h"
#include "platform/collections/KeyedCollection.h"
#include "platform/l2/Directory.h"
#include "platform/types/EthAddr.h"
#include "platform/types/IpAddr.h"
#include "platform/types/PortVlanKey.h"
#include "platform/types/VlanId.h"

namespace KorvoL2 {

/** A virtual port of a VLAN, as the chips number them. */
struct VirtualPort {
  std::uint16_t number = 0xFFFF;  ///< 0xFFFF for none
  friend bool operator==(const VirtualPort&, const VirtualPort&) = default;
};
/** The virtual port through which an interface carries a VLAN. */
struct VirtualPortInfo {
  std::uint16_t svp = 0;  ///< source virtual port number
  friend bool operator==(const VirtualPortInfo&, const VirtualPortInfo&) = default;
};

using VlanToSvpCollection = Qel::KeyedCollection<Bridging::VlanId, VirtualPort>;
using PortToEdgeSvpCollection = Qel::KeyedCollection<Bridging::PortVlanKey, VirtualPortInfo>;

/** The layer-2 side of VXLAN. */
struct VxlanL2State final : public Qel::RefCounted {
  /** The VLANs that are mapped to a VXLAN network. */
  Qel::KeyedSet<Bridging::VlanId> vlanMapping;
  /** The virtual ports on the switch's own (edge) interfaces. */
  PortToEdgeSvpCollection portToEdgeSvp;
  /** The virtual port of each VLAN as a whole. */
  VlanToSvpCollection vlanToSvp;
  /** This switch's own address as a tunnel end, per family; unspecified for none. */
  Bridging::IpAddr orvaVtepIp;
  Bridging::IpAddr orvaVtepIp6 = Bridging::IpAddr::v6({});
};

/** What a VLAN is mapped to. */
struct VlanMapping {
  std::uint16_t vlanId = 1;  ///< the VLAN itself
  std::uint16_t vfi = 0;     ///< virtual forwarding instance; 0 for none
  std::uint32_t vni = 0;     ///< VXLAN network identifier, 24 bits; 0 for none
  friend bool operator==(const VlanMapping&, const VlanMapping&) = default;
};

/** The configured side of VXLAN. */
struct VxlanL3Config final : public Qel::RefCounted {
  Qel::KeyedCollection<Bridging::VlanId, VlanMapping> vlanMapping;
};

/** What became of a VLAN's mapping. */
struct VxlanL3StatusEntry {
  std::uint16_t mcastIndex = 0;  ///< multicast group that floods the VLAN; 0 for none
  friend bool operator==(const VxlanL3StatusEntry&, const VxlanL3StatusEntry&) = default;
};

struct VxlanL3Status final : public Qel::RefCounted {
  /** By VLAN number. */
  Qel::KeyedCollection<std::uint16_t, VxlanL3StatusEntry> statusEntry;
};

/** Virtual port configuration of a VLAN; that there is one is all that commands ask. */
struct VlanSvpConfig {
  friend bool operator==(const VlanSvpConfig&, const VlanSvpConfig&) = default;
};
using VlanSvpConfigDir = Directory<Bridging::VlanId, VlanSvpConfig>;

/** What the chips can do about VXLAN. Set up once, read-only afterwards. */
struct VxlanCapabilities final : public Qel::RefCounted {
  /** Routing into tunnels takes one pass, so that no recirculation channel is in use. */
  bool singlePassRouting = false;
};

}  // namespace KorvoL2

namespace KorvoL3 {

/** The addresses under which the switch routes. */
struct RoutingStatus final : public Qel::RefCounted {
  Bridging::EthAddr routerMac;
  /** Shared with the other switches of a virtual router; all zero for none. */
  Bridging::EthAddr virtualRouterMac;
};

}  // namespace KorvoL3
