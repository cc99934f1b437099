// What the agent knows of VLAN translation: which tag a frame arrives with or leaves with, which
// virtual port it is taken for, and the ranges that save entries.
//
// Plain records that the agent changes and commands read through pointers to const.
//
// Threading: the agent's event-loop thread only; any record may change between two slices.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/base/Entity.h"
#include "platform/base/Ptr.h"
#include "platform/l2/Directory.h"
#include "platform/types/IntfId.h"
#include "platform/types/IpAddr.h"
#include "platform/types/PortVlanKey.h"
#include "platform/types/VlanId.h"
#include "platform/types/VlanIpVerKey.h"

namespace KorvoL2 {

// Ingress.

/** Tunnel end addresses whose frames are decapsulated; true once programmed. */
using VlanXlateDipConfigDir = Directory<Bridging::IpAddr, bool>;

struct VlanSvpStatus {
  std::uint16_t vlan = 0;
  std::uint32_t svp = 0;  ///< source virtual port
  friend bool operator==(const VlanSvpStatus&, const VlanSvpStatus&) = default;
};
using VlanSvpStatusDir = Directory<Bridging::VlanId, VlanSvpStatus>;

/** What becomes of frames that arrive on an interface with the key's VLAN tag. */
struct PortVlanXlateStatus {
  std::uint32_t svp = 0;   ///< source virtual port that they are taken for; 0 for none
  std::uint16_t vlan = 0;  ///< VLAN that they are taken into; 0 for none
  friend bool operator==(const PortVlanXlateStatus&, const PortVlanXlateStatus&) = default;
};
using PortVlanXlateStatusDir = Directory<Bridging::PortVlanKey, PortVlanXlateStatus>;

// Egress.

struct EgrVlanXlateVxlanVfiConfig {
  std::uint32_t vni = 0;  ///< VXLAN network identifier, 24 bits
  friend bool operator==(const EgrVlanXlateVxlanVfiConfig&,
                         const EgrVlanXlateVxlanVfiConfig&) = default;
};
using EgrVlanXlateVxlanVfiConfigDir = Directory<Bridging::VlanIpVerKey, EgrVlanXlateVxlanVfiConfig>;

/** What frames of the key's (outer) VLAN leave an interface as. */
struct EgrPortVlanXlateStatus {
  std::uint16_t innerVlan = 0;  ///< 0 for none
  std::uint16_t dot1qTag = 0;
  friend bool operator==(const EgrPortVlanXlateStatus&, const EgrPortVlanXlateStatus&) = default;
};
using EgrPortVlanXlateStatusDir = Directory<Bridging::PortVlanKey, EgrPortVlanXlateStatus>;

/** The same for frames that came out of a tunnel. */
struct EgrVxlanVlanXlateStatus {
  std::uint32_t dvp = 0;  ///< destination virtual port
  std::uint16_t dot1qTag = 0;
  friend bool operator==(const EgrVxlanVlanXlateStatus&, const EgrVxlanVlanXlateStatus&) = default;
};
using EgrVxlanVlanXlateStatusDir = Directory<Bridging::PortVlanKey, EgrVxlanVlanXlateStatus>;

/**
 * The unicast agent's translation object. No pointer is null; each leads to the same directory for
 * the object's life.
 */
class VlanXlateSm : public Qel::Entity {
 public:
  virtual Qel::Ptr<const VlanXlateDipConfigDir> vlanXlateDipConfigDir() const = 0;
  virtual Qel::Ptr<const VlanSvpStatusDir> vlanSvpStatusDir() const = 0;
  virtual Qel::Ptr<const PortVlanXlateStatusDir> portVlanXlateStatusDir() const = 0;
  virtual Qel::Ptr<const EgrVlanXlateVxlanVfiConfigDir> egrVlanXlateVxlanVfiConfigDir() const = 0;
  virtual Qel::Ptr<const EgrPortVlanXlateStatusDir> egrPortVlanXlateStatusDir() const = 0;
  virtual Qel::Ptr<const EgrVxlanVlanXlateStatusDir> egrVxlanVlanXlateStatusDir() const = 0;
};

// Ingress VLAN ranges: one entry for a run of VLANs instead of one for each.

/** How many ranges an interface asks for. */
struct VlanXlateScaleEntry {
  /** VLAN translations of the interface once runs of them are joined into ranges. */
  std::uint32_t size = 0;
  friend bool operator==(const VlanXlateScaleEntry&, const VlanXlateScaleEntry&) = default;
};
using VlanXlateScaleEntryDir = Directory<Bridging::IntfId, VlanXlateScaleEntry>;

/** The number under which the chips know a port or port-channel. */
using PortHwIndexMappingDir = Directory<Bridging::IntfId, std::uint16_t>;

/** The ranges programmed for one port, each once, ascending; none of them overlap. */
struct IngVlanRangeParam {
  std::vector<Bridging::VlanIdRange> ranges;
};

/** The unicast agent's object that sizes the ingress VLAN range tables. No pointer is null. */
class IngVlanRangeSm : public Qel::Entity {
 public:
  virtual Qel::Ptr<const VlanXlateScaleEntryDir> vlanXlateScaleEntryDir() const = 0;
  virtual Qel::Ptr<const PortHwIndexMappingDir> portHwIndexMappingDir() const = 0;
  /** How many ranges the table of one port holds. */
  virtual std::uint8_t ingVlanRangeSize() const = 0;
};

}  // namespace KorvoL2
