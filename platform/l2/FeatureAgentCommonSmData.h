// What every feature of the agent needs to know of the switch's interfaces.
//
// Threading: the agent's event-loop thread only; may change between two slices.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/base/Ptr.h"
#include "platform/collections/KeyedCollection.h"
#include "platform/types/IntfId.h"
#include "platform/types/ModPort.h"

namespace KorvoL2 {

/** The port behind an interface. */
struct KorvoPortIdBase {
  Bridging::ModPort modPort{};
  std::uint32_t systemPort = 0;  ///< number of the port in the whole switch; 0 for none
  std::uint8_t core = 0;         ///< part of the chip that serves the port
  std::uint8_t lane = 0;         ///< its first lane there
  friend bool operator==(const KorvoPortIdBase&, const KorvoPortIdBase&) = default;
};

/** Member interface to the port-channel that it is a member of. */
using LagMembershipCollection = Qel::KeyedCollection<Bridging::IntfId, Bridging::IntfId>;

/** A plain record that the agent changes and commands read through a pointer to const. */
struct FeatureAgentCommonSmData final : public Qel::RefCounted {
  /** The interfaces of the switch. */
  Qel::KeyedSet<Bridging::IntfId> intf;
  Qel::KeyedCollection<Bridging::IntfId, KorvoPortIdBase> intfPortId;
  /** The number that a port's forwarding chip has towards the layer-2 tables. */
  Qel::KeyedCollection<Bridging::ModPort, std::uint16_t> modPortLogicalFap;

  /** Port-channel to its members, ascending. */
  using LagToPortCollection = Qel::KeyedCollection<Bridging::IntfId, std::vector<Bridging::IntfId>>;
  const LagToPortCollection& lagToPort() const noexcept { return lagToPort_; }
  const LagMembershipCollection& portToLag() const noexcept { return portToLag_; }
  /** Makes `port` a member of `lag`, and of no other. */
  void lagMembershipIs(Bridging::IntfId port, Bridging::IntfId lag);
  /** A port-channel that may have no member. */
  void lagIs(Bridging::IntfId lag);
  /** The port-channel stays, with or without members. */
  void lagMembershipDel(Bridging::IntfId port);

 private:
  // The same fact from both ends; changed together only.
  LagToPortCollection lagToPort_;
  LagMembershipCollection portToLag_;
};

}  // namespace KorvoL2
